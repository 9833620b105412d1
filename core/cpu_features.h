// Instruction sets that code may choose at run time.
#pragma once

#include <immintrin.h>

#include <cstdint>

#include "core/compiler.h"

namespace orsin {

struct CpuFeatures {
  bool sha = false;   // SHA-1 instructions, with SSE4.1.
  bool avx2 = false;  // 256-bit integer vectors, saved by the system across thread switches.
};

ORSIN_TARGET("xsave") inline bool system_saves_256_bit_registers() {
  constexpr std::uint64_t kXmmAndYmm = 6;
  return (static_cast<std::uint64_t>(_xgetbv(0)) & kXmmAndYmm) == kXmmAndYmm;
}

[[nodiscard]] inline CpuFeatures detect_cpu_features() {
  std::uint32_t leaf0[4] = {};
  std::uint32_t leaf1[4] = {};
  std::uint32_t leaf7[4] = {};
  ORSIN_CPUID(0, 0, leaf0);
  ORSIN_CPUID(1, 0, leaf1);
  if (leaf0[0] >= 7) {
    ORSIN_CPUID(7, 0, leaf7);
  }
  const bool ssse3 = (leaf1[2] >> 9 & 1) != 0;
  const bool sse41 = (leaf1[2] >> 19 & 1) != 0;
  CpuFeatures features;
  features.sha = ssse3 && sse41 && (leaf7[1] >> 29 & 1) != 0;
  const bool osxsave = (leaf1[2] >> 27 & 1) != 0;
  features.avx2 = osxsave && (leaf7[1] >> 5 & 1) != 0 && system_saves_256_bit_registers();
  return features;
}

}  // namespace orsin
