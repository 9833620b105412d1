#include "orsincore/threads.h"

#include <cstdint>

//! [example]
// Part number smp_id() of smp_numprocs(), each on a processor of its own.
void darken_part(std::uint8_t* pixels, std::size_t* count) {
  const auto part = static_cast<std::size_t>(smp_id());
  const auto parts = static_cast<std::size_t>(smp_numprocs());
  for (std::size_t i = *count * part / parts; i < *count * (part + 1) / parts; ++i) {
    pixels[i] /= 2;
  }
}

void darken(std::uint8_t* pixels, std::size_t count) {
  smp_exec(reinterpret_cast<void (*)()>(darken_part), pixels, &count, nullptr, nullptr, nullptr,
           nullptr);
}
//! [example]
