// Base64 with AVX-512 and its byte permutations (VBMI), 64 characters to 48 bytes at a time.
//
// Two registers hold the value of every ASCII character, with the top bit set where the character
// is outside the alphabet; one permutation looks 64 of them up. It sees seven bits only: a byte of
// 0x80 and above shows by its own top bit.
#include <immintrin.h>

#include <array>
#include <cstdint>

#include "base/compiler.h"
#include "text/base64_blocks.h"

#define ORSIN_TARGET_VBMI ORSIN_TARGET("avx512f,avx512bw,avx512vbmi")

namespace orsin {
namespace {

constexpr std::uint8_t kStranger = 0x80;

struct Tables {
  std::array<std::uint8_t, 128> values;  // Of each ASCII character.
  // Where the bytes of a block come from. The values have become dwords of three bytes each, in two
  // registers of 16; a byte is the third of its dword first, as its dword's groups are big-endian.
  std::array<std::uint8_t, 128> sources;
};

alignas(64) constexpr Tables kTables = [] {
  Tables tables = {};
  tables.values.fill(kStranger);
  for (std::uint8_t i = 0; i < 64; ++i) {
    tables.values[static_cast<unsigned char>(kBase64Alphabet[i])] = i;
  }
  for (unsigned i = 0; i < kBase64BlockBytes; ++i) {
    tables.sources[i] = static_cast<std::uint8_t>(i / 3 * 4 + 2 - i % 3);
  }
  return tables;
}();

struct Block {
  __m512i head;  // Bytes 0 to 63.
  __m256i tail;  // Bytes 64 to 95.
  bool has_stranger;
};

ORSIN_TARGET_VBMI inline __m512i load(const void* from) {
  return _mm512_loadu_si512(from);
}

ORSIN_TARGET_VBMI inline __m512i look_up(__m512i text) {
  return _mm512_permutex2var_epi8(load(kTables.values.data()), text,
                                  load(kTables.values.data() + 64));
}

// Four times six bits become 24 in a dword.
ORSIN_TARGET_VBMI inline __m512i join_groups(__m512i values) {
  const __m512i pairs = _mm512_maddubs_epi16(values, _mm512_set1_epi32(0x01400140));
  return _mm512_madd_epi16(pairs, _mm512_set1_epi32(0x00011000));
}

ORSIN_TARGET_VBMI inline Block decode_block(const char* source) {
  const __m512i text_a = load(source);
  const __m512i text_b = load(source + 64);
  const __m512i a = look_up(text_a);
  const __m512i b = look_up(text_b);
  const __m512i marks = _mm512_or_si512(_mm512_or_si512(text_a, text_b), _mm512_or_si512(a, b));

  const __m512i groups_a = join_groups(a);
  const __m512i groups_b = join_groups(b);
  const __m512i head = _mm512_permutex2var_epi8(groups_a, load(kTables.sources.data()), groups_b);
  const __m512i tail = _mm512_permutexvar_epi8(load(kTables.sources.data() + 64), groups_b);
  return {head, _mm512_castsi512_si256(tail), _mm512_movepi8_mask(marks) != 0};
}

ORSIN_TARGET_VBMI
std::size_t decode(const char* source, std::size_t count, unsigned char* target) {
  for (std::size_t block = 0; block < count; ++block) {
    const Block decoded = decode_block(source);
    if (decoded.has_stranger) {
      return block;
    }
    _mm512_storeu_si512(target, decoded.head);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(target + 64), decoded.tail);
    source += kBase64BlockCharacters;
    target += kBase64BlockBytes;
  }
  return count;
}

// A block is a line and a half, so lines are stored in halves.
ORSIN_TARGET_VBMI
std::size_t stream(const char* source, std::size_t count, unsigned char* target) {
  std::size_t block = 0;
  for (; block < count; ++block) {
    const Block decoded = decode_block(source);
    if (decoded.has_stranger) {
      break;
    }
    auto* to = reinterpret_cast<__m256i*>(target);
    _mm256_stream_si256(to, _mm512_castsi512_si256(decoded.head));
    _mm256_stream_si256(to + 1, _mm512_extracti64x4_epi64(decoded.head, 1));
    _mm256_stream_si256(to + 2, decoded.tail);
    source += kBase64BlockCharacters;
    target += kBase64BlockBytes;
  }
  _mm_sfence();  // Others may be told of the target now.
  return block;
}

}  // namespace

constinit const Base64Kernel kBase64Avx512 = {decode, stream};

}  // namespace orsin
