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

// What the processor says of itself: how many leaves it has answers for, EAX, EBX, ECX, EDX of two of
// them, and which registers the system keeps for every thread, as bits of the extended control
// register.
struct CpuAnswers {
  std::uint32_t largest_leaf = 0;
  std::uint32_t leaf1[4] = {};
  std::uint32_t leaf7[4] = {};
  std::uint64_t saved_registers = 0;

  [[nodiscard]] bool uses_xsave() const { return (leaf1[2] >> 27 & 1) != 0; }
  // A processor without that leaf answers with those of its last one.
  [[nodiscard]] bool has_leaf7() const { return largest_leaf >= 7; }
};

[[nodiscard]] inline CpuFeatures features_of(const CpuAnswers& cpu) {
  constexpr std::uint64_t kAvxRegisters = 0x06;
  constexpr std::uint64_t kAvx512Registers = 0xE6;  // Masks and the upper halves as well.
  const auto saves = [&cpu](std::uint64_t registers) {
    return cpu.uses_xsave() && (cpu.saved_registers & registers) == registers;
  };
  const auto in_leaf7 = [&cpu](int number, int bit) {
    return cpu.has_leaf7() && (cpu.leaf7[number] >> bit & 1) != 0;
  };
  const bool ssse3 = (cpu.leaf1[2] >> 9 & 1) != 0;
  const bool sse41 = (cpu.leaf1[2] >> 19 & 1) != 0;
  const bool sha = in_leaf7(1, 29);
  const bool avx2 = in_leaf7(1, 5);
  const bool avx512f = in_leaf7(1, 16);
  const bool avx512bw = in_leaf7(1, 30);
  const bool avx512vl = in_leaf7(1, 31);
  const bool vbmi = in_leaf7(2, 1);
  CpuFeatures features;
  features.sha = ssse3 && sse41 && sha;
  features.avx2 = avx2 && saves(kAvxRegisters);
  features.avx512_vbmi = avx512f && avx512bw && vbmi && saves(kAvx512Registers);
  features.avx512_vl = avx512f && avx512vl && saves(kAvx512Registers);
  return features;
}

// Only where the processor says that the system uses XSAVE.
ORSIN_TARGET("xsave") inline std::uint64_t read_saved_registers() {
  return static_cast<std::uint64_t>(_xgetbv(0));
}

[[nodiscard]] inline CpuAnswers ask_cpu() {
  CpuAnswers cpu;
  std::uint32_t leaf0[4] = {};
  ORSIN_CPUID(0, 0, leaf0);
  cpu.largest_leaf = leaf0[0];
  ORSIN_CPUID(1, 0, cpu.leaf1);
  ORSIN_CPUID(7, 0, cpu.leaf7);
  if (cpu.uses_xsave()) {
    cpu.saved_registers = read_saved_registers();
  }
  return cpu;
}

[[nodiscard]] inline CpuFeatures detect_cpu_features() {
  return features_of(ask_cpu());
}

}  // namespace orsin
