// A stable sort that is defined for every comparison, even one that is no order.
//
// File names are compared by a relation that is not transitive (see name_order.h). std::sort and
// std::stable_sort have undefined behaviour then; this sort only ever asks "does the right one go
// before the left one?" about elements that exist, makes at most count * log2(count) such
// questions plus the runs, and ends with a permutation of what it was given.
//
// Method: bottom-up merging of short runs that were sorted by insertion. Two neighbours that are in
// order already are not merged, so a directory that the system hands out sorted costs one pass.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <type_traits>

namespace orsin {

namespace merge_sort_detail {

constexpr std::size_t kRunLength = 12;  // Below this, moving elements is cheaper than merging.

struct FreeBlock {
  void operator()(void* block) const { std::free(block); }
};

// compare(a, b) > 0: b goes before a.
template <typename T, typename Compare>
void insertion_sort(T* items, std::size_t count, Compare& compare) {
  for (std::size_t i = 1; i < count; ++i) {
    const T item = items[i];
    std::size_t place = i;
    while (place > 0 && compare(items[place - 1], item) > 0) {
      items[place] = items[place - 1];
      --place;
    }
    items[place] = item;
  }
}

// Merges [0, middle) and [middle, count) through scratch, which holds the left part.
template <typename T, typename Compare>
void merge(T* items, std::size_t middle, std::size_t count, T* scratch, Compare& compare) {
  std::copy(items, items + middle, scratch);
  std::size_t left = 0;
  std::size_t right = middle;
  std::size_t out = 0;
  while (left < middle && right < count) {
    const bool takes_right = compare(scratch[left], items[right]) > 0;
    items[out++] = takes_right ? items[right++] : scratch[left++];
  }
  std::copy(scratch + left, scratch + middle, items + out);
}

}  // namespace merge_sort_detail

/// Sorts in place, equal elements in the order they had.
///
/// @param compare  int(const T& a, const T& b): positive when b belongs before a. Any relation.
/// When memory for as many elements cannot be had, it sorts by insertion: slower, never failing.
template <typename T, typename Compare>
void merge_sort(T* items, std::size_t count, Compare compare) {
  static_assert(std::is_trivially_copyable_v<T>, "elements move by plain copies");
  using namespace merge_sort_detail;

  if (count <= kRunLength) {
    insertion_sort(items, count, compare);
    return;
  }
  const std::unique_ptr<T, FreeBlock> scratch(static_cast<T*>(std::malloc(count * sizeof(T))));
  if (!scratch) {
    insertion_sort(items, count, compare);
    return;
  }
  for (std::size_t start = 0; start < count; start += kRunLength) {
    insertion_sort(items + start, std::min(kRunLength, count - start), compare);
  }
  for (std::size_t width = kRunLength; width < count; width *= 2) {
    for (std::size_t start = 0; start + width < count; start += 2 * width) {
      T* const pair = items + start;
      if (compare(pair[width - 1], pair[width]) > 0) {
        merge(pair, width, std::min(2 * width, count - start), scratch.get(), compare);
      }
    }
  }
}

}  // namespace orsin
