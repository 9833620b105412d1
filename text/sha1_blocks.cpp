// The eighty rounds of SHA-1 by plain arithmetic and by the processor's own instructions.
#include "text/sha1_blocks.h"

#include <immintrin.h>

#include <bit>
#include <cstdint>

#include "base/cpu_features.h"

namespace orsin {
namespace {

std::uint32_t load_big_endian(const unsigned char* bytes) {
  return std::uint32_t{bytes[0]} << 24 | std::uint32_t{bytes[1]} << 16 |
         std::uint32_t{bytes[2]} << 8 | bytes[3];
}

struct Words {
  std::uint32_t a, b, c, d, e;

  void step(std::uint32_t choice, std::uint32_t word) {
    const std::uint32_t next = std::rotl(a, 5) + choice + e + word;
    e = d;
    d = c;
    c = std::rotl(b, 30);
    b = a;
    a = next;
  }
};

}  // namespace

void sha1_blocks_plain(unsigned int digest[5], const unsigned char* data, std::size_t count) {
  for (; count > 0; --count, data += 64) {
    std::uint32_t w[80];
    for (int i = 0; i < 16; ++i) {
      w[i] = load_big_endian(data + i * 4);
    }
    for (int i = 16; i < 80; ++i) {
      w[i] = std::rotl(w[i - 3] ^ w[i - 8] ^ w[i - 14] ^ w[i - 16], 1);
    }
    Words s = {digest[0], digest[1], digest[2], digest[3], digest[4]};
    for (int i = 0; i < 20; ++i) {
      s.step(((s.c ^ s.d) & s.b) ^ s.d, w[i] + 0x5A827999);
    }
    for (int i = 20; i < 40; ++i) {
      s.step(s.b ^ s.c ^ s.d, w[i] + 0x6ED9EBA1);
    }
    for (int i = 40; i < 60; ++i) {
      s.step((s.b & s.c) | (s.d & (s.b | s.c)), w[i] + 0x8F1BBCDC);
    }
    for (int i = 60; i < 80; ++i) {
      s.step(s.b ^ s.c ^ s.d, w[i] + 0xCA62C1D6);
    }
    digest[0] += s.a;
    digest[1] += s.b;
    digest[2] += s.c;
    digest[3] += s.d;
    digest[4] += s.e;
  }
}

namespace {

// Four rounds. `words` are the message words of these rounds; e and the next e alternate between
// two registers, as the instructions want it.
template <int function>
ORSIN_TARGET("sha,sse4.1")
ORSIN_ALWAYS_INLINE void four_rounds(__m128i& abcd, __m128i& e, __m128i words) {
  const __m128i input = _mm_sha1nexte_epu32(e, words);
  e = abcd;
  abcd = _mm_sha1rnds4_epu32(abcd, input, function);
}

// The message words of four rounds, from those of the sixteen before.
ORSIN_TARGET("sha,sse4.1")
ORSIN_ALWAYS_INLINE __m128i next_words(__m128i w0, __m128i w1, __m128i w2, __m128i w3) {
  return _mm_sha1msg2_epu32(_mm_xor_si128(_mm_sha1msg1_epu32(w0, w1), w2), w3);
}

}  // namespace

ORSIN_TARGET("sha,sse4.1")
void sha1_blocks_instructions(unsigned int digest[5], const unsigned char* data,
                              std::size_t count) {
  const __m128i reverse = _mm_set_epi64x(0x0001020304050607, 0x08090A0B0C0D0E0F);
  __m128i abcd = _mm_shuffle_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(digest)), 0x1B);
  __m128i e = _mm_set_epi32(static_cast<int>(digest[4]), 0, 0, 0);

  for (; count > 0; --count, data += 64) {
    const __m128i abcd_before = abcd;
    const __m128i e_before = e;
    const auto* block = reinterpret_cast<const __m128i*>(data);
    __m128i w0 = _mm_shuffle_epi8(_mm_loadu_si128(block), reverse);
    __m128i w1 = _mm_shuffle_epi8(_mm_loadu_si128(block + 1), reverse);
    __m128i w2 = _mm_shuffle_epi8(_mm_loadu_si128(block + 2), reverse);
    __m128i w3 = _mm_shuffle_epi8(_mm_loadu_si128(block + 3), reverse);

    // The first e is added as it is; later ones are rotated by the instruction.
    const __m128i first = _mm_add_epi32(e, w0);
    e = abcd;
    abcd = _mm_sha1rnds4_epu32(abcd, first, 0);
    four_rounds<0>(abcd, e, w1);
    four_rounds<0>(abcd, e, w2);
    four_rounds<0>(abcd, e, w3);
    w0 = next_words(w0, w1, w2, w3);
    four_rounds<0>(abcd, e, w0);

    w1 = next_words(w1, w2, w3, w0);
    four_rounds<1>(abcd, e, w1);
    w2 = next_words(w2, w3, w0, w1);
    four_rounds<1>(abcd, e, w2);
    w3 = next_words(w3, w0, w1, w2);
    four_rounds<1>(abcd, e, w3);
    w0 = next_words(w0, w1, w2, w3);
    four_rounds<1>(abcd, e, w0);
    w1 = next_words(w1, w2, w3, w0);
    four_rounds<1>(abcd, e, w1);

    w2 = next_words(w2, w3, w0, w1);
    four_rounds<2>(abcd, e, w2);
    w3 = next_words(w3, w0, w1, w2);
    four_rounds<2>(abcd, e, w3);
    w0 = next_words(w0, w1, w2, w3);
    four_rounds<2>(abcd, e, w0);
    w1 = next_words(w1, w2, w3, w0);
    four_rounds<2>(abcd, e, w1);
    w2 = next_words(w2, w3, w0, w1);
    four_rounds<2>(abcd, e, w2);

    w3 = next_words(w3, w0, w1, w2);
    four_rounds<3>(abcd, e, w3);
    w0 = next_words(w0, w1, w2, w3);
    four_rounds<3>(abcd, e, w0);
    w1 = next_words(w1, w2, w3, w0);
    four_rounds<3>(abcd, e, w1);
    w2 = next_words(w2, w3, w0, w1);
    four_rounds<3>(abcd, e, w2);
    w3 = next_words(w3, w0, w1, w2);
    four_rounds<3>(abcd, e, w3);

    e = _mm_sha1nexte_epu32(e, e_before);
    abcd = _mm_add_epi32(abcd, abcd_before);
  }

  _mm_storeu_si128(reinterpret_cast<__m128i*>(digest), _mm_shuffle_epi32(abcd, 0x1B));
  digest[4] = static_cast<unsigned int>(_mm_extract_epi32(e, 3));
}

bool has_sha1_instructions() {
  static const bool known = detect_cpu_features().sha;
  return known;
}

void sha1_blocks(unsigned int digest[5], const unsigned char* data, std::size_t count) {
  if (has_sha1_instructions()) {
    sha1_blocks_instructions(digest, data, count);
  } else {
    sha1_blocks_plain(digest, data, count);
  }
}

}  // namespace orsin
