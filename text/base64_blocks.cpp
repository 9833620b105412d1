// One vector holds 32 characters and gives 24 bytes:
//
//   1. Two look-ups, by the low and by the high four bits of a character, have a bit in common
//      exactly if the character is outside the alphabet.
//   2. A third look-up gives the distance from character to value; "/" shares its high bits with
//      "+" and the digits, hence the comparison.
//   3. Two multiply-and-add steps join four values of six bits into 24, a shuffle puts their bytes
//      in order.
//
// After Mula and Lemire, "Faster Base64 Encoding and Decoding Using AVX2 Instructions" (2018).
#include "text/base64_blocks.h"

#include <immintrin.h>

#include <algorithm>

#include "core/compiler.h"
#include "core/cpu_features.h"

namespace orsin {
namespace {

constexpr std::size_t kVectorCharacters = 32;
constexpr std::size_t kVectorBytes = 24;

ORSIN_TARGET("avx2") __m256i in_both_halves(__m128i half) {
  return _mm256_broadcastsi128_si256(half);
}

ORSIN_TARGET("avx2") __m256i load(const char* source) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(source));
}

struct Values {
  __m256i values;    // Six bits a byte.
  __m256i stranger;  // A byte other than 0 for each character outside the alphabet.
};

ORSIN_TARGET("avx2") Values values_of(__m256i characters) {
  const __m256i strangers_by_low =
      in_both_halves(_mm_setr_epi8(0x15, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x11, 0x13,
                                   0x1A, 0x1B, 0x1B, 0x1B, 0x1A));
  const __m256i strangers_by_high =
      in_both_halves(_mm_setr_epi8(0x10, 0x10, 0x01, 0x02, 0x04, 0x08, 0x04, 0x08, 0x10, 0x10, 0x10,
                                   0x10, 0x10, 0x10, 0x10, 0x10));
  const __m256i distances =
      in_both_halves(_mm_setr_epi8(0, 16, 19, 4, -65, -65, -71, -71, 0, 0, 0, 0, 0, 0, 0, 0));
  // '/' is 0x2F, so one constant is both the mask of a shuffle's index and the character.
  const __m256i slash = _mm256_set1_epi8('/');

  const __m256i high = _mm256_and_si256(_mm256_srli_epi32(characters, 4), slash);
  const __m256i low = _mm256_and_si256(characters, slash);
  const __m256i is_slash = _mm256_cmpeq_epi8(characters, slash);
  const __m256i distance = _mm256_shuffle_epi8(distances, _mm256_add_epi8(is_slash, high));
  return {_mm256_add_epi8(characters, distance),
          _mm256_and_si256(_mm256_shuffle_epi8(strangers_by_low, low),
                           _mm256_shuffle_epi8(strangers_by_high, high))};
}

// 24 bytes in the low part of the vector.
ORSIN_TARGET("avx2") __m256i bytes_of(__m256i values) {
  const __m256i pairs = _mm256_maddubs_epi16(values, _mm256_set1_epi32(0x01400140));
  const __m256i groups = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
  const __m256i ordered = _mm256_shuffle_epi8(
      groups,
      in_both_halves(_mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1)));
  return _mm256_permutevar8x32_epi32(ordered, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7));
}

ORSIN_TARGET("avx2") void store(unsigned char* target, __m256i bytes) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(target), bytes);
}

ORSIN_TARGET("avx2") void store_24_bytes(unsigned char* target, __m256i bytes) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(target), _mm256_castsi256_si128(bytes));
  _mm_storel_epi64(reinterpret_cast<__m128i*>(target + 16), _mm256_extracti128_si256(bytes, 1));
}

}  // namespace

bool has_base64_blocks() {
  static const bool known = detect_cpu_features().avx2;
  return known;
}

ORSIN_TARGET("avx2")
std::size_t decode_base64_blocks(const char* source, std::size_t source_size, unsigned char* target,
                                 std::size_t target_size) {
  const std::size_t count =
      std::min(source_size / kBase64BlockCharacters, target_size / kBase64BlockBytes);
  for (std::size_t block = 0; block < count; ++block) {
    const Values a = values_of(load(source));
    const Values b = values_of(load(source + kVectorCharacters));
    const Values c = values_of(load(source + kVectorCharacters * 2));
    const Values d = values_of(load(source + kVectorCharacters * 3));
    const __m256i stranger = _mm256_or_si256(_mm256_or_si256(a.stranger, b.stranger),
                                             _mm256_or_si256(c.stranger, d.stranger));
    if (_mm256_testz_si256(stranger, stranger) == 0) {
      return block;
    }
    // The first three stores reach eight bytes into the next one's place; the last one, which may
    // stand before another worker's bytes, does not.
    store(target, bytes_of(a.values));
    store(target + kVectorBytes, bytes_of(b.values));
    store(target + kVectorBytes * 2, bytes_of(c.values));
    store_24_bytes(target + kVectorBytes * 3, bytes_of(d.values));
    source += kBase64BlockCharacters;
    target += kBase64BlockBytes;
  }
  return count;
}

}  // namespace orsin
