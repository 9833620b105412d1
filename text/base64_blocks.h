// Base64 in blocks of 128 characters, 96 bytes, with vector instructions.
//
// Anything irregular, "=" included, is left to the caller's exact loop: a block is decoded only when
// every character of it is in the alphabet.
#pragma once

#include <cstddef>
#include <span>

namespace orsin {

/// The characters for the values from 0 to 63 (RFC 4648, section 4).
inline constexpr char kBase64Alphabet[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::size_t kBase64BlockCharacters = 128;
constexpr std::size_t kBase64BlockBytes = 96;
constexpr std::size_t kBase64StreamAlignment = 32;

/// One instruction set's way to do it.
struct Base64Kernel {
  /// Decodes blocks while they hold nothing but characters of the alphabet; touches exactly the 96
  /// bytes of each. Returns the number of blocks decoded, at most `count`.
  std::size_t (*decode)(const char* source, std::size_t count, unsigned char* target);

  /// The same past the caches, for targets that do not fit into them: the old content of the target
  /// is not read first. `target` is aligned to kBase64StreamAlignment.
  std::size_t (*stream)(const char* source, std::size_t count, unsigned char* target);
};

extern const Base64Kernel kBase64Avx2;    // base64_avx2.cpp
extern const Base64Kernel kBase64Avx512;  // base64_avx512.cpp

/// What this processor can run, the fastest first; may be empty.
[[nodiscard]] std::span<const Base64Kernel* const> base64_kernels();

}  // namespace orsin
