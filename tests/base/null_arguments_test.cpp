// Null for texts, buffers, results and handles of what everything stands on.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>

#include "orsincore/log.h"
#include "orsincore/primitives.h"
#include "orsincore/processors.h"
#include "orsincore/utf.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::Lines;

TEST(NullText, WritesNoLine) {
  const test::LogCapture log(4);
  const char* const none = nullptr;

  msgerror(none);
  msgwarn(none);
  msgcont(none);
  EXPECT_EQ(msglist(none), 0);

  EXPECT_EQ(log.lines(), Lines{});
}

TEST(NullText, DoesNotWriteTheLineBeforeItAgain) {
  const test::LogCapture log(4);
  const char* const none = nullptr;
  msginfo("said");

  msgerror(none);

  EXPECT_EQ(log.lines(), Lines{"INFO : said"});
}

TEST(NullText, LeavesTheReasonOfAnErrorLine) {
  const test::LogCapture log(4);

  msg_os_error(nullptr, 5);

  EXPECT_EQ(log.lines().size(), 1U);
  EXPECT_EQ(log.last_line().substr(0, 11), "ERROR:  : '");
}

TEST(NullResult, IsLeftOutOfTheProcessorInformation) {
  unsigned int count = 99;

  EXPECT_EQ(ov_cpu_info(nullptr, nullptr, nullptr, nullptr, nullptr), 1);
  EXPECT_EQ(ov_cpu_info(&count, nullptr, nullptr, nullptr, nullptr), 1);

  EXPECT_EQ(count, static_cast<unsigned int>(mp_get_numcpu(0)));
}

TEST(NullHandle, MayBeFreed) {
  mp_delete_mutex(nullptr);
  mp_delete_cond_block(nullptr);
  mp_key_delete(nullptr);
}

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

}  // namespace
}  // namespace orsin
