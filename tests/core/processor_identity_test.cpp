// What the identification instruction's registers mean.
#include "core/processor_identity.h"

#include <gtest/gtest.h>

namespace {

using namespace orsin;

constexpr IdentityRegisters kIntelLeaf0 = {0, 0x756E6547, 0x6C65746E, 0x49656E69};
constexpr std::uint32_t kHyperthreading = 1U << 28;

TEST(ProcessorIdentity, ReadsTheVendorFromEbxEdxEcx) {
  EXPECT_EQ(vendor_text(kIntelLeaf0), "GenuineIntel");
}

TEST(ProcessorIdentity, AsksOnlyOneVendorForHyperthreading) {
  EXPECT_TRUE(is_hyperthreading_capable("GenuineIntel", {0, 0, 0, kHyperthreading}));
  EXPECT_FALSE(is_hyperthreading_capable("GenuineIntel", {0, 0, 0, ~kHyperthreading}));
  EXPECT_FALSE(is_hyperthreading_capable("AuthenticAMD", {0, 0, 0, kHyperthreading}));
}

TEST(ProcessorIdentity, MapsEachFeatureBit) {
  const struct {
    std::uint32_t ecx;
    std::uint32_t edx;
    std::uint32_t expected;
  } rows[] = {
      {0, 1U << 23, 0x1},   {0, 1U << 25, 0x2},  {0, 1U << 26, 0x4},  {1U << 0, 0, 0x8},
      {1U << 9, 0, 0x10},   {1U << 19, 0, 0x20}, {1U << 20, 0, 0x40}, {1U << 28, 0, 0x80},
      {1U << 12, 0, 0x100}, {~0U, ~0U, 0x1FF},   {0, 0, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.expected);
    EXPECT_EQ(feature_bits({0, 0, row.ecx, row.edx}), row.expected);
  }
}

TEST(ProcessorIdentity, DropsTheBlanksBeforeABrand) {
  EXPECT_EQ(processor_name("  Fast CPU", "GenuineIntel", {}), "Fast CPU");
  EXPECT_EQ(processor_name("Fast CPU ", "GenuineIntel", {}), "Fast CPU ");
  EXPECT_EQ(processor_name("???", "GenuineIntel", {}), "???");
}

TEST(ProcessorIdentity, NamesAProcessorWithoutABrand) {
  const IdentityRegisters leaf1 = {0x6B5, 0, 0, 1U << 23};

  EXPECT_EQ(processor_name("", "AuthenticAMD", leaf1), "AMD x64 [F:6 M:11 S:5 - 1h]");
  EXPECT_EQ(processor_name("", "GenuineIntel", leaf1), "Intel x64 [F:6 M:11 S:5 - 1h]");
  EXPECT_EQ(processor_name("", "OtherVendor!", leaf1), "OtherVendor! [F:6 M:11 S:5 - 1h]");
  EXPECT_EQ(processor_name("   ", "AuthenticAMD", leaf1), "AuthenticAMD [F:6 M:11 S:5 - 1h]");
}

TEST(ProcessorIdentity, KeepsTheExtendedFamilyMovedUp) {
  const IdentityRegisters leaf1 = {0x00800F12, 0, 0, 0};

  EXPECT_EQ(processor_name("", "AuthenticAMD", leaf1), "AMD x64 [F:143 M:1 S:2 - 0h]");
}

TEST(ProcessorIdentity, TellsTheHyperthreadingState) {
  EXPECT_EQ(hyperthreading_state(8, 16, true), 1U);
  EXPECT_EQ(hyperthreading_state(8, 16, false), 1U);
  EXPECT_EQ(hyperthreading_state(8, 8, true), 2U);
  EXPECT_EQ(hyperthreading_state(8, 8, false), 0U);
}

}  // namespace
