// An analysis that finds no memory. Natively FriBidi is linked in, and asks where we can refuse; under
// Windows it is a DLL with its own way to the process heap.
#include <gtest/gtest.h>

#include "tests/support/allocation_refusal.h"
#include "text/bidi.h"

namespace orsin {
namespace {

TEST(BidiAnalysis, AnswersAsForPlainTextWithoutMemory) {
  OvBidiImpl bidi;
  bidi.SetText("abc אבג");  // The arrays are there from now on.
  ASSERT_TRUE(bidi.HasRightToLeft());
  bidi.SetText("שלום abc");
  {
    const test::AllocationRefusal refusal(1);
    EXPECT_FALSE(bidi.HasRightToLeft());
  }

  EXPECT_STREQ(bidi.GetVisualText(), "שלום abc");
  EXPECT_EQ(bidi.LogicalToVisual(99), 99);
  EXPECT_EQ(bidi.VisualToLogical(99), 99);
  bidi.SetText("abc אבג");
  EXPECT_TRUE(bidi.HasRightToLeft());
}

}  // namespace
}  // namespace orsin
