// Which instruction sets may be chosen, by what a processor says of itself.
#include "base/cpu_features.h"

#include <gtest/gtest.h>

namespace orsin {
namespace {

// Leaf, register (EAX, EBX, ECX, EDX) and bit, as the processor's manual has them.
struct Bit {
  int leaf;
  int number;
  int bit;
};

constexpr Bit kSsse3 = {1, 2, 9};
constexpr Bit kSse41 = {1, 2, 19};
constexpr Bit kOsXsave = {1, 2, 27};
constexpr Bit kAvx2 = {7, 1, 5};
constexpr Bit kAvx512F = {7, 1, 16};
constexpr Bit kSha = {7, 1, 29};
constexpr Bit kAvx512Bw = {7, 1, 30};
constexpr Bit kAvx512Vl = {7, 1, 31};
constexpr Bit kVbmi = {7, 2, 1};
constexpr Bit kAll[] = {kSsse3, kSse41,    kOsXsave,  kAvx2, kAvx512F,
                        kSha,   kAvx512Bw, kAvx512Vl, kVbmi};
constexpr std::uint64_t kEverySavedRegister = 0xE7;

std::uint32_t& register_of(CpuAnswers& cpu, const Bit& bit) {
  return (bit.leaf == 1 ? cpu.leaf1 : cpu.leaf7)[bit.number];
}

CpuAnswers with_all() {
  CpuAnswers cpu;
  cpu.largest_leaf = 7;
  for (const Bit& bit : kAll) {
    register_of(cpu, bit) |= 1U << bit.bit;
  }
  cpu.saved_registers = kEverySavedRegister;
  return cpu;
}

CpuFeatures without(const Bit& bit) {
  CpuAnswers cpu = with_all();
  register_of(cpu, bit) &= ~(1U << bit.bit);
  return features_of(cpu);
}

CpuFeatures saving(std::uint64_t registers) {
  CpuAnswers cpu = with_all();
  cpu.saved_registers = registers;
  return features_of(cpu);
}

void expect(const CpuFeatures& features, bool sha, bool avx2, bool vbmi, bool vl) {
  EXPECT_EQ(features.sha, sha);
  EXPECT_EQ(features.avx2, avx2);
  EXPECT_EQ(features.avx512_vbmi, vbmi);
  EXPECT_EQ(features.avx512_vl, vl);
}

TEST(CpuFeatures, AreAllThereWhereEveryBitIsSet) {
  expect(features_of(with_all()), true, true, true, true);
}

TEST(CpuFeatures, AreNoneOfAProcessorThatSaysNothing) {
  expect(features_of({}), false, false, false, false);
}

TEST(CpuFeatures, NeedEachOfTheirBits) {
  expect(without(kSsse3), false, true, true, true);
  expect(without(kSse41), false, true, true, true);
  expect(without(kSha), false, true, true, true);
  expect(without(kAvx2), true, false, true, true);
  expect(without(kAvx512F), true, true, false, false);
  expect(without(kAvx512Bw), true, true, false, true);
  expect(without(kVbmi), true, true, false, true);
  expect(without(kAvx512Vl), true, true, true, false);
}

// Such a processor answers with what its last leaf says.
TEST(CpuFeatures, AreNotLookedForInALeafThatThereIsNot) {
  CpuAnswers cpu = with_all();
  cpu.largest_leaf = 6;
  expect(features_of(cpu), false, false, false, false);
  cpu.largest_leaf = 8;
  expect(features_of(cpu), true, true, true, true);
}

TEST(CpuFeatures, LookAtNoOtherBits) {
  CpuAnswers cpu;
  cpu.largest_leaf = ~0U;
  for (int i = 0; i < 4; ++i) {
    cpu.leaf1[i] = cpu.leaf7[i] = ~0U;
  }
  cpu.saved_registers = ~0ULL;
  for (const Bit& bit : kAll) {
    register_of(cpu, bit) &= ~(1U << bit.bit);
  }

  expect(features_of(cpu), false, false, false, false);
}

TEST(CpuFeatures, AreWideOnlyWhereTheSystemKeepsTheRegisters) {
  expect(without(kOsXsave), true, false, false, false);
  expect(saving(0), true, false, false, false);
  expect(saving(0x06), true, true, false, false);
  for (const std::uint64_t lost : {0x20U, 0x40U, 0x80U}) {
    expect(saving(kEverySavedRegister & ~lost), true, true, false, false);
  }
  for (const std::uint64_t lost : {0x02U, 0x04U}) {
    expect(saving(kEverySavedRegister & ~lost), true, false, false, false);
  }
  expect(saving(0xE6), true, true, true, true);
}

// And not its family, or half of its maker's name: those are large numbers.
TEST(CpuFeatures, AreAskedForWithTheNumberOfLeaves) {
  const CpuAnswers cpu = ask_cpu();

  EXPECT_GE(cpu.largest_leaf, 1u);
  EXPECT_LT(cpu.largest_leaf, 0x100u);
}

#if defined(__GNUC__)
// The compiler's library asks the processor, too, and knows as little of it as we do.
TEST(CpuFeatures, AreWhatTheCompilersLibraryFindsOnThisProcessor) {
  __builtin_cpu_init();
  const CpuFeatures features = detect_cpu_features();
  const bool avx512f = __builtin_cpu_supports("avx512f") != 0;

  EXPECT_EQ(features.avx2, __builtin_cpu_supports("avx2") != 0);
  EXPECT_EQ(features.avx512_vl, avx512f && __builtin_cpu_supports("avx512vl") != 0);
  EXPECT_EQ(features.avx512_vbmi, avx512f && __builtin_cpu_supports("avx512bw") != 0 &&
                                      __builtin_cpu_supports("avx512vbmi") != 0);
}
#endif

}  // namespace
}  // namespace orsin
