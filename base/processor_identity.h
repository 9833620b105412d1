// What the identification instruction's registers mean, apart from the executing of it.
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace orsin {

struct IdentityRegisters {
  std::uint32_t eax = 0;
  std::uint32_t ebx = 0;
  std::uint32_t ecx = 0;
  std::uint32_t edx = 0;
};

struct ProcessorIdentity {
  std::string name;
  std::uint32_t features = 0;
};

/// The twelve characters of leaf 0, from EBX, EDX and ECX.
[[nodiscard]] std::string vendor_text(const IdentityRegisters& leaf0);

/// Bit 28 of EDX of leaf 1, for "GenuineIntel" only.
[[nodiscard]] bool is_hyperthreading_capable(const std::string& vendor,
                                             const IdentityRegisters& leaf1);

/// The bits that ov_cpu_info() documents.
[[nodiscard]] std::uint32_t feature_bits(const IdentityRegisters& leaf1);

/// The name to show. `brand` is the text of leaves 0x80000002 to 0x80000004, or "???" without them.
[[nodiscard]] std::string processor_name(const std::string& brand, const std::string& vendor,
                                         const IdentityRegisters& leaf1);

/// 1 enabled, 2 disabled, 0 not capable.
[[nodiscard]] std::uint32_t hyperthreading_state(std::uint32_t cores, std::uint32_t logical,
                                                 bool capable);

}  // namespace orsin
