// The analysis of a bidirectional text: the steps of Unicode Annex 9, each done by GNU FriBidi.
//
//   1. code points                      4. Arabic letters joined, brackets mirrored
//   2. bidi types, line feeds strong    5. each line put into visual order (rules L1 to L3)
//   3. embedding levels                 6. the inverse map, the visual text
//
// Text that cannot hold anything from right to left skips all of it, so plain labels cost little
// more than finding their end.
#include <climits>

#include "text/bidi.h"

namespace orsin {
namespace {

// Mirror brackets, put marks behind their letters, join Arabic letters and make ligatures.
constexpr FriBidiFlags kFlags = FRIBIDI_FLAGS_DEFAULT | FRIBIDI_FLAGS_ARABIC;
static_assert(kFlags == 0x40303);
static_assert(sizeof(FriBidiChar) == sizeof(unsigned int));
static_assert(sizeof(FriBidiBracketType) == sizeof(FriBidiChar));
static_assert(sizeof(FriBidiStrIndex) == sizeof(int));
static_assert(sizeof(FriBidiLevel) == 1 && sizeof(FriBidiArabicProp) == 1);

// The bytes of a text before the first one that could begin a character from U+0580 on, and whether
// all of them are ASCII. Nothing below U+0590 runs from right to left, and a byte that cannot be
// decoded reads as U+00FF at most.
struct LeftToRightPrefix {
  std::size_t bytes;
  bool is_ascii;
};

LeftToRightPrefix left_to_right_prefix(const char* text, std::size_t size) {
  constexpr unsigned char kLeadOfU0580 = 0xD6;
  constexpr std::uint64_t kHighBits = 0x8080808080808080;
  std::size_t i = 0;
  bool is_ascii = true;
  while (i < size) {
    std::uint64_t block = 0;
    for (; size - i >= sizeof(block); i += sizeof(block)) {
      std::memcpy(&block, text + i, sizeof(block));
      if ((block & kHighBits) != 0) {
        break;
      }
    }
    // The block that holds something else, or the last few bytes, one by one.
    for (std::size_t n = 0; n < sizeof(block) && i < size; ++n, ++i) {
      const auto byte = static_cast<unsigned char>(text[i]);
      if (byte >= kLeadOfU0580) {
        return {i, is_ascii};
      }
      is_ascii = is_ascii && byte < 0x80;
    }
  }
  return {size, is_ascii};
}

template <typename T, typename Deleter>
bool allocate(std::unique_ptr<T[], Deleter>& array, std::size_t count) {
  // Zeroed, so that marks of no selection are none; large blocks come zeroed from the system.
  array.reset(static_cast<T*>(std::calloc(count, sizeof(T))));
  return array != nullptr;
}

}  // namespace

bool OvBidiImpl::analyse() {
  if (!is_analysed_) {
    is_analysed_ = true;
    has_succeeded_ = analyse_text();
  }
  return has_succeeded_;
}

bool OvBidiImpl::analyse_text() {
  highest_level_ = -1;
  is_rtl_paragraph_ = rtl_ != 0;
  if (text_ == nullptr || *text_ == '\0') {
    return false;
  }
  const std::size_t size = std::strlen(text_);
  const LeftToRightPrefix prefix = left_to_right_prefix(text_, size);
  const std::size_t characters =
      prefix.is_ascii && prefix.bytes == size ? size : ov_utf8_strlen(text_);
  if (characters >= INT_MAX) {
    return false;  // Positions are ints, and there is a terminator.
  }
  length_ = static_cast<int>(characters);
  if (!is_rtl_paragraph_ && prefix.bytes == size) {
    highest_level_ = 0;
    return true;
  }

  if (!reserve(length_)) {
    return false;
  }
  ov_utf8_to_utf32(text_, logical_.get(), characters + 1);
  if (!find_levels()) {
    return false;
  }
  if (highest_level_ == 0) {
    return true;
  }
  shape();
  if (!reorder_lines()) {
    return false;
  }
  for (int v = 0; v < length_; ++v) {
    logical_to_visual_[at(visual_to_logical_[at(v)])] = v;
  }
  ov_utf32_to_utf8(visual_.get(), visual_utf8_.get(), 4 * characters + 1);
  return true;
}

// All or nothing: after a failure the next text tries again from an empty object.
bool OvBidiImpl::reserve(int characters) {
  if (characters <= capacity_) {
    return true;
  }
  const std::size_t capacity = at(characters < kCapacityMin ? kCapacityMin : characters);
  capacity_ = 0;
  // Given back before anything is asked for: the old arrays may be what is in the way.
  visual_utf8_.reset();
  logical_.reset();
  visual_.reset();
  types_.reset();
  levels_.reset();
  joining_.reset();
  logical_to_visual_.reset();
  visual_to_logical_.reset();
  selection_marks_.reset();
  if (!allocate(visual_utf8_, 4 * capacity + 1) || !allocate(logical_, capacity + 1) ||
      !allocate(visual_, capacity + 1) || !allocate(types_, capacity) ||
      !allocate(levels_, capacity) || !allocate(joining_, capacity) ||
      !allocate(logical_to_visual_, capacity) || !allocate(visual_to_logical_, capacity) ||
      !allocate(selection_marks_, capacity)) {
    return false;
  }
  capacity_ = static_cast<int>(capacity);
  return true;
}

bool OvBidiImpl::find_levels() {
  const FriBidiParType direction = is_rtl_paragraph_ ? FRIBIDI_PAR_RTL : FRIBIDI_PAR_LTR;
  fribidi_get_bidi_types(logical_.get(), length_, types_.get());
  // A line feed would end the paragraph; as a letter of its direction it only parts the lines.
  for (int i = 0; i < length_; ++i) {
    if (logical_[at(i)] == '\n') {
      types_[at(i)] = direction;
    }
  }
  // The visual order is not made yet, so its array lends itself to the bracket types.
  FriBidiBracketType* const brackets = visual_.get();
  fribidi_get_bracket_types(logical_.get(), length_, types_.get(), brackets);
  FriBidiParType resolved = direction;
  const FriBidiLevel levels = fribidi_get_par_embedding_levels_ex(types_.get(), brackets, length_,
                                                                  &resolved, levels_.get());
  highest_level_ = levels - 1;
  return levels != 0;
}

void OvBidiImpl::shape() {
  std::memcpy(visual_.get(), logical_.get(), (at(length_) + 1) * sizeof(FriBidiChar));
  fribidi_get_joining_types(logical_.get(), length_, joining_.get());
  fribidi_join_arabic(types_.get(), length_, levels_.get(), joining_.get());
  fribidi_shape(kFlags, levels_.get(), length_, joining_.get(), visual_.get());
}

bool OvBidiImpl::reorder_lines() {
  const FriBidiParType direction = is_rtl_paragraph_ ? FRIBIDI_PAR_RTL : FRIBIDI_PAR_LTR;
  for (int i = 0; i < length_; ++i) {
    visual_to_logical_[at(i)] = i;
  }
  int start = 0;
  while (start < length_) {
    int end = start;
    while (end < length_ && logical_[at(end)] != '\n') {
      ++end;
    }
    // Also sets the levels of blanks at the line's end back to the paragraph's.
    if (end > start && fribidi_reorder_line(kFlags, &types_[at(start)], end - start, 0, direction,
                                            &levels_[at(start)], &visual_[at(start)],
                                            &visual_to_logical_[at(start)]) == 0) {
      return false;
    }
    start = end + 1;
  }
  return true;
}

}  // namespace orsin
