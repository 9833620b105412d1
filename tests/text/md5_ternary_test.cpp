// The steps of MD5 with vector instructions on any processor: the two instructions that are too new for
// some stand here as what they are defined to do.
#include <gtest/gtest.h>
#include <immintrin.h>

#include <random>
#include <vector>

#include "base/compiler.h"
#include "text/md5_blocks.h"

namespace orsin {
namespace {

// Each bit of the result is the table's bit whose number the three words' bits make up.
__m128i any_function(__m128i high, __m128i middle, __m128i low, int table) {
  const __m128i ones = _mm_set1_epi32(-1);
  __m128i result = _mm_setzero_si128();
  for (int number = 0; number < 8; ++number) {
    if ((table >> number & 1) != 0) {
      const __m128i h = (number & 4) != 0 ? high : _mm_xor_si128(high, ones);
      const __m128i m = (number & 2) != 0 ? middle : _mm_xor_si128(middle, ones);
      const __m128i l = (number & 1) != 0 ? low : _mm_xor_si128(low, ones);
      result = _mm_or_si128(result, _mm_and_si128(h, _mm_and_si128(m, l)));
    }
  }
  return result;
}

__m128i rotated(__m128i words, int bits) {
  return _mm_or_si128(_mm_slli_epi32(words, bits), _mm_srli_epi32(words, 32 - bits));
}

}  // namespace
}  // namespace orsin

#undef ORSIN_TARGET
#undef _mm_ternarylogic_epi32
#undef _mm_rol_epi32
#define ORSIN_TARGET(instructions)
#define _mm_ternarylogic_epi32 any_function
#define _mm_rol_epi32 rotated
#define md5_blocks_ternary md5_blocks_everywhere
// NOLINTNEXTLINE(bugprone-suspicious-include): the very steps that the library takes.
#include "text/md5_ternary.cpp"

namespace orsin {
namespace {

TEST(Md5Ternary, GivesTheWordsOfPlainArithmeticOnAnyProcessor) {
  std::mt19937 random(7);
  std::vector<unsigned char> data(20 * kMd5BlockBytes);
  for (unsigned char& byte : data) {
    byte = static_cast<unsigned char>(random());
  }
  for (std::size_t count = 0; count <= 20; ++count) {
    SCOPED_TRACE(count);
    unsigned int plain[4] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};
    unsigned int ternary[4] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};

    md5_blocks_plain(plain, data.data(), count);
    md5_blocks_everywhere(ternary, data.data(), count);

    for (int i = 0; i < 4; ++i) {
      EXPECT_EQ(ternary[i], plain[i]);
    }
  }
}

}  // namespace
}  // namespace orsin
