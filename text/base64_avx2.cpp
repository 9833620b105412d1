// Base64 with AVX2, 32 characters to 24 bytes at a time.
//
// A character is looked up by its two halves. Each row (high half) and each column (low half) of
// the ASCII table has a set of bits, chosen so that row and column share a bit exactly where the
// character is outside the alphabet. What must be added to a character to give its value depends on
// the row alone, except for "/", which shares its row with "+" and takes the place before it:
//
//   row     0-1   2 "+"  2 "/"  3 digits  4-5 A-Z   6-7 a-z   8-15
//   adds    none   +19    +16      +4       -65       -71     none
#include <immintrin.h>

#include "base/compiler.h"
#include "text/base64_blocks.h"

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

// Four times six bits become three bytes. Each half of the result has twelve bytes and then four
// zeros: dwords 0 1 2 and 4 5 6 hold bytes, 3 and 7 nothing.
ORSIN_TARGET("avx2") inline __m256i pack_halves(__m256i values) {
  const __m256i order =
      both_lanes(_mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1));
  const __m256i pairs = _mm256_maddubs_epi16(values, _mm256_set1_epi32(0x01400140));
  const __m256i groups = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
  return _mm256_shuffle_epi8(groups, order);
}

// The 24 bytes of both halves together.
ORSIN_TARGET("avx2") inline void store_24(unsigned char* target, __m256i values) {
  const __m256i bytes =
      _mm256_permutevar8x32_epi32(pack_halves(values), _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(target), _mm256_castsi256_si128(bytes));
  _mm_storel_epi64(reinterpret_cast<__m128i*>(target + 16), _mm256_extracti128_si256(bytes, 1));
}

struct DecodedBlock {
  __m256i values[4];
  bool has_stranger;
};

ORSIN_TARGET("avx2") inline DecodedBlock look_up_block(const char* source) {
  const auto* text = reinterpret_cast<const __m256i*>(source);
  const Decoded a = look_up(_mm256_loadu_si256(text));
  const Decoded b = look_up(_mm256_loadu_si256(text + 1));
  const Decoded c = look_up(_mm256_loadu_si256(text + 2));
  const Decoded d = look_up(_mm256_loadu_si256(text + 3));
  const __m256i stranger = _mm256_or_si256(_mm256_or_si256(a.stranger, b.stranger),
                                           _mm256_or_si256(c.stranger, d.stranger));
  return {{a.values, b.values, c.values, d.values}, _mm256_testz_si256(stranger, stranger) == 0};
}

// Dwords of two vectors side by side; index 3 is a zero.
ORSIN_TARGET("avx2")
inline __m256i join(__m256i left, __m256i left_order, __m256i right, __m256i right_order) {
  return _mm256_or_si256(_mm256_permutevar8x32_epi32(left, left_order),
                         _mm256_permutevar8x32_epi32(right, right_order));
}

// Four times 24 bytes as three times 32, past the caches.
ORSIN_TARGET("avx2") inline void stream_96(unsigned char* target, const DecodedBlock& block) {
  const __m256i a = pack_halves(block.values[0]);
  const __m256i b = pack_halves(block.values[1]);
  const __m256i c = pack_halves(block.values[2]);
  const __m256i d = pack_halves(block.values[3]);
  auto* to = reinterpret_cast<__m256i*>(target);
  _mm256_stream_si256(to, join(a, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 3), b,
                               _mm256_setr_epi32(3, 3, 3, 3, 3, 3, 0, 1)));
  _mm256_stream_si256(to + 1, join(b, _mm256_setr_epi32(2, 4, 5, 6, 3, 3, 3, 3), c,
                                   _mm256_setr_epi32(3, 3, 3, 3, 0, 1, 2, 4)));
  _mm256_stream_si256(to + 2, join(c, _mm256_setr_epi32(5, 6, 3, 3, 3, 3, 3, 3), d,
                                   _mm256_setr_epi32(3, 3, 0, 1, 2, 4, 5, 6)));
}

ORSIN_TARGET("avx2")
std::size_t decode(const char* source, std::size_t count, unsigned char* target) {
  for (std::size_t block = 0; block < count; ++block) {
    const DecodedBlock decoded = look_up_block(source);
    if (decoded.has_stranger) {
      return block;
    }
    store_24(target, decoded.values[0]);
    store_24(target + 24, decoded.values[1]);
    store_24(target + 48, decoded.values[2]);
    store_24(target + 72, decoded.values[3]);
    source += kBase64BlockCharacters;
    target += kBase64BlockBytes;
  }
  return count;
}

ORSIN_TARGET("avx2")
std::size_t stream(const char* source, std::size_t count, unsigned char* target) {
  std::size_t block = 0;
  for (; block < count; ++block) {
    const DecodedBlock decoded = look_up_block(source);
    if (decoded.has_stranger) {
      break;
    }
    stream_96(target, decoded);
    source += kBase64BlockCharacters;
    target += kBase64BlockBytes;
  }
  _mm_sfence();  // Others may be told of the target now.
  return block;
}

}  // namespace

constinit const Base64Kernel kBase64Avx2 = {decode, stream};

}  // namespace orsin
