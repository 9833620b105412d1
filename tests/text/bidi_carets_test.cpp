// Carets, selections and the visual text against the slow definition, for every position.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/text/slow_bidi.h"
#include "text/bidi.h"

namespace orsin {
namespace {

constexpr unsigned kTexts = 4000;
constexpr int kLengthMax = 24;

// Calls check(text, bidi, slow) for each text in both directions; one object sees them all.
template <typename Check>
void for_mixed_texts(Check check) {
  OvBidiImpl bidi;
  for (unsigned seed = 0; seed < kTexts && !testing::Test::HasFatalFailure(); ++seed) {
    const std::string text = test::mixed_text(seed, kLengthMax);
    for (const bool is_rtl : {false, true}) {
      SCOPED_TRACE("seed " + std::to_string(seed) + (is_rtl ? " right-to-left: " : ": ") + text);
      const test::SlowBidi slow(text, is_rtl);
      bidi.SetRightToLeft(is_rtl ? 1 : 0);
      bidi.SetText(text.c_str());
      check(text, bidi, slow);
    }
  }
}

TEST(BidiCarets, StandWhereTheSlowDefinitionPutsThem) {
  for_mixed_texts([](const std::string&, OvBidi& bidi, const test::SlowBidi& slow) {
    for (int i = -2; i <= slow.length() + 2; ++i) {
      ASSERT_EQ(bidi.LogicalToVisual(i), slow.logical_to_visual(i)) << "logical " << i;
      ASSERT_EQ(bidi.VisualToLogical(i), slow.visual_to_logical(i)) << "visual " << i;
    }
  });
}

TEST(BidiCarets, SelectTheRunsOfTheSlowDefinition) {
  for_mixed_texts([](const std::string&, OvBidi& bidi, const test::SlowBidi& slow) {
    constexpr int kStride = 5;  // Every end is met by some start.
    for (int start = -1; start <= slow.length() + 1; ++start) {
      for (int end = (start + 1) % kStride - 1; end <= slow.length() + 1; end += kStride) {
        std::vector<std::pair<int, int>> runs;
        std::pair<int, int> run;
        bidi.SetSelection(start, end);
        while (bidi.NextSelectionRun(&run.first, &run.second)) {
          runs.push_back(run);
        }
        ASSERT_EQ(runs, slow.selection_runs(start, end)) << start << " to " << end;
      }
    }
  });
}

TEST(BidiCarets, BelongToTheTextThatIsDrawn) {
  for_mixed_texts([](const std::string& text, OvBidi& bidi, const test::SlowBidi& slow) {
    ASSERT_EQ(bidi.HasRightToLeft(), slow.is_reordered());
    if (slow.is_reordered()) {
      ASSERT_EQ(std::string(bidi.GetVisualText()), slow.visual_text());
    } else {
      ASSERT_EQ(bidi.GetVisualText(), text.c_str());
    }
  });
}

}  // namespace
}  // namespace orsin
