// The medians of two halves, compared.
#include "tests/soak/flatness.h"

#include <algorithm>
#include <cstddef>

namespace orsin::soak {
namespace {

constexpr std::size_t kHalfMin = 3;  // A median of fewer is no better than one of them.

using Looks = std::vector<std::int64_t>::const_iterator;

std::int64_t median(Looks begin, Looks end) {
  std::vector<std::int64_t> sorted(begin, end);
  std::sort(sorted.begin(), sorted.end());
  return sorted[sorted.size() / 2];
}

}  // namespace

Flatness judge_flatness(const std::vector<std::int64_t>& figures, std::int64_t allowance) {
  const std::size_t half = figures.size() / 3;
  if (half < kHalfMin) {
    return {};
  }
  const auto middle = figures.end() - static_cast<std::ptrdiff_t>(half);
  Flatness result;
  result.before = median(middle - static_cast<std::ptrdiff_t>(half), middle);
  result.after = median(middle, figures.end());
  result.is_flat = result.growth() <= allowance;
  return result;
}

}  // namespace orsin::soak
