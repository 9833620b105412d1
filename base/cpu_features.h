// Instruction sets that code may choose at run time.
#pragma once

#include <immintrin.h>

#include <cstdint>

#include "base/compiler.h"

namespace orsin {

struct CpuFeatures {
  bool sha = false;  // SHA-1 instructions, with SSE4.1.
  // The wide ones only where the system keeps their registers for every thread.
  bool avx2 = false;
  bool avx512_vbmi = false;  // With AVX-512 F and BW.
  bool avx512_vl = false;    // With AVX-512 F.
};

// Only where the processor says that the system uses XSAVE.
ORSIN_TARGET("xsave") inline bool system_saves(unsigned registers) {
  return (_xgetbv(0) & registers) == registers;
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
  constexpr unsigned kAvxRegisters = 0x06;     // Bits of the extended control register.
  constexpr unsigned kAvx512Registers = 0xE6;  // Masks and the upper halves as well.
  const bool osxsave = (leaf1[2] >> 27 & 1) != 0;
  features.avx2 = osxsave && (leaf7[1] >> 5 & 1) != 0 && system_saves(kAvxRegisters);
  const bool avx512f = (leaf7[1] >> 16 & 1) != 0;
  const bool avx512bw = (leaf7[1] >> 30 & 1) != 0;
  const bool vbmi = (leaf7[2] >> 1 & 1) != 0;
  const bool avx512vl = (leaf7[1] >> 31 & 1) != 0;
  const bool saves_avx512 = osxsave && avx512f && system_saves(kAvx512Registers);
  features.avx512_vbmi = saves_avx512 && avx512bw && vbmi;
  features.avx512_vl = saves_avx512 && avx512vl;
  return features;
}

}  // namespace orsin
