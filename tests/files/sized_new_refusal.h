// Has `new (std::nothrow)` find no memory; the process heap itself stays as it is.
//
// While a refusal lives, whatever takes at least its size is refused.
#pragma once

#include <cstddef>

namespace orsin::test {

class SizedNewRefusal {
 public:
  explicit SizedNewRefusal(std::size_t bytes_min);
  ~SizedNewRefusal();
  SizedNewRefusal(const SizedNewRefusal&) = delete;
  SizedNewRefusal& operator=(const SizedNewRefusal&) = delete;
};

}  // namespace orsin::test
