#include "text/bidi.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/text/slow_bidi.h"

namespace orsin {
namespace {

struct Destroyer {
  void operator()(OvBidi* bidi) const { OvBidi::Destroy(bidi); }
};
using Bidi = std::unique_ptr<OvBidi, Destroyer>;
using Runs = std::vector<std::pair<int, int>>;

Bidi make(const char* text, bool is_rtl = false) {
  Bidi bidi(OvBidi::Create());
  bidi->SetRightToLeft(is_rtl ? 1 : 0);
  bidi->SetText(text);
  return bidi;
}

std::string visual(const char* text, bool is_rtl = false) {
  return make(text, is_rtl)->GetVisualText();
}

Runs runs_of(OvBidi& bidi, int start, int end) {
  Runs runs;
  bidi.SetSelection(start, end);
  int first = -1;
  int last = -1;
  while (bidi.NextSelectionRun(&first, &last)) {
    runs.emplace_back(first, last);
  }
  return runs;
}

static_assert(std::is_abstract_v<OvBidi> && std::is_polymorphic_v<OvBidi>);
static_assert(!std::has_virtual_destructor_v<OvBidi>);
static_assert(sizeof(OvBidi) == sizeof(void*));
static_assert(std::is_copy_assignable_v<OvBidi> && std::is_move_assignable_v<OvBidi>);

TEST(Bidi, LeavesPureAsciiAsItIs) {
  const char* text = "Take 1 (final)";
  const Bidi bidi = make(text);

  EXPECT_FALSE(bidi->HasRightToLeft());
  EXPECT_EQ(bidi->GetVisualText(), text);
  EXPECT_EQ(bidi->LogicalToVisual(3), 3);
  EXPECT_EQ(bidi->VisualToLogical(3), 3);
}

TEST(Bidi, ReversesAHebrewWord) {
  const Bidi bidi = make("שלום");

  EXPECT_TRUE(bidi->HasRightToLeft());
  EXPECT_STREQ(bidi->GetVisualText(), "םולש");
  EXPECT_EQ(bidi->LogicalToVisual(0), 4);
  EXPECT_EQ(bidi->LogicalToVisual(4), 0);
}

TEST(Bidi, ReordersEachLineOnItsOwn) {
  const Bidi bidi = make("אבג\nabc דה");

  EXPECT_STREQ(bidi->GetVisualText(), "גבא\nabc הד");
  EXPECT_STREQ(visual("אבג\nabc דה", true).c_str(), "גבא\nהד abc");
  EXPECT_EQ(visual("abc\nאבג"), "abc\nגבא");
}

TEST(Bidi, MapsEveryCaretOfALineInBothDirections) {
  const struct {
    const char* text;
    bool is_rtl;
    std::vector<int> visual;
    std::vector<int> logical;
  } cases[] = {
      {"abc אבג", false, {0, 1, 2, 3, 4, 6, 5, 4}, {0, 1, 2, 3, 4, 6, 5, 4}},
      {"אב a", true, {4, 3, 2, 1, 1}, {3, 3, 2, 1, 0}},
      {"א1", false, {2, 1, 1}, {1, 2, 0}},
      {"\nא", true, {1, 0, 1}, {0, 2, 1}},
      {"א\nבג\nד", true, {1, 0, 1, 3, 2, 4, 5}, {1, 0, 4, 3, 2, 6, 5}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const Bidi bidi = make(c.text, c.is_rtl);
    for (std::size_t i = 0; i < c.visual.size(); ++i) {
      EXPECT_EQ(bidi->LogicalToVisual(static_cast<int>(i)), c.visual[i]) << i;
      EXPECT_EQ(bidi->VisualToLogical(static_cast<int>(i)), c.logical[i]) << i;
    }
  }
}

TEST(Bidi, KeepsLineFeedsInTheirPlaces) {
  EXPECT_EQ(visual("\nאב\n\nגד\n"), "\nבא\n\nדג\n");
  EXPECT_EQ(visual("\n\n", true), "\n\n");
}

TEST(Bidi, HasNoRunsInAnEmptySelection) {
  const Bidi bidi = make("abc אבג");
  int start = 77;
  int end = 78;

  bidi->SetSelection(5, 5);

  EXPECT_FALSE(bidi->NextSelectionRun(&start, &end));
  EXPECT_EQ(start, 77);
  EXPECT_EQ(end, 78);
}

TEST(Bidi, HasNoRunsInANegativeSelection) {
  const Bidi bidi = make("abc אבג");
  EXPECT_EQ(runs_of(*bidi, -1, 3), Runs{});
  EXPECT_EQ(runs_of(*bidi, 0, -3), Runs{});
}

TEST(Bidi, ForgetsASelectionForOneWithoutRuns) {
  const Bidi bidi = make("abc אבג");
  const std::pair<int, int> kNone[] = {{5, 5}, {-1, 3}, {0, -3}};
  for (const auto& none : kNone) {
    SCOPED_TRACE(none.first);
    int start = 0;
    int end = 0;
    bidi->SetSelection(0, 7);

    bidi->SetSelection(none.first, none.second);

    EXPECT_FALSE(bidi->NextSelectionRun(&start, &end));
  }
}

TEST(Bidi, HasSeveralRunsWhereDirectionsMix) {
  const Bidi bidi = make("abc אבג def");

  EXPECT_EQ(runs_of(*bidi, 2, 6), (Runs{{2, 4}, {5, 7}}));
  EXPECT_EQ(runs_of(*bidi, 0, 11), (Runs{{0, 11}}));
  EXPECT_EQ(runs_of(*bidi, 5, 9), (Runs{{4, 6}, {7, 9}}));
}

TEST(Bidi, EndsWithTheLastRun) {
  const Bidi bidi = make("abc אבג");
  EXPECT_EQ(runs_of(*bidi, 4, 7), (Runs{{4, 7}}));
  int start = 0;
  int end = 0;
  EXPECT_FALSE(bidi->NextSelectionRun(&start, &end));
  bidi->SetText("abc");
  EXPECT_FALSE(bidi->NextSelectionRun(&start, &end));
}

TEST(Bidi, HasNoRunBeforeTheFirstSelection) {
  int start = 0;
  int end = 0;
  EXPECT_FALSE(make("אבג")->NextSelectionRun(&start, &end));
}

TEST(Bidi, SelectsNothingBackwards) {
  EXPECT_EQ(runs_of(*make("abc אבג"), 5, 2), Runs{});
}

TEST(Bidi, SelectsNothingBehindTheText) {
  EXPECT_EQ(runs_of(*make("אבג"), 1, 1000000), (Runs{{0, 2}}));
  EXPECT_EQ(runs_of(*make("אבג"), 3, 1000000), Runs{});
}

TEST(Bidi, GivesTheSelectionBackWhereNothingIsReordered) {
  EXPECT_EQ(runs_of(*make("abc"), 1, 1000), (Runs{{1, 1000}}));
  EXPECT_EQ(runs_of(*make("abc"), 3, 1), (Runs{{3, 1}}));
  EXPECT_EQ(runs_of(*make("abc"), 3, 0), (Runs{{3, 0}}));
  EXPECT_EQ(runs_of(*make(""), 1, 2), (Runs{{1, 2}}));
  EXPECT_EQ(runs_of(*make(nullptr), 1, 2), (Runs{{1, 2}}));
}

TEST(Bidi, KeepsItsDirectionUntilTheNextText) {
  const Bidi bidi = make("abc אבג");
  const std::string before = bidi->GetVisualText();
  std::vector<int> carets;
  for (int i = 0; i <= 7; ++i) {
    carets.push_back(bidi->VisualToLogical(i));
  }

  bidi->SetRightToLeft(1);

  EXPECT_EQ(bidi->GetRightToLeft(), 1);
  EXPECT_EQ(bidi->GetVisualText(), before);
  for (int i = 0; i <= 7; ++i) {
    EXPECT_EQ(bidi->VisualToLogical(i), carets[static_cast<std::size_t>(i)]);
  }
  bidi->SetText("abc אבג");
  EXPECT_STREQ(bidi->GetVisualText(), "גבא abc");
}

TEST(Bidi, ReturnsTheDirectionAsItWasGiven) {
  const Bidi bidi = make("a");
  EXPECT_EQ(bidi->GetRightToLeft(), 0);
  bidi->SetRightToLeft(-7);
  EXPECT_EQ(bidi->GetRightToLeft(), -7);
}

TEST(Bidi, AnswersWithoutAText) {
  const char* const kNone[] = {nullptr, ""};
  for (const char* text : kNone) {
    for (const bool is_rtl : {false, true}) {
      const Bidi bidi = make(text, is_rtl);
      EXPECT_EQ(bidi->GetVisualText(), text);
      EXPECT_FALSE(bidi->HasRightToLeft());
      EXPECT_EQ(bidi->LogicalToVisual(5), 5);
      EXPECT_EQ(bidi->LogicalToVisual(-5), -5);
      EXPECT_EQ(bidi->VisualToLogical(5), 5);
    }
  }
  EXPECT_EQ(Bidi(OvBidi::Create())->GetVisualText(), nullptr);
}

TEST(Bidi, MovesCaretsOutsideTheTextToItsEnds) {
  EXPECT_EQ(make("abc")->LogicalToVisual(-4), 0);
  EXPECT_EQ(make("abc")->LogicalToVisual(9), 3);
  EXPECT_EQ(make("abc")->VisualToLogical(9), 3);
  EXPECT_EQ(make("אבג")->LogicalToVisual(-4), 3);
  EXPECT_EQ(make("אבג")->LogicalToVisual(9), 0);
  EXPECT_EQ(make("אבג")->VisualToLogical(-9), 3);
}

TEST(Bidi, CountsInCharactersOfAnyLength) {
  const Bidi bidi = make("é😀");
  EXPECT_EQ(bidi->LogicalToVisual(99), 2);
  EXPECT_FALSE(bidi->HasRightToLeft());
  EXPECT_EQ(make("é")->LogicalToVisual(99), 1);
  EXPECT_EQ(make("déjà vu, ça va")->LogicalToVisual(99), 14);
}

TEST(Bidi, DrawsLettersOfFourBytes) {
  EXPECT_EQ(visual("𐤀𐤁𐤂"), "𐤂𐤁𐤀");
  std::string many;
  for (int i = 0; i < 200; ++i) {  // As many as there is room for.
    many += "𐤀";
  }
  EXPECT_EQ(visual(many.c_str()), many);
}

TEST(Bidi, PutsLatinOnTheRightOfARightToLeftParagraph) {
  const Bidi bidi = make("abc", true);
  EXPECT_TRUE(bidi->HasRightToLeft());  // Level 2 within level 1.
  EXPECT_STREQ(bidi->GetVisualText(), "abc");
  EXPECT_EQ(visual("abc.", true), ".abc");
}

TEST(Bidi, KeepsNumbersReadableInHebrew) {
  EXPECT_EQ(visual("עמוד 123 מתוך 456"), "456 ךותמ 123 דומע");
  EXPECT_EQ(visual("מחיר 12.50$ USD"), "12.50$ ריחמ USD");
}

TEST(Bidi, MirrorsBrackets) {
  EXPECT_EQ(visual("(אבג)"), "(גבא)");
  EXPECT_EQ(visual("א<ב>[ג]{ד}"), "{ד}[ג]<ב>א");
  EXPECT_EQ(visual("א«ב»ג"), "ג«ב»א");
}

TEST(Bidi, KeepsPairedBracketsTogether) {
  EXPECT_EQ(visual("שלום (עולם) abc"), "(םלוע) םולש abc");
}

TEST(Bidi, JoinsArabicLetters) {
  // Beh, heh, reh as initial, medial and final form, drawn from the right.
  EXPECT_EQ(visual("بهر"), "\uFEAE\uFEEC\uFE91");
  // A letter of another script parts them: each stands alone.
  EXPECT_EQ(visual("بaه"), "\uFE8Fa\uFEE9");
}

TEST(Bidi, MakesLamAlefALigatureAndKeepsTheCount) {
  const Bidi bidi = make("لا");
  EXPECT_STREQ(bidi->GetVisualText(), "\uFEFB\uFEFF");
  EXPECT_EQ(ov_utf8_strlen(bidi->GetVisualText()), 2U);
  EXPECT_EQ(bidi->LogicalToVisual(1), 1);
}

TEST(Bidi, PutsMarksBehindTheirLetters) {
  // Alef, patah, bet: drawn bet, alef, patah.
  EXPECT_EQ(visual("א\u05B7ב"), "בא\u05B7");
}

TEST(Bidi, KeepsArabicDigitsInOrder) {
  EXPECT_EQ(visual("م ٣٤٥"), "٣٤٥ \uFEE1");
}

TEST(Bidi, LeavesEmojiWhole) {
  EXPECT_EQ(visual("א😀ב"), "ב😀א");
}

TEST(Bidi, ReadsUndecodableBytesAsLatin1) {
  EXPECT_EQ(visual("א\xFF"
                   "ב"),
            "אÿב");
  EXPECT_EQ(visual("ab\xFF", true), "abÿ");
  const char* plain = "ab\xFF\xC3";
  EXPECT_EQ(make(plain)->GetVisualText(), plain);
}

TEST(Bidi, TakesTextsOfAMegabyte) {
  std::string text;
  for (unsigned seed = 0; text.size() < (1U << 20); ++seed) {
    text += test::mixed_text(seed, 60);
  }
  for (const bool is_rtl : {false, true}) {
    const Bidi bidi = make(text.c_str(), is_rtl);
    const std::string drawn = bidi->GetVisualText();
    const int length = static_cast<int>(ov_utf8_strlen(text.c_str()));
    EXPECT_EQ(ov_utf8_strlen(drawn.c_str()), static_cast<std::size_t>(length));
    EXPECT_TRUE(bidi->HasRightToLeft());
    // Every character is drawn somewhere, once: selecting all of them leaves no gap.
    EXPECT_EQ(runs_of(*bidi, 0, length), (Runs{{0, length}}));
  }
}

// What sorts and pairs brackets must need neither deep recursion nor quadratic time.
TEST(Bidi, TakesAMegabyteOfBrackets) {
  const char* const kPieces[] = {"(", "()", "(א)"};
  for (const char* piece : kPieces) {
    SCOPED_TRACE(piece);
    std::string text;
    while (text.size() < (1U << 20)) {
      text += piece;
    }
    text += "א";
    EXPECT_TRUE(make(text.c_str())->HasRightToLeft());
  }
}

TEST(Bidi, ServesEachThreadItsOwnObject) {
  constexpr unsigned kThreads = 4;
  std::vector<std::thread> threads;
  std::vector<unsigned> differences(kThreads);
  for (unsigned thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([thread, &differences] {
      for (unsigned seed = 0; seed < 300; ++seed) {
        const std::string text = test::mixed_text(seed, 20);
        const Bidi bidi = make(text.c_str(), thread % 2 == 1);
        const test::SlowBidi slow(text, thread % 2 == 1);
        differences[thread] += slow.is_reordered() && bidi->GetVisualText() != slow.visual_text();
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(differences, std::vector<unsigned>(kThreads));
}

TEST(Bidi, SkipsTheAnalysisOnlyWhereItWouldFindNothing) {
  // Every character below U+0590 next to letters, digits and marks.
  for (unsigned cp = 1; cp < 0x590; ++cp) {
    unsigned int points[] = {'a', cp, '1', cp, '.', cp, cp, 0};
    char text[64];
    ov_utf32_to_utf8(points, text, sizeof(text));
    const test::SlowBidi slow(text, false);
    OvBidiImpl bidi;
    bidi.SetText(text);
    ASSERT_FALSE(bidi.HasRightToLeft()) << cp;
    ASSERT_FALSE(slow.is_reordered()) << cp;
  }
}

TEST(Bidi, FindsRightToLeftLettersAnywhere) {
  EXPECT_TRUE(make("\u05BE")->HasRightToLeft());  // The first that there is.
  for (std::size_t before = 0; before < 40; ++before) {
    for (std::size_t after = 0; after < 20; ++after) {
      const std::string text = std::string(before, 'x') + "א" + std::string(after, 'y');
      ASSERT_TRUE(make(text.c_str())->HasRightToLeft()) << before << ' ' << after;
    }
  }
}

TEST(Bidi, GrowsAndNeverShrinks) {
  OvBidiImpl bidi;
  bidi.SetText("א");
  EXPECT_EQ(bidi.capacity(), 0);
  ASSERT_TRUE(bidi.HasRightToLeft());
  EXPECT_EQ(bidi.capacity(), 128);
  const std::string text = std::string(200, '\xD7') + "א";  // 200 bytes that cannot be decoded.
  bidi.SetText(text.c_str());
  ASSERT_TRUE(bidi.HasRightToLeft());
  EXPECT_EQ(bidi.capacity(), 201);
  bidi.SetText("אב");
  ASSERT_TRUE(bidi.HasRightToLeft());
  EXPECT_EQ(bidi.capacity(), 201);
}

TEST(Bidi, DestroysNothing) {
  OvBidi::Destroy(nullptr);
}

TEST(Bidi, CopiesNothingButItsTable) {
  const Bidi from = make("אבג");
  const Bidi to = make("abc");
  *to = *from;
  EXPECT_STREQ(to->GetVisualText(), "abc");
}

// The functions' places in the table, as a caller compiled elsewhere sees them.
TEST(Bidi, KeepsTheOrderOfItsTable) {
  const Bidi bidi = make("שלום");
  void** table = nullptr;
  std::memcpy(&table, static_cast<const void*>(bidi.get()), sizeof(table));
  OvBidi* self = bidi.get();
  const auto slot = [table](int index, auto type) {
    decltype(type) function = nullptr;
    std::memcpy(&function, &table[index], sizeof(function));
    return function;
  };
  using SetInt = void (*)(OvBidi*, int);
  using GetInt = int (*)(OvBidi*);
  using SetText = void (*)(OvBidi*, const char*);
  using GetText = const char* (*)(OvBidi*);
  using GetBool = bool (*)(OvBidi*);
  using Map = int (*)(OvBidi*, int);
  using Select = void (*)(OvBidi*, int, int);
  using Next = bool (*)(OvBidi*, int*, int*);

  slot(0, SetInt())(self, 1);
  EXPECT_EQ(slot(1, GetInt())(self), 1);
  slot(2, SetText())(self, "אבa");
  EXPECT_STREQ(slot(3, GetText())(self), "aבא");
  EXPECT_TRUE(slot(4, GetBool())(self));
  EXPECT_EQ(slot(5, Map())(self, 0), 3);
  EXPECT_EQ(slot(6, Map())(self, 0), 2);
  slot(7, Select())(self, 0, 1);
  int start = 0;
  int end = 0;
  EXPECT_TRUE(slot(8, Next())(self, &start, &end));
  EXPECT_EQ(start, 2);
  EXPECT_EQ(end, 3);
}

}  // namespace
}  // namespace orsin
