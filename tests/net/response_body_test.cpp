#include "net/response_body.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <string>

namespace orsin {
namespace {

struct FreeText {
  void operator()(char* text) const { ResponseBody::free(text); }
};
using UniqueText = std::unique_ptr<char, FreeText>;

[[nodiscard]] bool append(ResponseBody& body, std::string_view chunk) {
  std::copy(chunk.begin(), chunk.end(), body.room());
  return body.add(static_cast<std::uint32_t>(chunk.size()));
}

TEST(ResponseBody, IsAnEmptyTextAtFirst) {
  ResponseBody body(nullptr);

  ASSERT_TRUE(body.is_valid());
  EXPECT_EQ(body.size(), 0u);
  const UniqueText text(body.release());
  EXPECT_STREQ(text.get(), "");
}

TEST(ResponseBody, HasRoomForTheNulBehindEveryFullChunk) {
  const std::string chunk(ResponseBody::kChunkBytes, 'x');
  ResponseBody body(nullptr);

  for (int i = 0; i < 5; ++i) {
    ASSERT_TRUE(append(body, chunk));
  }

  EXPECT_EQ(body.size(), 5 * chunk.size());
  const UniqueText text(body.release());
  EXPECT_EQ(std::strlen(text.get()), 5 * chunk.size());
}

// Around the first place where more has to be committed: a read may fill the room in front of it.
TEST(ResponseBody, HasRoomForAChunkAndItsNulBehindAnyLength) {
  constexpr std::uint32_t kStepBytes = 64 << 10;
  constexpr std::uint32_t kLast = kStepBytes - ResponseBody::kChunkBytes;
  for (std::uint32_t length = kLast - 100; length <= kLast + 10; ++length) {
    SCOPED_TRACE(length);
    ResponseBody body(nullptr);
    for (std::uint32_t left = length; left > 0;) {
      const std::uint32_t bytes = std::min(left, ResponseBody::kChunkBytes);
      ASSERT_TRUE(append(body, std::string(bytes, 'x')));
      left -= bytes;
    }

    // A page that is not there would be an error.
    std::memset(body.room(), 'y', ResponseBody::kChunkBytes + 1);
    ASSERT_TRUE(body.add(ResponseBody::kChunkBytes));
    EXPECT_EQ(body.size(), length + ResponseBody::kChunkBytes);
  }
}

TEST(ResponseBody, LeavesRoomForAChunkWhenItIsHandedOver) {
  ResponseBody body(nullptr);
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
  ResponseBody body(nullptr);

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

// In one piece that is smaller than the others would be, or in several.
TEST(ResponseBody, MovesWhenItOutgrowsItsReservation) {
  for (const std::uint64_t reserved_kib : {128u, 1024u, 1600u, 3072u}) {
    SCOPED_TRACE(reserved_kib);
    std::string expected;
    ResponseBody body(nullptr, reserved_kib << 10);

    for (int i = 0; i < 1200; ++i) {
      const std::string chunk(ResponseBody::kChunkBytes, static_cast<char>('a' + i % 26));
      expected += chunk;
      ASSERT_TRUE(append(body, chunk));
    }

    const UniqueText text(body.release());
    EXPECT_TRUE(std::string_view(text.get()) == expected);
  }
}

TEST(ResponseBody, TakesOverTheMemoryOfAnEarlierText) {
  ResponseBody earlier(nullptr);
  for (int i = 0; i < 300; ++i) {
    ASSERT_TRUE(append(earlier, std::string(ResponseBody::kChunkBytes, 'x')));
  }
  char* first = earlier.release();

  ResponseBody body(first);
  EXPECT_EQ(body.size(), 0u);
  ASSERT_TRUE(append(body, "text"));
  const UniqueText text(body.release());

  EXPECT_EQ(text.get(), first);
  EXPECT_STREQ(text.get(), "text");
}

TEST(ResponseBody, GrowsAgainAfterItWasCutDown) {
  const std::string chunk(ResponseBody::kChunkBytes, 'x');
  char* text = nullptr;

  for (const int chunks : {500, 1, 600, 0, 2}) {
    SCOPED_TRACE(chunks);
    ResponseBody body(text);
    for (int i = 0; i < chunks; ++i) {
      ASSERT_TRUE(append(body, chunk));
    }
    text = body.release();
    EXPECT_EQ(std::strlen(text), chunk.size() * static_cast<std::size_t>(chunks));
  }
  ResponseBody::free(text);
}

}  // namespace
}  // namespace orsin
