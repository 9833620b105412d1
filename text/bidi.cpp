// OvBidi: carets and selections between logical and visual order, on top of the analysis.
//
// A caret stands at an edge of a character. A character of even level is drawn left to right: its
// logical front is its left edge. One of odd level has its front on the right.
#include "text/bidi.h"

#include <algorithm>
#include <new>

namespace orsin {

OvBidiImpl::~OvBidiImpl() = default;

void OvBidiImpl::SetRightToLeft(int rtl) {
  rtl_ = rtl;
}

int OvBidiImpl::GetRightToLeft() {
  return rtl_;
}

void OvBidiImpl::SetText(const char* text) {
  text_ = text;
  is_analysed_ = false;
}

const char* OvBidiImpl::GetVisualText() {
  return is_reordered() ? visual_utf8_.get() : text_;
}

bool OvBidiImpl::HasRightToLeft() {
  return is_reordered();
}

int OvBidiImpl::clamped(int position) const {
  return std::clamp(position, 0, length_);
}

int OvBidiImpl::LogicalToVisual(int logical_pos) {
  if (!analyse()) {
    return logical_pos;
  }
  const int position = clamped(logical_pos);
  if (highest_level_ < 1) {
    return position;
  }
  if (position == 0) {
    return logical_to_visual_[0] + (is_odd(0) ? 1 : 0);
  }
  const int before = position - 1;
  return logical_to_visual_[at(before)] + (is_odd(before) ? 0 : 1);
}

int OvBidiImpl::VisualToLogical(int visual_pos) {
  if (!analyse()) {
    return visual_pos;
  }
  const int position = clamped(visual_pos);
  if (highest_level_ < 1) {
    return position;
  }
  // A line begins on the right in a right-to-left paragraph, so there the character on the caret's
  // right comes first; a line feed there belongs to the next line and has nothing to say.
  bool takes_right = position == 0;
  if (is_rtl_paragraph_) {
    const bool at_line_feed = position < length_ && is_line_feed(position);
    if (at_line_feed && position == 0) {
      return 0;
    }
    takes_right = position < length_ && !at_line_feed;
  }
  return takes_right ? left_edge(visual_to_logical_[at(position)])
                     : right_edge(visual_to_logical_[at(position - 1)]);
}

void OvBidiImpl::SetSelection(int start, int end) {
  if (start < 0 || end < 0 || start == end) {
    run_position_ = kStopped;
    return;
  }
  if (is_reordered()) {
    std::fill_n(selection_marks_.get(), capacity_, 0U);
    for (int i = start; i < std::min(end, length_); ++i) {
      selection_marks_[at(logical_to_visual_[at(i)])] = 1;
    }
  }
  selection_start_ = start;
  selection_end_ = end;
  run_position_ = 0;
}

bool OvBidiImpl::NextSelectionRun(int* start, int* end) {
  if (run_position_ == kStopped || start == nullptr || end == nullptr) {
    return false;
  }
  if (!is_reordered()) {
    *start = selection_start_;
    *end = selection_end_;
    run_position_ = kStopped;
    return true;
  }
  const auto* const marks_end = selection_marks_.get() + length_;
  const auto* const from = selection_marks_.get() + std::min(run_position_, length_);
  const auto* const first = std::find(from, marks_end, 1U);
  if (first == marks_end) {
    run_position_ = kStopped;
    return false;
  }
  const auto* const last = std::find(first, marks_end, 0U);
  *start = static_cast<int>(first - selection_marks_.get());
  *end = static_cast<int>(last - selection_marks_.get());
  run_position_ = *end;
  return true;
}

}  // namespace orsin

using namespace orsin;

OvBidi* OvBidi::Create() {
  return new (std::nothrow) OvBidiImpl;
}

OvBidi* OvBidi::Create(const char* text) {
  OvBidi* bidi = Create();
  if (bidi != nullptr) {
    bidi->SetText(text);
  }
  return bidi;
}

void OvBidi::Destroy(OvBidi* bidi) {
  delete static_cast<OvBidiImpl*>(bidi);
}
