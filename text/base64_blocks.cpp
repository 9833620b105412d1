// Base64 with AVX2, 32 characters to 24 bytes at a time.
//
// A character is looked up by its two halves. Each row (high half) and each column (low half) of
// the ASCII table has a set of bits, chosen so that row and column share a bit exactly where the
// character is outside the alphabet. What must be added to a character to give its value depends on
// the row alone, except for "/", which shares its row with "+" and takes the place before it:
//
//   row     0-1   2 "+"  2 "/"  3 digits  4-5 A-Z   6-7 a-z   8-15
//   adds    none   +19    +16      +4       -65       -71     none
//
// Anything irregular, "=" included, is left to the caller's exact loop.
#include "text/base64_blocks.h"

#include <immintrin.h>

#include "core/cpu_features.h"

namespace orsin {
namespace {

struct Decoded {
  __m256i values;    // Six bits in each byte.
  __m256i stranger;  // Not zero where a character is outside the alphabet.
};

ORSIN_TARGET("avx2") inline __m256i both_lanes(__m128i lane) {
  return _mm256_broadcastsi128_si256(lane);
}

ORSIN_TARGET("avx2") inline Decoded look_up(__m256i text) {
  const __m256i columns = both_lanes(_mm_setr_epi8(0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11,
                                                   0x11, 0x11, 0x13, 0x1A, 0x1B, 0x1B, 0x1B, 0x1A));
  const __m256i rows = both_lanes(_mm_setr_epi8(0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08,
                                                0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x10));
  const __m256i additions =
      both_lanes(_mm_setr_epi8(0, 16, 19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0));
  const __m256i low_half = _mm256_set1_epi8(0x0F);

  const __m256i row = _mm256_and_si256(_mm256_srli_epi32(text, 4), low_half);
  const __m256i column = _mm256_and_si256(text, low_half);
  const __m256i stranger =
      _mm256_and_si256(_mm256_shuffle_epi8(rows, row), _mm256_shuffle_epi8(columns, column));
  // The comparison gives -1 for "/": one place before its row.
  const __m256i is_slash = _mm256_cmpeq_epi8(text, _mm256_set1_epi8('/'));
  const __m256i added = _mm256_shuffle_epi8(additions, _mm256_add_epi8(is_slash, row));
  return {_mm256_add_epi8(text, added), stranger};
}

// Four times six bits become three bytes, and the bytes of both lanes move together.
ORSIN_TARGET("avx2") inline __m256i pack(__m256i values) {
  const __m256i order =
      both_lanes(_mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1));
  const __m256i pairs = _mm256_maddubs_epi16(values, _mm256_set1_epi32(0x01400140));
  const __m256i groups = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
  return _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(groups, order),
                                     _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
}

ORSIN_TARGET("avx2") inline void store_24(unsigned char* target, __m256i bytes) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(target), _mm256_castsi256_si128(bytes));
  _mm_storel_epi64(reinterpret_cast<__m128i*>(target + 16), _mm256_extracti128_si256(bytes, 1));
}

}  // namespace

ORSIN_TARGET("avx2")
std::size_t decode_base64_blocks(const char* source, std::size_t count, unsigned char* target) {
  for (std::size_t block = 0; block < count; ++block) {
    const auto* text = reinterpret_cast<const __m256i*>(source);
    const Decoded a = look_up(_mm256_loadu_si256(text));
    const Decoded b = look_up(_mm256_loadu_si256(text + 1));
    const Decoded c = look_up(_mm256_loadu_si256(text + 2));
    const Decoded d = look_up(_mm256_loadu_si256(text + 3));
    const __m256i stranger = _mm256_or_si256(_mm256_or_si256(a.stranger, b.stranger),
                                             _mm256_or_si256(c.stranger, d.stranger));
    if (_mm256_testz_si256(stranger, stranger) == 0) {
      return block;
    }
    store_24(target, pack(a.values));
    store_24(target + 24, pack(b.values));
    store_24(target + 48, pack(c.values));
    store_24(target + 72, pack(d.values));
    source += kBase64BlockCharacters;
    target += kBase64BlockBytes;
  }
  return count;
}

bool has_base64_instructions() {
  static const bool known = detect_cpu_features().avx2;
  return known;
}

}  // namespace orsin
