// The 64 steps of MD5 by plain arithmetic, and which of the two ways is taken.
//
// Each step waits for the one before it, so speed is the length of that chain. The sums are written
// so that the newest value, b, enters last; a step takes four or five instructions in a row.
#include "text/md5_blocks.h"

#include <bit>
#include <cstdint>
#include <cstring>

#include "base/cpu_features.h"

namespace orsin {
namespace {

class PlainSteps {
 public:
  using Word = std::uint32_t;

  template <Md5Round round, int shift>
  static Word step(Word a, Word b, Word c, Word d, Word x, Word t) {
    return b + std::rotl(mixed<round>(a + x + t, b, c, d), shift);
  }

 private:
  template <Md5Round round>
  static Word mixed(Word early, Word b, Word c, Word d) {
    if constexpr (round == Md5Round::kF) {
      return early + (((c ^ d) & b) ^ d);
    } else if constexpr (round == Md5Round::kG) {
      return (early + (~d & c)) + (d & b);  // Two disjoint parts: the first does not wait for b.
    } else if constexpr (round == Md5Round::kH) {
      return early + ((c ^ d) ^ b);
    } else {
      return early + (c ^ (b | ~d));
    }
  }
};

}  // namespace

// The words of the digest stay in registers from block to block: between two blocks, a trip through
// memory would lengthen the chain by more than a step.
void md5_blocks_plain(unsigned int digest[4], const unsigned char* data, std::size_t count) {
  using Steps = PlainSteps;
  std::uint32_t a = digest[0];
  std::uint32_t b = digest[1];
  std::uint32_t c = digest[2];
  std::uint32_t d = digest[3];
  for (; count > 0; --count, data += kMd5BlockBytes) {
    md5_fetch_ahead(data, count);
    const std::uint32_t start[4] = {a, b, c, d};
    const auto x = [data](std::size_t i) {
      std::uint32_t word;
      std::memcpy(&word, data + i * sizeof(word), sizeof(word));
      return word;
    };
#include "text/md5_steps.inc"
    a += start[0];
    b += start[1];
    c += start[2];
    d += start[3];
  }
  digest[0] = a;
  digest[1] = b;
  digest[2] = c;
  digest[3] = d;
}

bool has_ternary_instructions() {
  static const bool result = detect_cpu_features().avx512_vl;
  return result;
}

void md5_blocks(unsigned int digest[4], const unsigned char* data, std::size_t count) {
  if (has_ternary_instructions()) {
    md5_blocks_ternary(digest, data, count);
  } else {
    md5_blocks_plain(digest, data, count);
  }
}

}  // namespace orsin
