#include "base/stream_bytes.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <memory>
#include <string>

#include "base/unique_file.h"
#include "orsincore/text.h"
#include "tests/support/temporary_directory.h"

namespace orsin {
namespace {

using test::TemporaryDirectory;

#if defined(_WIN32)
constexpr const char* kNowhere = "NUL";
#else
constexpr const char* kNowhere = "/dev/null";
#endif

struct Free {
  void operator()(void* memory) const { std::free(memory); }
};

constexpr std::size_t kPieces[] = {1, 3, 5, 10, 11};  // Of ten bytes: with and without a rest.

TEST(StreamBytes, AreWrittenPieceByPiece) {
  const TemporaryDirectory directory;
  const std::string path = directory.path("file");
  for (const std::size_t piece : kPieces) {
    SCOPED_TRACE(piece);
    {
      const UniqueFile file(ov_utf8_fopen(path.c_str(), "wb"));
      ASSERT_NE(file, nullptr);
      EXPECT_EQ(write_bytes(file.get(), "0123\000056789", 10, piece), 10u);
    }
    EXPECT_EQ(TemporaryDirectory::read(path), std::string("0123\000056789", 10));
  }
}

TEST(StreamBytes, AreReadPieceByPiece) {
  const TemporaryDirectory directory;
  const std::string path = directory.write("file", "0123456789");
  for (const std::size_t piece : kPieces) {
    SCOPED_TRACE(piece);
    const UniqueFile file(ov_utf8_fopen(path.c_str(), "rb"));
    ASSERT_NE(file, nullptr);
    char bytes[10] = {};

    EXPECT_EQ(read_bytes(file.get(), bytes, 4, piece), 4u);
    EXPECT_EQ(std::string(bytes, 5), std::string("0123\0", 5));
    EXPECT_EQ(read_bytes(file.get(), bytes, 10, piece), 6u);  // The stream ends.
    EXPECT_EQ(std::string(bytes, 6), "456789");
    EXPECT_EQ(read_bytes(file.get(), bytes, 10, piece), 0u);
  }
}

TEST(StreamBytes, AreNoneWhenNoneAreAskedFor) {
  const UniqueFile file(ov_utf8_fopen(kNowhere, "wb+"));
  ASSERT_NE(file, nullptr);

  EXPECT_EQ(write_bytes(file.get(), nullptr, 0), 0u);
  EXPECT_EQ(read_bytes(file.get(), nullptr, 0), 0u);
}

TEST(StreamBytes, EndWithAPieceThatFails) {
  const TemporaryDirectory directory;
  const UniqueFile file(ov_utf8_fopen(directory.write("file", "").c_str(), "rb"));
  ASSERT_NE(file, nullptr);

  EXPECT_EQ(write_bytes(file.get(), "0123456789", 10, 3), 0u);
}

// As a C library may do on the way.
TEST(StreamBytes, GoInPiecesThatAnIntCounts) {
  EXPECT_LE(kStreamPieceBytes, std::size_t{std::numeric_limits<int>::max()});
}

TEST(StreamBytes, MayBeMoreThanAnIntCounts) {
  constexpr std::size_t kSize = (std::size_t{2} << 30) + 1;
  const std::unique_ptr<void, Free> zeros(std::calloc(kSize, 1));  // No page of it is touched.
  ASSERT_NE(zeros, nullptr);
  const UniqueFile file(ov_utf8_fopen(kNowhere, "wb"));
  ASSERT_NE(file, nullptr);

  EXPECT_EQ(write_bytes(file.get(), zeros.get(), kSize), kSize);
}

}  // namespace
}  // namespace orsin
