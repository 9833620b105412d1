// The implementation behind OvBidi: one text, its analysis, and the run iterator of a selection.
//
// The analysis turns the text into code points and fills parallel arrays, one entry a character:
//
//   index in logical order   code points, bidi types, levels, joining, logical-to-visual
//   index in visual order    visual code points, visual-to-logical, selection marks
//
// Once it has succeeded with a highest level of 1 or more, the two maps are permutations of
// 0 ... length - 1 and each other's inverse. With a highest level of 0 both orders are the same and
// the arrays may be stale or missing. The arrays hold `capacity_` entries, which only grows.
#pragma once

#include <fribidi.h>

#include <cstdlib>
#include <memory>

#include "orsincore/text.h"

namespace orsin {

class OvBidiImpl final : public OvBidi {
 public:
  OvBidiImpl() = default;
  OvBidiImpl(const OvBidiImpl&) = delete;
  OvBidiImpl& operator=(const OvBidiImpl&) = delete;

  void SetRightToLeft(int rtl) override;
  int GetRightToLeft() override;
  void SetText(const char* text) override;
  const char* GetVisualText() override;
  bool HasRightToLeft() override;
  int LogicalToVisual(int logical_pos) override;
  int VisualToLogical(int visual_pos) override;
  void SetSelection(int start, int end) override;
  bool NextSelectionRun(int* start, int* end) override;
  virtual ~OvBidiImpl();  // Behind the interface's functions in the table.

  // What the analysis found, for the tests.
  [[nodiscard]] int length() const { return length_; }
  [[nodiscard]] int capacity() const { return capacity_; }
  [[nodiscard]] int highest_level() const { return highest_level_; }
  [[nodiscard]] int level(int logical) const { return levels_[at(logical)]; }
  [[nodiscard]] int visual_index(int logical) const { return logical_to_visual_[at(logical)]; }
  [[nodiscard]] int logical_index(int visual) const { return visual_to_logical_[at(visual)]; }

 private:
  static constexpr int kCapacityMin = 128;  // Characters; most texts are labels and single lines.
  static constexpr int kStopped = -1;       // The run iterator between selections.

  struct FreeDeleter {
    void operator()(void* block) const { std::free(block); }
  };
  template <typename T>
  using Array = std::unique_ptr<T[], FreeDeleter>;

  static std::size_t at(int index) { return static_cast<std::size_t>(index); }

  [[nodiscard]] bool is_reordered() { return analyse() && highest_level_ >= 1; }
  [[nodiscard]] bool is_odd(int logical) const { return (level(logical) & 1) != 0; }
  [[nodiscard]] bool is_line_feed(int visual) const { return visual_[at(visual)] == '\n'; }
  [[nodiscard]] int clamped(int position) const;
  [[nodiscard]] int left_edge(int logical) const { return logical + (is_odd(logical) ? 1 : 0); }
  [[nodiscard]] int right_edge(int logical) const { return logical + (is_odd(logical) ? 0 : 1); }

  bool analyse();
  [[nodiscard]] bool analyse_text();
  [[nodiscard]] bool reserve(int characters);
  [[nodiscard]] bool find_levels();
  void shape();
  [[nodiscard]] bool reorder_lines();

  int rtl_ = 0;
  const char* text_ = nullptr;  // The caller's.
  Array<char> visual_utf8_;     // 4 x capacity + 1 bytes.
  int length_ = 0;
  int capacity_ = 0;
  Array<FriBidiChar> logical_;  // capacity + 1, with the terminator.
  Array<FriBidiChar> visual_;   // capacity + 1, with the terminator.
  Array<FriBidiCharType> types_;
  Array<FriBidiLevel> levels_;
  Array<FriBidiArabicProp> joining_;
  Array<int> logical_to_visual_;
  Array<int> visual_to_logical_;
  Array<unsigned int> selection_marks_;  // 1 where the character at that visual place is selected.
  int highest_level_ = -1;
  bool is_analysed_ = false;
  bool has_succeeded_ = false;
  int run_position_ = kStopped;  // The next visual position to look at.
  int selection_start_ = 0;
  int selection_end_ = 0;
  bool is_rtl_paragraph_ = false;  // As it was when the text was analysed.
};

}  // namespace orsin
