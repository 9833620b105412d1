// Null for a text is an empty one, and a null buffer takes nothing.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>

#include "orsincore/text.h"

namespace orsin {
namespace {

struct DestroyBidi {
  void operator()(OvBidi* bidi) const { OvBidi::Destroy(bidi); }
};

TEST(NullText, HasNoCharacters) {
  const char* const none = nullptr;

  EXPECT_EQ(ov_utf8_strlen(none), 0U);
  EXPECT_EQ(ov_utf16_strlen(none), 0U);
  EXPECT_EQ(ov_utf16_strlen(static_cast<const unsigned short*>(nullptr)), 0U);
}

TEST(NullText, IsNotValid) {
  EXPECT_EQ(ov_utf8_is_valid(nullptr), 0);
  EXPECT_EQ(ov_utf8_validate(nullptr), nullptr);
}

TEST(NullText, IsNeitherEditedNorInserted) {
  char text[16] = "text";

  EXPECT_EQ(ov_utf8_insert_char(nullptr, 16, 0, 'x'), 0);
  EXPECT_EQ(ov_utf8_erase(nullptr, 0, 1), 0U);
  EXPECT_EQ(ov_utf8_insert(nullptr, 16, 0, "x"), 0U);
  EXPECT_EQ(ov_utf8_insert(text, sizeof(text), 0, nullptr), 0U);

  EXPECT_STREQ(text, "text");
}

TEST(NullText, IsConvertedToAnEmptyOne) {
  const char* const none = nullptr;
  struct Case {
    const char* what;
    std::function<void(char* dst)> convert;  // Into 16 bytes.
    std::size_t terminator_bytes;
  };
  const Case cases[] = {
      {"utf16_to_utf8",
       [](char* dst) { ov_utf16_to_utf8(static_cast<const unsigned short*>(nullptr), dst, 16); },
       1},
      {"utf16_to_utf8 of bytes", [&](char* dst) { ov_utf16_to_utf8(none, dst, 16); }, 1},
      {"utf32_to_utf8", [](char* dst) { ov_utf32_to_utf8(nullptr, dst, 16); }, 1},
      {"utf8_to_utf16",
       [&](char* dst) { ov_utf8_to_utf16(none, reinterpret_cast<unsigned short*>(dst), 8); }, 2},
      {"utf8_to_utf16 of bytes", [&](char* dst) { ov_utf8_to_utf16(none, dst, 16); }, 2},
      {"utf8_to_utf32",
       [&](char* dst) { ov_utf8_to_utf32(none, reinterpret_cast<unsigned int*>(dst), 4); }, 4},
      {"utf8_to_byte", [&](char* dst) { ov_utf8_to_byte(dst, 16, none); }, 1},
      {"byte_to_utf8", [&](char* dst) { ov_byte_to_utf8(dst, 16, none); }, 1},
      {"xml", [&](char* dst) { validate_ascii_xml_text(dst, 16, none); }, 1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    alignas(4) char dst[16];
    std::memset(dst, 'x', sizeof(dst));

    c.convert(dst);

    const char zeros[4] = {};
    EXPECT_EQ(std::memcmp(dst, zeros, c.terminator_bytes), 0);
  }
}

TEST(NullBuffer, TakesNoConvertedText) {
  const unsigned short wide[] = {'a', 0};
  const unsigned int code_points[] = {'a', 0};

  EXPECT_EQ(ov_utf16_to_utf8(wide, nullptr, 16), nullptr);
  EXPECT_EQ(ov_utf32_to_utf8(code_points, nullptr, 16), nullptr);
  EXPECT_EQ(ov_utf8_to_utf16("a", static_cast<unsigned short*>(nullptr), 8), nullptr);
  EXPECT_EQ(ov_utf8_to_utf16("a", static_cast<char*>(nullptr), 16), nullptr);
  EXPECT_EQ(ov_utf8_to_utf32("a", nullptr, 4), nullptr);
  EXPECT_EQ(ov_utf8_to_byte(nullptr, 16, "a"), nullptr);
  EXPECT_EQ(ov_byte_to_utf8(nullptr, 16, "a"), nullptr);
  EXPECT_EQ(validate_ascii_xml_text(nullptr, 16, "a"), nullptr);
}

TEST(NullBuffer, TakesNoDate) {
  const date day(2024, 3, 5, 8, 7, 9);

  day.format(nullptr, true);
  day.format_xml(nullptr, true);
  day.format_num(nullptr, true);

  EXPECT_EQ(day.day(), 5);
}

TEST(NullText, IsNoDate) {
  date day(2024, 3, 5, 8, 7, 9);

  EXPECT_EQ(day.scan(nullptr, "%Y", nullptr), nullptr);
  day.scan_xml(nullptr, true);

  EXPECT_TRUE(day == date(2024, 3, 5, 8, 7, 9));
}

TEST(NullData, AddsNothingToAnMd5) {
  md5_state_s state;
  unsigned char digest[16];
  ov_md5_init(&state);

  ov_md5_append(&state, nullptr, 3);
  ov_md5_finish(&state, digest);

  EXPECT_EQ(digest[0], 0xD4);  // Of the empty message: d41d8cd9...
  EXPECT_EQ(digest[1], 0x1D);
}

TEST(NullData, CorruptsASha1) {
  SHA1Context context;
  ov_SHA1Reset(&context);

  ov_SHA1Input(&context, nullptr, 0);
  EXPECT_EQ(context.Corrupted, 0);
  ov_SHA1Input(&context, nullptr, 3);

  EXPECT_EQ(ov_SHA1Result(&context), 0);
}

TEST(NullData, AddsNothingToAnXxh64) {
  const std::unique_ptr<XXH64_state_s, int (*)(XXH64_state_s*)> state(ov_XXH64_createState(),
                                                                      ov_XXH64_freeState);
  ov_XXH64_reset(state.get(), 0);

  EXPECT_EQ(ov_XXH64_update(state.get(), nullptr, 3), 0);
  EXPECT_EQ(ov_XXH64_update(state.get(), nullptr, 3000), 0);

  EXPECT_EQ(ov_XXH64_digest(state.get()), 0xEF46DB3751D8E999U);  // Of the empty message.
}

TEST(NullData, DecodesToNothing) {
  char out[4] = "abc";

  EXPECT_EQ(ov_base64_decode(nullptr, 4, out, 3), 0U);
  EXPECT_EQ(ov_base64_decode("QUJD", 4, nullptr, 3), 0U);
  EXPECT_EQ(ov_base64_decode_mt(nullptr, 4, out, 3), 0U);
  EXPECT_EQ(ov_base64_decode_mt("QUJD", 4, nullptr, 3), 3U);

  EXPECT_STREQ(out, "abc");
}

TEST(NullBuffer, TakesNoSelectionRun) {
  const std::unique_ptr<OvBidi, DestroyBidi> bidi(OvBidi::Create("text"));
  bidi->SetSelection(1, 3);
  int start = 0;
  int end = 0;

  EXPECT_FALSE(bidi->NextSelectionRun(nullptr, &end));
  EXPECT_FALSE(bidi->NextSelectionRun(&start, nullptr));

  EXPECT_TRUE(bidi->NextSelectionRun(&start, &end));  // It is still to come.
  EXPECT_EQ(start, 1);
  EXPECT_EQ(end, 3);
}

}  // namespace
}  // namespace orsin
