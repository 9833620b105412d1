#include "tests/text/slow_bidi.h"

#include <fribidi.h>

#include <algorithm>
#include <cstddef>
#include <random>

#include "orsincore/text.h"

namespace orsin::test {
namespace {

constexpr unsigned int kLineFeed = '\n';
constexpr unsigned int kStrongLetter[] = {'a', 0x5D0};  // Left-to-right, right-to-left.

std::size_t at(int index) {
  return static_cast<std::size_t>(index);
}

std::vector<unsigned int> code_points(const std::string& utf8) {
  std::vector<unsigned int> result;
  std::size_t position = 0;
  while (const int cp = ov_utf8_get_code_point(utf8.c_str(), &position)) {
    result.push_back(static_cast<unsigned int>(cp));
  }
  return result;
}

bool is_mark(unsigned int cp) {
  return fribidi_get_bidi_type(cp) == FRIBIDI_TYPE_NSM;
}

// What rule L1 sets back at the end of a line: blanks, and what has no direction of its own.
bool falls_back_at_line_end(unsigned int cp) {
  const FriBidiCharType type = fribidi_get_bidi_type(cp);
  return FRIBIDI_IS_EXPLICIT_OR_BN_OR_WS(type) != 0;
}

}  // namespace

SlowBidi::SlowBidi(const std::string& utf8, bool is_rtl)
    : is_rtl_(is_rtl), logical_(code_points(utf8)) {
  if (logical_.empty()) {
    return;
  }
  find_levels();
  int start = 0;
  for (int i = 0; i <= length(); ++i) {
    if (i == length() || logical_[at(i)] == kLineFeed) {
      order_line(start, i);
      if (i < length()) {
        order_.push_back(i);
      }
      start = i + 1;
    }
  }
}

// Line feeds are letters of the paragraph's direction here.
void SlowBidi::find_levels() {
  std::vector<unsigned int> text = logical_;
  std::replace(text.begin(), text.end(), kLineFeed, kStrongLetter[is_rtl_ ? 1 : 0]);
  std::vector<FriBidiCharType> types(text.size());
  std::vector<FriBidiBracketType> brackets(text.size());
  std::vector<FriBidiLevel> levels(text.size());
  FriBidiParType direction = is_rtl_ ? FRIBIDI_PAR_RTL : FRIBIDI_PAR_LTR;
  fribidi_get_bidi_types(text.data(), length(), types.data());
  fribidi_get_bracket_types(text.data(), length(), types.data(), brackets.data());
  highest_level_ = fribidi_get_par_embedding_levels_ex(types.data(), brackets.data(), length(),
                                                       &direction, levels.data()) -
                   1;
  levels_.assign(levels.begin(), levels.end());
}

// Rules L1 to L3: from the highest level down, whatever stands at that level or above it is turned
// around; first each letter of odd level with its marks, so that they end up behind it.
void SlowBidi::order_line(int start, int end) {
  if (!is_reordered()) {
    for (int i = start; i < end; ++i) {
      order_.push_back(i);
    }
    return;
  }
  for (int i = end - 1; i >= start && falls_back_at_line_end(logical_[at(i)]); --i) {
    levels_[at(i)] = is_rtl_ ? 1 : 0;
  }
  std::vector<int> line;
  for (int i = start; i < end; ++i) {
    line.push_back(i);
  }
  const auto level = [&](std::size_t place) { return levels_[at(line[place])]; };
  const auto turn = [&](std::size_t first, std::size_t last) {
    std::reverse(line.begin() + static_cast<std::ptrdiff_t>(first),
                 line.begin() + static_cast<std::ptrdiff_t>(last));
  };
  for (std::size_t last = line.size(); last > 0; --last) {
    const int own = level(last - 1);
    if (own % 2 == 0 || !is_mark(logical_[at(line[last - 1])])) {
      continue;
    }
    std::size_t first = last - 1;
    const auto carries_no_letter = [&](std::size_t place) {
      const FriBidiCharType type = fribidi_get_bidi_type(logical_[at(line[place])]);
      return FRIBIDI_IS_EXPLICIT_OR_BN_OR_NSM(type) != 0;
    };
    while (first > 0 && level(first - 1) == own && carries_no_letter(first)) {
      --first;
    }
    turn(first, last);
    last = first + 1;
  }
  for (int limit = 127; limit >= 1; --limit) {
    for (std::size_t first = 0; first < line.size(); ++first) {
      std::size_t last = first;
      while (last < line.size() && level(last) >= limit) {
        ++last;
      }
      turn(first, last);
      first = std::max(first, last);
    }
  }
  order_.insert(order_.end(), line.begin(), line.end());
}

int SlowBidi::place_of(int logical) const {
  return static_cast<int>(std::find(order_.begin(), order_.end(), logical) - order_.begin());
}

bool SlowBidi::is_odd(int logical) const {
  return levels_[at(logical)] % 2 != 0;
}

std::string SlowBidi::visual_text() const {
  std::vector<unsigned int> shaped = logical_;
  std::vector<FriBidiCharType> types(shaped.size());
  std::vector<FriBidiArabicProp> joining(shaped.size());
  const std::vector<FriBidiLevel> levels = [this] {
    SlowBidi before_lines(*this);
    before_lines.find_levels();  // Shapes are made before the line ends are set back.
    return std::vector<FriBidiLevel>(before_lines.levels_.begin(), before_lines.levels_.end());
  }();
  fribidi_get_bidi_types(shaped.data(), length(), types.data());
  fribidi_get_joining_types(shaped.data(), length(), joining.data());
  fribidi_join_arabic(types.data(), length(), levels.data(), joining.data());
  fribidi_shape(0x40303, levels.data(), length(), joining.data(), shaped.data());
  std::string result;
  for (const int logical : order_) {
    char bytes[4];
    const int size = ov_utf8_encode(static_cast<int>(shaped[at(logical)]), bytes, sizeof(bytes));
    result.append(bytes, at(size));
  }
  return result;
}

int SlowBidi::logical_to_visual(int position) const {
  if (logical_.empty()) {
    return position;
  }
  const int i = std::min(std::max(position, 0), length());
  if (!is_reordered()) {
    return i;
  }
  if (i == 0) {
    return is_odd(0) ? place_of(0) + 1 : place_of(0);
  }
  return is_odd(i - 1) ? place_of(i - 1) : place_of(i - 1) + 1;
}

int SlowBidi::visual_to_logical(int position) const {
  if (logical_.empty()) {
    return position;
  }
  const int v = std::min(std::max(position, 0), length());
  if (!is_reordered()) {
    return v;
  }
  const auto from_right_neighbour = [&] {
    const int q = order_[at(v)];
    return is_odd(q) ? q + 1 : q;
  };
  const auto from_left_neighbour = [&] {
    const int q = order_[at(v - 1)];
    return is_odd(q) ? q : q + 1;
  };
  if (!is_rtl_) {
    return v > 0 ? from_left_neighbour() : from_right_neighbour();
  }
  if (v < length() && logical_[at(order_[at(v)])] != kLineFeed) {
    return from_right_neighbour();
  }
  return v == 0 ? 0 : from_left_neighbour();
}

std::vector<std::pair<int, int>> SlowBidi::selection_runs(int start, int end) const {
  if (start < 0 || end < 0 || start == end) {
    return {};
  }
  if (!is_reordered()) {
    return {{start, end}};
  }
  std::vector<std::pair<int, int>> runs;
  for (int v = 0; v < length(); ++v) {
    const int logical = order_[at(v)];
    if (logical < start || logical >= end) {
      continue;
    }
    if (!runs.empty() && runs.back().second == v) {
      runs.back().second = v + 1;
    } else {
      runs.emplace_back(v, v + 1);
    }
  }
  return runs;
}

std::string mixed_text(unsigned int seed, int length_max) {
  static const char* const kPieces[] = {
      "a",      "B",      "é",      "7",      "0",      ".",        ",",       "+",      "$",
      "%",      "-",      " ",      "  ",     "\t",     "\n",       "(",       ")",      "[",
      "]",      "{",      "}",      "<",      ">",      "«",        "»",       "א",      "ב",
      "ג",      "ש",      "ם",      "ל",      "ו",      "שָׁ",        "ל\u05B0", "ا",      "ل",
      "لا",     "لآ",     "م",      "ب",      "ح",      "ه",        "ي",       "\u064E", "\u0651",
      "٣",      "٧",      "۵",      "😀",      "中",     "e\u0301",  "\u200E",  "\u200F", "\u200D",
      "\u202A", "\u202B", "\u202C", "\u202D", "\u202E", "\u2066",   "\u2067",  "\u2068", "\u2069",
      "\u2029", "\u00AD", "\xFF",   "\xC3",   "\xD7",   "\xE2\x80", "\xF0"};
  std::mt19937 random(seed);
  const auto below = [&random](std::size_t limit) { return random() % limit; };
  std::string text;
  for (std::size_t n = below(at(length_max) + 1); n > 0; --n) {
    // Neighbours are often alike, as in words.
    static constexpr std::size_t kWordMax = 4;
    const std::size_t piece = below(std::size(kPieces));
    const std::size_t repeats = below(3) == 0 ? below(kWordMax) : 0;
    text += kPieces[piece];
    for (std::size_t i = 0; i < repeats; ++i) {
      text += kPieces[std::min(piece + below(3), std::size(kPieces) - 1)];
    }
  }
  return text;
}

}  // namespace orsin::test
