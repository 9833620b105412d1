// Instruction sets that code may choose at run time.
#pragma once

#include <immintrin.h>

#include <cstdint>

#include "core/compiler.h"

namespace orsin {

struct CpuFeatures {
  bool sha = false;   // SHA-1 instructions, with SSE4.1.
  bool avx2 = false;  // And the system keeps the wide registers of every thread.
};

// Only where the processor says that the system uses XSAVE.
ORSIN_TARGET("xsave") inline bool system_saves_wide_registers() {
  constexpr unsigned kSseAndAvx = 0x6;
  return (_xgetbv(0) & kSseAndAvx) == kSseAndAvx;
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
  features.avx2 = osxsave && (leaf7[1] >> 5 & 1) != 0 && system_saves_wide_registers();
  return features;
}

}  // namespace orsin
