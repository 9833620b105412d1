// Reads names, features and cores out of the identification registers; see the header.
#include "base/processor_identity.h"

#include <cstdio>

namespace orsin {
namespace {

void append_register(std::string& text, std::uint32_t value) {
  for (int shift = 0; shift < 32; shift += 8) {
    text.push_back(static_cast<char>(value >> shift & 0xFF));
  }
}

struct Signature {
  int family;
  int model;
  int stepping;
};

Signature signature_of(std::uint32_t eax) {
  int family = static_cast<int>(eax >> 8 & 0xF);
  // Kept on purpose: the extended family is moved up by four bits, not added. The value only stands
  // in the name, whose form is given.
  if (family == 15) {
    family = static_cast<int>(eax >> 16 & 0xFF0) | 15;
  }
  return {family, static_cast<int>(eax >> 4 & 0xF), static_cast<int>(eax & 0xF)};
}

// `unknown` is the label of vendors that have none of their own.
std::string label_of(const std::string& vendor, bool brand_was_empty) {
  if (!brand_was_empty) {
    return vendor;
  }
  if (vendor == "AuthenticAMD") {
    return "AMD x64";
  }
  return vendor == "GenuineIntel" ? "Intel x64" : vendor;
}

}  // namespace

std::string vendor_text(const IdentityRegisters& leaf0) {
  std::string text;
  append_register(text, leaf0.ebx);
  append_register(text, leaf0.edx);
  append_register(text, leaf0.ecx);
  return text;
}

bool is_hyperthreading_capable(const std::string& vendor, const IdentityRegisters& leaf1) {
  return vendor == "GenuineIntel" && (leaf1.edx >> 28 & 1) != 0;
}

std::uint32_t feature_bits(const IdentityRegisters& leaf1) {
  struct Feature {
    std::uint32_t bit;
    std::uint32_t source;
    int position;
  };
  const Feature features[] = {
      {0x1, leaf1.edx, 23},   // MMX
      {0x2, leaf1.edx, 25},   // SSE
      {0x4, leaf1.edx, 26},   // SSE2
      {0x8, leaf1.ecx, 0},    // SSE3
      {0x10, leaf1.ecx, 9},   // SSSE3
      {0x20, leaf1.ecx, 19},  // SSE4.1
      {0x40, leaf1.ecx, 20},  // SSE4.2
      {0x80, leaf1.ecx, 28},  // AVX
      {0x100, leaf1.ecx, 12}  // FMA
  };
  std::uint32_t bits = 0;
  for (const Feature& feature : features) {
    bits |= (feature.source >> feature.position & 1) != 0 ? feature.bit : 0;
  }
  return bits;
}

std::string processor_name(const std::string& brand, const std::string& vendor,
                           const IdentityRegisters& leaf1) {
  const std::size_t first = brand.find_first_not_of(' ');
  if (first != std::string::npos) {
    return brand.substr(first);
  }
  const Signature signature = signature_of(leaf1.eax);
  char text[128];
  std::snprintf(text, sizeof(text), "%s [F:%d M:%d S:%d - %xh]",
                label_of(vendor, brand.empty()).c_str(), signature.family, signature.model,
                signature.stepping, feature_bits(leaf1));
  return text;
}

std::uint32_t hyperthreading_state(std::uint32_t cores, std::uint32_t logical, bool capable) {
  constexpr std::uint32_t kNotCapable = 0;
  constexpr std::uint32_t kEnabled = 1;
  constexpr std::uint32_t kDisabled = 2;
  if (logical > cores) {
    return kEnabled;
  }
  return capable ? kDisabled : kNotCapable;
}

}  // namespace orsin
