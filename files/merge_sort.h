// A stable merge sort that assumes nothing of its comparison.
//
// The standard sorts are undefined for a relation that is no order. This one always ends, after at
// most n log2 n comparisons and some, and leaves a permutation of what it was given; where the
// relation is an order, that order.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <type_traits>

namespace orsin {

/// Sorts trivially copyable elements. `compare` returns a negative number when its first argument
/// comes first. False, with nothing changed, when memory for a second array is short.
template <typename T, typename Compare>
[[nodiscard]] bool merge_sort(T* elements, std::size_t count, Compare compare) {
  static_assert(std::is_trivially_copyable_v<T>);
  constexpr std::size_t kRun = 8;  // Short runs are sorted by insertion.
  if (count < 2) {
    return true;
  }
  T* scratch = static_cast<T*>(std::malloc(count * sizeof(T)));
  if (scratch == nullptr) {
    return false;
  }
  for (std::size_t begin = 0; begin < count; begin += kRun) {
    const std::size_t end = std::min(begin + kRun, count);
    for (std::size_t i = begin + 1; i < end; ++i) {
      const T element = elements[i];
      std::size_t to = i;
      for (; to > begin && compare(element, elements[to - 1]) < 0; --to) {
        elements[to] = elements[to - 1];
      }
      elements[to] = element;
    }
  }
  T* from = elements;
  T* to = scratch;
  for (std::size_t width = kRun; width < count; width *= 2) {
    for (std::size_t begin = 0; begin < count; begin += 2 * width) {
      const std::size_t middle = std::min(begin + width, count);
      const std::size_t end = std::min(begin + 2 * width, count);
      std::size_t left = begin;
      std::size_t right = middle;
      for (std::size_t out = begin; out < end; ++out) {
        const bool take_left =
            right >= end || (left < middle && compare(from[right], from[left]) >= 0);
        to[out] = take_left ? from[left++] : from[right++];
      }
    }
    std::swap(from, to);
  }
  if (from != elements) {
    std::memcpy(static_cast<void*>(elements), static_cast<const void*>(from), count * sizeof(T));
  }
  std::free(scratch);
  return true;
}

}  // namespace orsin
