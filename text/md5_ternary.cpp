// The 64 steps of MD5 with AVX-512 on short vectors: one instruction is the whole choice between b, c
// and d, so that a step takes four instructions in a row, never five.
#include <immintrin.h>

#include <cstdint>

#include "base/compiler.h"
#include "text/md5_blocks.h"

#define ORSIN_TARGET_TERNARY ORSIN_TARGET("avx512f,avx512vl")

namespace orsin {
namespace {

// The value of a function of three bits for each of their eight values; d is the highest. The
// instruction overwrites its first word, so that is one that has been there for long.
template <typename Function>
constexpr int truth_table(Function function) {
  int table = 0;
  for (int bits = 0; bits < 8; ++bits) {
    const int value = function(bits & 1, bits >> 1 & 1, bits >> 2 & 1) & 1;
    table |= value << bits;
  }
  return table;
}

// In the order of Md5Round.
constexpr int kTables[] = {
    truth_table([](int b, int c, int d) { return (b & c) | (~b & d); }),
    truth_table([](int b, int c, int d) { return (d & b) | (~d & c); }),
    truth_table([](int b, int c, int d) { return b ^ c ^ d; }),
    truth_table([](int b, int c, int d) { return c ^ (b | ~d); }),
};

// The words stand in the lowest lanes.
struct TernarySteps {
  using Word = __m128i;

  template <Md5Round round, int shift>
  ORSIN_TARGET_TERNARY static ORSIN_ALWAYS_INLINE Word step(Word a, Word b, Word c, Word d, Word x,
                                                            std::uint32_t t) {
    constexpr int table =
        kTables[static_cast<int>(round)];  // A constant without optimisation, too.
    const Word choice = _mm_ternarylogic_epi32(d, c, b, table);
    Word early = _mm_add_epi32(_mm_add_epi32(x, _mm_set1_epi32(static_cast<int>(t))), a);
    ORSIN_KEEP_VECTOR(early);
    return _mm_add_epi32(_mm_rol_epi32(_mm_add_epi32(early, choice), shift), b);
  }
};

}  // namespace

ORSIN_TARGET_TERNARY
void md5_blocks_ternary(unsigned int digest[4], const unsigned char* data, std::size_t count) {
  using Steps = TernarySteps;
  __m128i a = _mm_loadu_si32(&digest[0]);
  __m128i b = _mm_loadu_si32(&digest[1]);
  __m128i c = _mm_loadu_si32(&digest[2]);
  __m128i d = _mm_loadu_si32(&digest[3]);
  for (; count > 0; --count, data += kMd5BlockBytes) {
    md5_fetch_ahead(data, count);
    const __m128i start[4] = {a, b, c, d};
    const auto x = [data](std::size_t i) { return _mm_loadu_si32(data + i * 4); };
#include "text/md5_steps.inc"
    a = _mm_add_epi32(a, start[0]);
    b = _mm_add_epi32(b, start[1]);
    c = _mm_add_epi32(c, start[2]);
    d = _mm_add_epi32(d, start[3]);
  }
  _mm_storeu_si32(&digest[0], a);
  _mm_storeu_si32(&digest[1], b);
  _mm_storeu_si32(&digest[2], c);
  _mm_storeu_si32(&digest[3], d);
}

}  // namespace orsin
