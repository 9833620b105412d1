// Runs of plain ASCII, sixteen units at a time: most text that is converted has long ones.
//
// A string's end is not known beforehand, so a block may be read only if it stays within one page
// of memory; what lies behind the terminator is then readable, if meaningless. Each function
// converts until a terminator or anything above 0x7F, or until a block would not stay within its
// page or does not fit into the room, and returns how many units it took; the caller goes on one by
// one from there. Nothing is written behind what was taken.
#pragma once

#include <emmintrin.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "base/compiler.h"

namespace orsin {

constexpr std::size_t kAsciiBlockBytes = 16;

[[nodiscard]] inline bool stays_in_page(const void* address, std::size_t bytes) {
  constexpr std::uintptr_t kPageBytes = 4096;
  return (reinterpret_cast<std::uintptr_t>(address) & (kPageBytes - 1)) <= kPageBytes - bytes;
}

/// One bit for each byte that ends a run: a byte above 0x7F is negative and a terminator is zero,
/// so both fail "greater than zero".
[[nodiscard]] inline unsigned others_than_ascii(__m128i bytes) {
  const __m128i is_ascii = _mm_cmpgt_epi8(bytes, _mm_setzero_si128());
  return static_cast<unsigned>(_mm_movemask_epi8(is_ascii)) ^ 0xFFFFU;
}

/// Widens the first `count` bytes of a block, at most 16: two stores that overlap cover any count.
inline void widen_part(const char* from, char* to, std::size_t count) {
  const __m128i zero = _mm_setzero_si128();
  if (count >= 8) {
    const auto widen_8 = [zero](const char* source, char* target) {
      const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(source));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(target), _mm_unpacklo_epi8(bytes, zero));
    };
    widen_8(from, to);
    widen_8(from + count - 8, to + (count - 8) * 2);
  } else if (count >= 4) {
    const auto widen_4 = [zero](const char* source, char* target) {
      std::int32_t four = 0;
      std::memcpy(&four, source, sizeof(four));
      _mm_storel_epi64(reinterpret_cast<__m128i*>(target),
                       _mm_unpacklo_epi8(_mm_cvtsi32_si128(four), zero));
    };
    widen_4(from, to);
    widen_4(from + count - 4, to + (count - 4) * 2);
  } else {
    for (std::size_t i = 0; i < count; ++i) {
      to[i * 2] = from[i];
      to[i * 2 + 1] = 0;
    }
  }
}

/// Bytes to 16-bit units; `room` counts units at `to`.
ORSIN_READS_BEHIND_OBJECT inline std::size_t widen_ascii_run(const char* from, void* to,
                                                             std::size_t room) {
  const __m128i zero = _mm_setzero_si128();
  auto* target = static_cast<char*>(to);
  std::size_t done = 0;
  while (room - done >= kAsciiBlockBytes && stays_in_page(from + done, kAsciiBlockBytes)) {
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + done));
    const unsigned others = others_than_ascii(block);
    if (others != 0) {
      const auto count = static_cast<std::size_t>(std::countr_zero(others));
      widen_part(from + done, target + done * 2, count);
      return done + count;
    }
    auto* pair = reinterpret_cast<__m128i*>(target + done * 2);
    _mm_storeu_si128(pair, _mm_unpacklo_epi8(block, zero));
    _mm_storeu_si128(pair + 1, _mm_unpackhi_epi8(block, zero));
    done += kAsciiBlockBytes;
  }
  return done;
}

/// 16-bit units to bytes; `room` counts bytes at `to`.
ORSIN_READS_BEHIND_OBJECT inline std::size_t narrow_ascii_run(const void* from, char* to,
                                                              std::size_t room) {
  constexpr std::size_t kHalf = kAsciiBlockBytes / 2;
  const auto* source = static_cast<const char*>(from);
  std::size_t done = 0;
  // Packing keeps other units outside ASCII: up to 0x7FFF they become 0x80 to 0xFF, above it 0.
  while (room - done >= kAsciiBlockBytes && stays_in_page(source + done * 2, 4 * kHalf)) {
    const auto* pair = reinterpret_cast<const __m128i*>(source + done * 2);
    const __m128i block = _mm_packus_epi16(_mm_loadu_si128(pair), _mm_loadu_si128(pair + 1));
    if (others_than_ascii(block) != 0) {
      break;
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to + done), block);
    done += kAsciiBlockBytes;
  }
  if (room - done >= kHalf && stays_in_page(source + done * 2, 2 * kHalf)) {
    const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source + done * 2));
    const __m128i block = _mm_packus_epi16(units, units);
    if (others_than_ascii(block) == 0) {
      _mm_storel_epi64(reinterpret_cast<__m128i*>(to + done), block);
      done += kHalf;
    }
  }
  return done;
}

}  // namespace orsin
