#include "base/processor_identity.h"

#include <gtest/gtest.h>

namespace orsin {
namespace {

TEST(ProcessorIdentity, ReadsTheVendorFromThreeRegisters) {
  EXPECT_EQ(vendor_text({0, 0x756E6547, 0x6C65746E, 0x49656E69}), "GenuineIntel");
}

TEST(ProcessorIdentity, TestsCapabilityForOneVendorOnly) {
  const IdentityRegisters leaf1 = {0, 0, 0, 1U << 28};
  EXPECT_TRUE(is_hyperthreading_capable("GenuineIntel", leaf1));
  EXPECT_FALSE(is_hyperthreading_capable("AuthenticAMD", leaf1));
  EXPECT_FALSE(is_hyperthreading_capable("GenuineIntel", {}));
}

TEST(ProcessorIdentity, MapsEachFeatureToItsBit) {
  const IdentityRegisters leaf1 = {0, 0,
                                   1U << 0 | 1U << 9 | 1U << 19 | 1U << 20 | 1U << 28 | 1U << 12,
                                   1U << 23 | 1U << 25 | 1U << 26};
  EXPECT_EQ(feature_bits(leaf1), 0x1FFU);
  EXPECT_EQ(feature_bits({0, 0, 1U << 20, 0}), 0x40U);
  EXPECT_EQ(feature_bits({}), 0U);
}

TEST(ProcessorIdentity, DropsLeadingBlanksOfTheBrand) {
  EXPECT_EQ(processor_name("  Some CPU @ 3GHz", "GenuineIntel", {}), "Some CPU @ 3GHz");
  EXPECT_EQ(processor_name("Some CPU", "GenuineIntel", {}), "Some CPU");
}

TEST(ProcessorIdentity, ComposesANameWithoutABrand) {
  const IdentityRegisters leaf1 = {0x00000654, 0, 0, 1U << 25};
  EXPECT_EQ(processor_name("", "AuthenticAMD", leaf1), "AMD x64 [F:6 M:5 S:4 - 2h]");
  EXPECT_EQ(processor_name("", "GenuineIntel", leaf1), "Intel x64 [F:6 M:5 S:4 - 2h]");
  EXPECT_EQ(processor_name("", "OtherVendor!", leaf1), "OtherVendor! [F:6 M:5 S:4 - 2h]");
  EXPECT_EQ(processor_name("   ", "GenuineIntel", leaf1), "GenuineIntel [F:6 M:5 S:4 - 2h]");
}

TEST(ProcessorIdentity, KeepsTheExtendedFamilyMovedUp) {
  const IdentityRegisters leaf1 = {0x00800F12, 0, 0, 0};
  EXPECT_EQ(processor_name("", "AuthenticAMD", leaf1), "AMD x64 [F:143 M:1 S:2 - 0h]");
}

TEST(ProcessorIdentity, TellsTheHyperthreadingState) {
  EXPECT_EQ(hyperthreading_state(8, 16, true), 1U);
  EXPECT_EQ(hyperthreading_state(8, 8, true), 2U);
  EXPECT_EQ(hyperthreading_state(8, 8, false), 0U);
}

}  // namespace
}  // namespace orsin
