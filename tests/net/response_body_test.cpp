#include "net/response_body.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>

namespace orsin {
namespace {

struct FreeText {
  void operator()(char* text) const { std::free(text); }
};
using UniqueText = std::unique_ptr<char, FreeText>;

[[nodiscard]] bool append(ResponseBody& body, std::string_view chunk) {
  std::copy(chunk.begin(), chunk.end(), body.room());
  return body.add(static_cast<std::uint32_t>(chunk.size()));
}

TEST(ResponseBody, IsAnEmptyTextAtFirst) {
  ResponseBody body;

  ASSERT_TRUE(body.is_valid());
  EXPECT_EQ(body.size(), 0u);
  const UniqueText text(body.release());
  EXPECT_STREQ(text.get(), "");
}

TEST(ResponseBody, HasRoomForTheNulBehindEveryFullChunk) {
  const std::string chunk(ResponseBody::kChunkBytes, 'x');
  ResponseBody body;

  for (int i = 0; i < 5; ++i) {
    ASSERT_TRUE(append(body, chunk));
  }

  EXPECT_EQ(body.size(), 5 * chunk.size());
  const UniqueText text(body.release());
  EXPECT_EQ(std::strlen(text.get()), 5 * chunk.size());
}

TEST(ResponseBody, LeavesRoomForAChunkWhenItIsHandedOver) {
  ResponseBody body;
  ASSERT_TRUE(append(body, std::string(100, 'x')));

  const UniqueText text(body.release());

  // Under the sanitizers a smaller block would be an error.
  std::memset(text.get(), 'y', 100 + ResponseBody::kChunkBytes + 1);
}

TEST(ResponseBody, HoldsWhatWasAddedInChunksOfAnySize) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  std::string expected;
  ResponseBody body;

  for (int i = 0; i < 400; ++i) {
    std::string chunk(1 + random() % ResponseBody::kChunkBytes, '\0');
    std::generate(chunk.begin(), chunk.end(), [&] { return static_cast<char>(random()); });
    expected += chunk;
    ASSERT_TRUE(append(body, chunk));
  }

  EXPECT_EQ(body.size(), expected.size());
  const UniqueText text(body.release());
  EXPECT_EQ(std::string_view(text.get(), expected.size()), expected);
  EXPECT_EQ(text.get()[expected.size()], '\0');
}

}  // namespace
}  // namespace orsin
