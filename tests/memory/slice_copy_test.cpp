#include "memory/slice_copy.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

namespace orsin {
namespace {

using CopyFunction = void (*)(void* destination, const void* source, std::size_t count);

constexpr std::size_t kStream = std::size_t{4} << 20;

void expect_plain_copies(CopyFunction copy, const std::vector<std::size_t>& counts) {
  constexpr std::size_t kMargin = 128;
  std::mt19937_64 random(7);
  std::vector<unsigned char> source(kStream + 4096);
  for (unsigned char& byte : source) {
    byte = static_cast<unsigned char>(random());
  }

  for (const std::size_t count : counts) {
    for (const std::size_t to : {0u, 1u, 17u, 63u}) {
      for (const std::size_t from : {0u, 3u, 32u}) {
        SCOPED_TRACE(testing::Message() << count << " bytes from " << from << " to " << to);
        std::vector<unsigned char> expected(kMargin + count + kMargin, 0xEE);
        std::vector<unsigned char> copied = expected;

        std::memcpy(expected.data() + to, source.data() + from, count);
        copy(copied.data() + to, source.data() + from, count);

        ASSERT_EQ(copied == expected, true);
      }
    }
  }
}

TEST(SliceCopy, CopiesExactlyAsAPlainCopyDoes) {
  expect_plain_copies(
      copy_slice, {0, 1, 4095, kStream - 1, kStream, kStream + 1, kStream + 63, kStream + 1000});
}

TEST(CopyPastCaches, CopiesExactlyAsAPlainCopyDoes) {
  expect_plain_copies(copy_past_caches, {0, 1, 63, 64, 65, 127, 128, 191, 4095, 65536, 100001});
}

TEST(CopyPastCaches, TakesNullForNothing) {
  copy_past_caches(nullptr, nullptr, 0);
}

}  // namespace
}  // namespace orsin
