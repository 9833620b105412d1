// MD5 (RFC 1321), one block of 64 bytes after the other.
//
// Each step waits for the one before it, so speed is the length of that chain. The sums are written
// so that the newest value, b, enters last; the second round's choice is a sum of two disjoint
// parts for the same reason: (~d & c) does not wait for b.
#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#include "orsincore/text.h"

namespace orsin {
namespace {

static_assert(std::endian::native == std::endian::little);
static_assert(offsetof(md5_state_s, abcd) == 8);
static_assert(offsetof(md5_state_s, buf) == 24);
static_assert(sizeof(md5_state_s) == 88);

using Word = std::uint32_t;

constexpr std::size_t kBlockBytes = 64;
constexpr std::size_t kLengthOffset = 56;

template <int shift>
Word step_f(Word a, Word b, Word c, Word d, Word x, Word t) {
  return b + std::rotl((a + x + t) + (((c ^ d) & b) ^ d), shift);
}

template <int shift>
Word step_g(Word a, Word b, Word c, Word d, Word x, Word t) {
  return b + std::rotl((a + x + t + (~d & c)) + (d & b), shift);
}

template <int shift>
Word step_h(Word a, Word b, Word c, Word d, Word x, Word t) {
  return b + std::rotl((a + x + t) + ((c ^ d) ^ b), shift);
}

template <int shift>
Word step_i(Word a, Word b, Word c, Word d, Word x, Word t) {
  return b + std::rotl((a + x + t) + (c ^ (b | ~d)), shift);
}

// The words of the digest stay in registers from block to block: between two blocks, a trip through
// memory would lengthen the chain by more than a step.
void process_blocks(Word* abcd, const unsigned char* data, std::size_t count) {
  Word a = abcd[0];
  Word b = abcd[1];
  Word c = abcd[2];
  Word d = abcd[3];
  for (; count > 0; --count, data += kBlockBytes) {
    const Word start[4] = {a, b, c, d};
    const auto x = [data](std::size_t i) {
      Word word;
      std::memcpy(&word, data + i * sizeof(word), sizeof(word));
      return word;
    };

    a = step_f<7>(a, b, c, d, x(0), 0xD76AA478);
    d = step_f<12>(d, a, b, c, x(1), 0xE8C7B756);
    c = step_f<17>(c, d, a, b, x(2), 0x242070DB);
    b = step_f<22>(b, c, d, a, x(3), 0xC1BDCEEE);
    a = step_f<7>(a, b, c, d, x(4), 0xF57C0FAF);
    d = step_f<12>(d, a, b, c, x(5), 0x4787C62A);
    c = step_f<17>(c, d, a, b, x(6), 0xA8304613);
    b = step_f<22>(b, c, d, a, x(7), 0xFD469501);
    a = step_f<7>(a, b, c, d, x(8), 0x698098D8);
    d = step_f<12>(d, a, b, c, x(9), 0x8B44F7AF);
    c = step_f<17>(c, d, a, b, x(10), 0xFFFF5BB1);
    b = step_f<22>(b, c, d, a, x(11), 0x895CD7BE);
    a = step_f<7>(a, b, c, d, x(12), 0x6B901122);
    d = step_f<12>(d, a, b, c, x(13), 0xFD987193);
    c = step_f<17>(c, d, a, b, x(14), 0xA679438E);
    b = step_f<22>(b, c, d, a, x(15), 0x49B40821);
    a = step_g<5>(a, b, c, d, x(1), 0xF61E2562);
    d = step_g<9>(d, a, b, c, x(6), 0xC040B340);
    c = step_g<14>(c, d, a, b, x(11), 0x265E5A51);
    b = step_g<20>(b, c, d, a, x(0), 0xE9B6C7AA);
    a = step_g<5>(a, b, c, d, x(5), 0xD62F105D);
    d = step_g<9>(d, a, b, c, x(10), 0x02441453);
    c = step_g<14>(c, d, a, b, x(15), 0xD8A1E681);
    b = step_g<20>(b, c, d, a, x(4), 0xE7D3FBC8);
    a = step_g<5>(a, b, c, d, x(9), 0x21E1CDE6);
    d = step_g<9>(d, a, b, c, x(14), 0xC33707D6);
    c = step_g<14>(c, d, a, b, x(3), 0xF4D50D87);
    b = step_g<20>(b, c, d, a, x(8), 0x455A14ED);
    a = step_g<5>(a, b, c, d, x(13), 0xA9E3E905);
    d = step_g<9>(d, a, b, c, x(2), 0xFCEFA3F8);
    c = step_g<14>(c, d, a, b, x(7), 0x676F02D9);
    b = step_g<20>(b, c, d, a, x(12), 0x8D2A4C8A);
    a = step_h<4>(a, b, c, d, x(5), 0xFFFA3942);
    d = step_h<11>(d, a, b, c, x(8), 0x8771F681);
    c = step_h<16>(c, d, a, b, x(11), 0x6D9D6122);
    b = step_h<23>(b, c, d, a, x(14), 0xFDE5380C);
    a = step_h<4>(a, b, c, d, x(1), 0xA4BEEA44);
    d = step_h<11>(d, a, b, c, x(4), 0x4BDECFA9);
    c = step_h<16>(c, d, a, b, x(7), 0xF6BB4B60);
    b = step_h<23>(b, c, d, a, x(10), 0xBEBFBC70);
    a = step_h<4>(a, b, c, d, x(13), 0x289B7EC6);
    d = step_h<11>(d, a, b, c, x(0), 0xEAA127FA);
    c = step_h<16>(c, d, a, b, x(3), 0xD4EF3085);
    b = step_h<23>(b, c, d, a, x(6), 0x04881D05);
    a = step_h<4>(a, b, c, d, x(9), 0xD9D4D039);
    d = step_h<11>(d, a, b, c, x(12), 0xE6DB99E5);
    c = step_h<16>(c, d, a, b, x(15), 0x1FA27CF8);
    b = step_h<23>(b, c, d, a, x(2), 0xC4AC5665);
    a = step_i<6>(a, b, c, d, x(0), 0xF4292244);
    d = step_i<10>(d, a, b, c, x(7), 0x432AFF97);
    c = step_i<15>(c, d, a, b, x(14), 0xAB9423A7);
    b = step_i<21>(b, c, d, a, x(5), 0xFC93A039);
    a = step_i<6>(a, b, c, d, x(12), 0x655B59C3);
    d = step_i<10>(d, a, b, c, x(3), 0x8F0CCC92);
    c = step_i<15>(c, d, a, b, x(10), 0xFFEFF47D);
    b = step_i<21>(b, c, d, a, x(1), 0x85845DD1);
    a = step_i<6>(a, b, c, d, x(8), 0x6FA87E4F);
    d = step_i<10>(d, a, b, c, x(15), 0xFE2CE6E0);
    c = step_i<15>(c, d, a, b, x(6), 0xA3014314);
    b = step_i<21>(b, c, d, a, x(13), 0x4E0811A1);
    a = step_i<6>(a, b, c, d, x(4), 0xF7537E82);
    d = step_i<10>(d, a, b, c, x(11), 0xBD3AF235);
    c = step_i<15>(c, d, a, b, x(2), 0x2AD7D2BB);
    b = step_i<21>(b, c, d, a, x(9), 0xEB86D391);

    a += start[0];
    b += start[1];
    c += start[2];
    d += start[3];
  }
  abcd[0] = a;
  abcd[1] = b;
  abcd[2] = c;
  abcd[3] = d;
}

std::size_t bytes_in_buffer(const md5_state_s& state) {
  return state.count[0] / 8 % kBlockBytes;
}

}  // namespace
}  // namespace orsin

using namespace orsin;

void ov_md5_init(md5_state_s* state) {
  *state = {{0, 0}, {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476}, {}};
}

void ov_md5_append(md5_state_s* state, const unsigned char* data, int n) {
  if (n <= 0 || data == nullptr) {
    return;
  }
  auto left = static_cast<std::size_t>(n);
  const std::size_t used = bytes_in_buffer(*state);
  std::uint64_t bits = std::uint64_t{state->count[1]} << 32 | state->count[0];
  bits += std::uint64_t{left} * 8;
  state->count[0] = static_cast<unsigned int>(bits);
  state->count[1] = static_cast<unsigned int>(bits >> 32);

  if (used != 0) {
    const std::size_t added = std::min(left, kBlockBytes - used);
    std::memcpy(state->buf + used, data, added);
    if (used + added < kBlockBytes) {
      return;
    }
    process_blocks(state->abcd, state->buf, 1);
    data += added;
    left -= added;
  }
  process_blocks(state->abcd, data, left / kBlockBytes);
  std::memcpy(state->buf, data + left / kBlockBytes * kBlockBytes, left % kBlockBytes);
}

void ov_md5_finish(md5_state_s* state, unsigned char digest[16]) {
  static constexpr unsigned char kPadding[kBlockBytes] = {0x80};
  unsigned char length[8];
  std::memcpy(length, state->count, sizeof(length));
  const std::size_t used = bytes_in_buffer(*state);
  const std::size_t padding =
      (used < kLengthOffset ? kLengthOffset : kBlockBytes + kLengthOffset) - used;
  ov_md5_append(state, kPadding, static_cast<int>(padding));
  ov_md5_append(state, length, static_cast<int>(sizeof(length)));
  std::memcpy(digest, state->abcd, sizeof(state->abcd));
}
