// Sizes in whole units.
#pragma once

namespace orsin {

/// The next multiple of `unit`, or the value itself where it is one.
[[nodiscard]] constexpr unsigned long long rounded_up(unsigned long long value,
                                                      unsigned long long unit) {
  return (value + unit - 1) / unit * unit;
}

}  // namespace orsin
