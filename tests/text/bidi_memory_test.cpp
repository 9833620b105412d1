// Where OvBidi's memory comes from and goes to: the process heap, through the doors of
// tests/support/allocation_refusal.h.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/allocation_refusal.h"
#include "text/bidi.h"

namespace orsin {
namespace {

constexpr const char* kMixed = "abc אבג (123) لا";
constexpr std::size_t kSmallestArrayBytes = 128;  // One byte for each of the first 128 characters.

TEST(BidiMemory, AnswersAsForPlainTextWhereThereIsNone) {
  OvBidiImpl bidi;
  bidi.SetText(kMixed);
  {
    const test::AllocationRefusal refusal(kSmallestArrayBytes);
    EXPECT_FALSE(bidi.HasRightToLeft());
  }
  // The failure is remembered for this text, even now that there is memory again.
  EXPECT_EQ(bidi.GetVisualText(), kMixed);
  EXPECT_EQ(bidi.LogicalToVisual(99), 99);
  EXPECT_EQ(bidi.VisualToLogical(-1), -1);
  bidi.SetSelection(2, 9);
  int start = 0;
  int end = 0;
  EXPECT_TRUE(bidi.NextSelectionRun(&start, &end));
  EXPECT_EQ(start, 2);
  EXPECT_EQ(end, 9);
  EXPECT_FALSE(bidi.NextSelectionRun(&start, &end));
  EXPECT_EQ(bidi.capacity(), 0);
}

TEST(BidiMemory, TriesAgainWithTheNextText) {
  OvBidiImpl bidi;
  bidi.SetText(kMixed);
  {
    const test::AllocationRefusal refusal(kSmallestArrayBytes);
    EXPECT_FALSE(bidi.HasRightToLeft());
  }
  bidi.SetText(kMixed);
  EXPECT_TRUE(bidi.HasRightToLeft());
  EXPECT_EQ(bidi.capacity(), 128);
}

TEST(BidiMemory, FailsAtEachOfItsArrays) {
  // The sizes of the arrays of 1000 characters: each refusal stops at the first that is as large.
  const std::string text(2000, '\xD7');
  for (const std::size_t bytes : {1000U, 4000U, 4001U, 4004U}) {
    OvBidiImpl bidi;
    bidi.SetText(text.c_str() + 1000);
    bidi.SetRightToLeft(1);
    const test::AllocationRefusal refusal(bytes);
    EXPECT_FALSE(bidi.HasRightToLeft()) << bytes;
    EXPECT_EQ(bidi.capacity(), 0) << bytes;
  }
}

TEST(BidiMemory, LosesItsArraysWhenALongerTextFindsNone) {
  OvBidiImpl bidi;
  bidi.SetText(kMixed);
  ASSERT_TRUE(bidi.HasRightToLeft());
  const std::string longer(1000, '\xD7');
  bidi.SetRightToLeft(1);
  bidi.SetText(longer.c_str());
  {
    const test::AllocationRefusal refusal(1000);
    EXPECT_FALSE(bidi.HasRightToLeft());
  }
  EXPECT_EQ(bidi.capacity(), 0);
  bidi.SetText(kMixed);
  EXPECT_TRUE(bidi.HasRightToLeft());
}

TEST(BidiMemory, IsGivenBackWholeWhereALongerTextFindsNone) {
  constexpr long kArrays = 9;
  OvBidiImpl bidi;
  bidi.SetText(kMixed);
  ASSERT_TRUE(bidi.HasRightToLeft());
  const std::string longer(1000, '\xD7');
  bidi.SetRightToLeft(1);
  bidi.SetText(longer.c_str());
  const long before = test::live_blocks();
  {
    const test::AllocationRefusal refusal(1000);
    EXPECT_FALSE(bidi.HasRightToLeft());
  }

  EXPECT_EQ(test::live_blocks(), before - kArrays);
}

TEST(BidiMemory, IsKeptForATextThatFillsIt) {
  const std::string full(1000, '\xD7');
  OvBidiImpl bidi;
  bidi.SetRightToLeft(1);
  bidi.SetText(full.c_str());
  ASSERT_TRUE(bidi.HasRightToLeft());

  const test::AllocationRefusal refusal(1000);
  bidi.SetText(full.c_str());

  EXPECT_TRUE(bidi.HasRightToLeft());
}

TEST(BidiMemory, IsNotNeededForPlainText) {
  OvBidiImpl bidi;
  const test::AllocationRefusal refusal(1);
  bidi.SetText("Take 1");
  EXPECT_FALSE(bidi.HasRightToLeft());
  EXPECT_EQ(bidi.LogicalToVisual(99), 6);
}

TEST(BidiMemory, IsKeptFromTextToText) {
  OvBidiImpl bidi;
  bidi.SetText(kMixed);
  ASSERT_TRUE(bidi.HasRightToLeft());

  const test::AllocationRefusal refusal(kSmallestArrayBytes);
  for (int i = 0; i < 100; ++i) {
    bidi.SetText(i % 2 == 0 ? "שלום" : kMixed);
    ASSERT_TRUE(bidi.HasRightToLeft());
    bidi.SetSelection(0, 4);
  }
}

TEST(BidiMemory, IsAllGivenBackByDestroy) {
  const long before = test::live_blocks();
  for (int i = 0; i < 10; ++i) {
    OvBidi* bidi = OvBidi::Create(kMixed);
    ASSERT_NE(bidi, nullptr);
    EXPECT_TRUE(bidi->HasRightToLeft());
    EXPECT_GE(test::live_blocks(), before + 9);  // The arrays.
    OvBidi::Destroy(bidi);
    EXPECT_EQ(test::live_blocks(), before);
  }
}

}  // namespace
}  // namespace orsin
