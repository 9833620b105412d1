// SHA-1 (FIPS 180-1) with an incremental context.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "orsincore/text.h"
#include "text/sha1_blocks.h"

namespace orsin {
namespace {

constexpr std::size_t kBlockBytes = 64;
constexpr std::size_t kLengthOffset = 56;

static_assert(offsetof(SHA1Context, Length_Low) == 20);
static_assert(offsetof(SHA1Context, Message_Block) == 28);
static_assert(offsetof(SHA1Context, Message_Block_Index) == 92);
static_assert(offsetof(SHA1Context, Computed) == 96);
static_assert(offsetof(SHA1Context, Corrupted) == 100);

std::uint64_t length_bits(const SHA1Context& context) {
  return std::uint64_t{context.Length_High} << 32 | context.Length_Low;
}

// Counts up to `bytes` bytes, but none behind the one whose bits turn the count to 0: that one marks
// the context. Returns the bytes counted.
std::size_t count_bytes(SHA1Context& context, std::size_t bytes) {
  const std::uint64_t before = length_bits(context);
  const std::uint64_t left = (0 - before) / 8;
  if (before != 0 && bytes >= left) {
    bytes = static_cast<std::size_t>(left);
    context.Corrupted = 1;
  }
  const std::uint64_t after = before + bytes * 8;
  context.Length_Low = static_cast<unsigned int>(after);
  context.Length_High = static_cast<unsigned int>(after >> 32);
  return bytes;
}

void store_big_endian(unsigned char* to, std::uint64_t value) {
  for (int i = 7; i >= 0; --i, value >>= 8) {
    to[i] = static_cast<unsigned char>(value);
  }
}

}  // namespace
}  // namespace orsin

using namespace orsin;

void ov_SHA1Reset(SHA1Context* context) {
  *context = {};
  constexpr unsigned int kInitial[5] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};
  std::memcpy(context->Message_Digest, kInitial, sizeof(kInitial));
}

void ov_SHA1Input(SHA1Context* context, const unsigned char* data, unsigned int n) {
  if (n == 0) {
    return;
  }
  if (context->Computed != 0 || context->Corrupted != 0) {
    context->Corrupted = 1;
    return;
  }
  std::size_t left = count_bytes(*context, n);
  const auto used = static_cast<std::size_t>(context->Message_Block_Index);
  if (used != 0) {
    const std::size_t added = std::min(left, kBlockBytes - used);
    std::memcpy(context->Message_Block + used, data, added);
    data += added;
    left -= added;
    if (used + added < kBlockBytes) {
      context->Message_Block_Index = static_cast<int>(used + added);
      return;
    }
    sha1_blocks(context->Message_Digest, context->Message_Block, 1);
  }
  sha1_blocks(context->Message_Digest, data, left / kBlockBytes);
  data += left / kBlockBytes * kBlockBytes;
  left %= kBlockBytes;
  std::memcpy(context->Message_Block, data, left);
  context->Message_Block_Index = static_cast<int>(left);
}

int ov_SHA1Result(SHA1Context* context) {
  if (context->Corrupted != 0) {
    return 0;
  }
  if (context->Computed != 0) {
    return 1;
  }
  unsigned char* block = context->Message_Block;
  auto used = static_cast<std::size_t>(context->Message_Block_Index);
  block[used++] = 0x80;
  if (used > kLengthOffset) {
    std::memset(block + used, 0, kBlockBytes - used);
    sha1_blocks(context->Message_Digest, block, 1);
    used = 0;
  }
  std::memset(block + used, 0, kLengthOffset - used);
  store_big_endian(block + kLengthOffset, length_bits(*context));
  sha1_blocks(context->Message_Digest, block, 1);
  context->Message_Block_Index = 0;
  context->Computed = 1;
  return 1;
}
