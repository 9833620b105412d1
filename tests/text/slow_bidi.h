// A slow second opinion on OvBidi, and mixed texts to ask both about.
//
// Only the embedding levels and the letters' shapes come from FriBidi; the lines, the order within
// them, the carets and the selections are found here by searching, one position after the other.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace orsin::test {

class SlowBidi {
 public:
  SlowBidi(const std::string& utf8, bool is_rtl);

  [[nodiscard]] int length() const { return static_cast<int>(logical_.size()); }
  [[nodiscard]] bool is_reordered() const { return highest_level_ > 0; }
  [[nodiscard]] const std::vector<int>& levels() const { return levels_; }
  [[nodiscard]] const std::vector<int>& visual_order() const { return order_; }

  [[nodiscard]] std::string visual_text() const;
  [[nodiscard]] int logical_to_visual(int position) const;
  [[nodiscard]] int visual_to_logical(int position) const;
  [[nodiscard]] std::vector<std::pair<int, int>> selection_runs(int start, int end) const;

 private:
  void find_levels();
  void order_line(int start, int end);
  [[nodiscard]] int place_of(int logical) const;
  [[nodiscard]] bool is_odd(int logical) const;

  bool is_rtl_;
  int highest_level_ = -1;
  std::vector<unsigned int> logical_;
  std::vector<int> levels_;
  std::vector<int> order_;  // The logical index of the character at each visual place.
};

/// A text of up to `length_max` characters: Latin, Hebrew, Arabic with marks and ligatures, digits
/// of both kinds, brackets, blanks, line feeds, emoji, directional controls and undecodable bytes.
std::string mixed_text(unsigned int seed, int length_max);

}  // namespace orsin::test
