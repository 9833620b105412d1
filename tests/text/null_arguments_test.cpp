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

TEST(NullText, MakesTheDateOfToday) {
  const date before;
  const date made(static_cast<const char*>(nullptr));
  const date after;

  EXPECT_GE(made.dow(), before.dow());
  EXPECT_LE(made.dow(), after.dow());
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
