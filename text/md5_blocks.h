// The compression function of MD5 (RFC 1321), twice: by plain arithmetic and with vector instructions
// that give any function of three words. Both give the same words.
#pragma once

#include <immintrin.h>

#include <algorithm>
#include <cstddef>

namespace orsin {

constexpr std::size_t kMd5BlockBytes = 64;

/// Named after the functions of three words that they mix in.
enum class Md5Round { kF, kG, kH, kI };

// The processor fetches ahead by itself, but stops at the end of each page; a chain of steps that waits
// for memory there loses a fourteenth of its time.
inline void md5_fetch_ahead(const unsigned char* data, std::size_t blocks_left) {
  constexpr std::size_t kBlocksAhead = 16;
  const std::size_t ahead = std::min(blocks_left - 1, kBlocksAhead);
  _mm_prefetch(reinterpret_cast<const char*>(data + ahead * kMd5BlockBytes), _MM_HINT_T0);
}

/// Processes `count` blocks of 64 bytes.
void md5_blocks_plain(unsigned int digest[4], const unsigned char* data, std::size_t count);

/// Only where the processor has the instructions.
void md5_blocks_ternary(unsigned int digest[4], const unsigned char* data, std::size_t count);

/// True where md5_blocks_ternary() may be called.
[[nodiscard]] bool has_ternary_instructions();

/// Whichever of the two is faster here.
void md5_blocks(unsigned int digest[4], const unsigned char* data, std::size_t count);

}  // namespace orsin
