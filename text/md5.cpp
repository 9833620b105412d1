// MD5 (RFC 1321): cutting a message into blocks; what is done with them stands in md5_blocks.cpp.
#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#include "orsincore/text.h"
#include "text/md5_blocks.h"

namespace orsin {
namespace {

static_assert(std::endian::native == std::endian::little);
static_assert(offsetof(md5_state_s, abcd) == 8);
static_assert(offsetof(md5_state_s, buf) == 24);
static_assert(sizeof(md5_state_s) == 88);

constexpr std::size_t kLengthOffset = 56;

std::size_t bytes_in_buffer(const md5_state_s& state) {
  return state.count[0] / 8 % kMd5BlockBytes;
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
    const std::size_t added = std::min(left, kMd5BlockBytes - used);
    std::memcpy(state->buf + used, data, added);
    if (used + added < kMd5BlockBytes) {
      return;
    }
    md5_blocks(state->abcd, state->buf, 1);
    data += added;
    left -= added;
  }
  md5_blocks(state->abcd, data, left / kMd5BlockBytes);
  std::memcpy(state->buf, data + left / kMd5BlockBytes * kMd5BlockBytes, left % kMd5BlockBytes);
}

void ov_md5_finish(md5_state_s* state, unsigned char digest[16]) {
  static constexpr unsigned char kPadding[kMd5BlockBytes] = {0x80};
  unsigned char length[8];
  std::memcpy(length, state->count, sizeof(length));
  const std::size_t used = bytes_in_buffer(*state);
  const std::size_t padding =
      (used < kLengthOffset ? kLengthOffset : kMd5BlockBytes + kLengthOffset) - used;
  ov_md5_append(state, kPadding, static_cast<int>(padding));
  ov_md5_append(state, length, static_cast<int>(sizeof(length)));
  std::memcpy(digest, state->abcd, sizeof(state->abcd));
}
