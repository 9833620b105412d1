#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "orsincore/files.h"
#include "tests/support/temporary_directory.h"

namespace orsin {
namespace {

constexpr auto kNothingLeft = static_cast<std::size_t>(-1);

struct StreamCloser {
  void operator()(ov_stream* stream) const { ov_close(stream); }
};
using Stream = std::unique_ptr<ov_stream, StreamCloser>;

class FileStream : public testing::Test {
 protected:
  Stream open(const std::string& content) {
    return Stream(ov_open(directory_.write("file.txt", content).c_str(), "rb"));
  }

  // Exactly as many bytes as were read, so that a sanitizer sees each byte too many.
  static std::string read(ov_stream* stream, std::size_t size, std::size_t count,
                          std::size_t room) {
    const std::unique_ptr<char[]> out(new char[room + 1]);
    const std::size_t bytes = ov_read(out.get(), size, count, stream);
    EXPECT_NE(bytes, kNothingLeft);
    EXPECT_LE(bytes, room);
    return std::string(out.get(), bytes);
  }

  test::TemporaryDirectory directory_;
};

using FileStreamSeek = FileStream;
using FileStreamRead = FileStream;
using FileStreamLines = FileStream;

// ---------------------------------------------------------------------------------------------
// Opening and closing
// ---------------------------------------------------------------------------------------------

TEST_F(FileStream, HoldsTheWholeFile) {
  const std::string content("one\0two\r\nthree", 14);

  const Stream stream = open(content);

  ASSERT_NE(stream, nullptr);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(stream->data), stream->size), content);
  EXPECT_EQ(stream->position, 0U);
  EXPECT_EQ(ov_tell(stream.get()), 0);
  EXPECT_EQ(ov_eof(stream.get()), 0);
}

TEST_F(FileStream, HoldsAFileOfOneByte) {
  const Stream stream = open("1");

  ASSERT_NE(stream, nullptr);
  ASSERT_EQ(stream->size, 1U);
  EXPECT_EQ(read(stream.get(), 1, 1, 1), "1");
  EXPECT_EQ(ov_tell(stream.get()), 1);
  EXPECT_EQ(ov_eof(stream.get()), 0);
}

TEST_F(FileStream, LetsGoOfTheFileAtOnce) {
  const std::string path = directory_.write("free.txt", "text");

  const Stream stream(ov_open(path.c_str(), "rb"));

  ASSERT_NE(stream, nullptr);
  EXPECT_TRUE(std::filesystem::remove(test::to_path(path)));
}

TEST_F(FileStream, AnEmptyFileHasNoDataAndNothingToRead) {
  const Stream stream = open("");
  char out[8] = "kept";

  ASSERT_NE(stream, nullptr);
  EXPECT_EQ(stream->data, nullptr);
  EXPECT_EQ(stream->size, 0U);
  EXPECT_EQ(ov_read(out, 1, 1, stream.get()), kNothingLeft);
  EXPECT_EQ(ov_gets(out, sizeof(out), stream.get()), nullptr);
  EXPECT_STREQ(out, "kept");
}

TEST_F(FileStream, AFileThatIsNotThereGivesNull) {
  EXPECT_EQ(ov_open(directory_.path("missing.txt").c_str(), "rb"), nullptr);
}

TEST_F(FileStream, OpensNamesOutsideAscii) {
  const std::string path = directory_.write("Дубль é.txt", "text");

  const Stream stream(ov_open(path.c_str(), "rb"));

  ASSERT_NE(stream, nullptr);
  EXPECT_EQ(stream->size, 4U);
}

TEST_F(FileStream, AModeThatCannotReadGivesAnEmptyStream) {
  const std::string path = directory_.write("append.txt", "text");

  const Stream stream(ov_open(path.c_str(), "ab"));

  ASSERT_NE(stream, nullptr);
  EXPECT_EQ(stream->data, nullptr);
  EXPECT_EQ(stream->size, 0U);
}

#if defined(_WIN32)
TEST_F(FileStream, TextModeCountsTheBytesThatArrive) {
  const std::string path = directory_.write("text.txt", "a\r\nb\r\n");

  const Stream stream(ov_open(path.c_str(), "r"));

  ASSERT_NE(stream, nullptr);
  EXPECT_EQ(stream->size, 4U);
  EXPECT_EQ(std::memcmp(stream->data, "a\nb\n", 4), 0);
}
#endif

TEST_F(FileStream, ClosingNullFails) {
  EXPECT_EQ(ov_close(nullptr), -1);
}

TEST_F(FileStream, ClosingSucceeds) {
  EXPECT_EQ(ov_close(open("text").release()), 0);
}

// ---------------------------------------------------------------------------------------------
// Moving
// ---------------------------------------------------------------------------------------------

TEST_F(FileStreamSeek, KeepsCountingBackwardsFromTheEnd) {
  const Stream stream = open(std::string(100, 'x'));

  EXPECT_EQ(ov_seek(stream.get(), 10, 2), 90);
  EXPECT_EQ(ov_tell(stream.get()), 90);
  EXPECT_EQ(ov_seek(stream.get(), -10, 2), 110);
}

TEST_F(FileStreamSeek, MovesToAPositionAndByADistance) {
  const Stream stream = open(std::string(100, 'x'));

  EXPECT_EQ(ov_seek(stream.get(), 30, 0), 30);
  EXPECT_EQ(ov_seek(stream.get(), 5, 1), 35);
  EXPECT_EQ(ov_seek(stream.get(), -15, 1), 20);
  EXPECT_EQ(ov_tell(stream.get()), 20);
}

TEST_F(FileStreamSeek, RefusesAnotherWhence) {
  const Stream stream = open("text");
  ov_seek(stream.get(), 2, 0);

  for (const int whence : {-1, 3, 100}) {
    EXPECT_EQ(ov_seek(stream.get(), 1, whence), -1);
  }

  EXPECT_EQ(ov_tell(stream.get()), 2);
}

TEST_F(FileStreamSeek, OutsideTheDataNothingIsRead) {
  const Stream stream = open("text");
  char out[8] = "kept";
  for (const long offset : {4L, 5L, 1000000L, -1L, std::numeric_limits<long>::min()}) {
    SCOPED_TRACE(offset);
    EXPECT_EQ(ov_seek(stream.get(), offset, 0), offset);

    EXPECT_EQ(ov_read(out, 1, sizeof(out), stream.get()), kNothingLeft);
    EXPECT_EQ(ov_gets(out, sizeof(out), stream.get()), nullptr);
    EXPECT_STREQ(out, "kept");
  }
  EXPECT_EQ(ov_eof(stream.get()), 0);
}

TEST_F(FileStreamSeek, LeavesTheEndFlag) {
  const Stream stream = open("text");
  read(stream.get(), 1, 5, 5);
  ASSERT_EQ(ov_eof(stream.get()), 1);

  ov_seek(stream.get(), 0, 0);

  EXPECT_EQ(ov_eof(stream.get()), 1);
}

// ---------------------------------------------------------------------------------------------
// Reading
// ---------------------------------------------------------------------------------------------

TEST_F(FileStreamRead, GivesWhatIsLeftAndSetsTheEndFlag) {
  const Stream stream = open("0123456789");

  EXPECT_EQ(read(stream.get(), 1, 4, 4), "0123");
  EXPECT_EQ(ov_eof(stream.get()), 0);
  EXPECT_EQ(read(stream.get(), 1, 7, 7), "456789");
  EXPECT_EQ(ov_eof(stream.get()), 1);
}

TEST_F(FileStreamRead, UpToTheVeryEndLeavesTheEndFlag) {
  const Stream stream = open("0123456789");

  EXPECT_EQ(read(stream.get(), 1, 10, 10), "0123456789");

  EXPECT_EQ(ov_eof(stream.get()), 0);
  char out = 'k';
  EXPECT_EQ(ov_read(&out, 1, 1, stream.get()), kNothingLeft);
}

TEST_F(FileStreamRead, KeepsCountingBytesNotElements) {
  const Stream stream = open("0123456789");

  EXPECT_EQ(read(stream.get(), 4, 2, 8), "01234567");
  EXPECT_EQ(ov_tell(stream.get()), 8);
}

TEST_F(FileStreamRead, StopsAtTheDataWhateverTheElementSize) {
  for (const std::size_t size : {std::size_t{1}, std::size_t{2}, std::size_t{3}, std::size_t{8},
                                 std::size_t{1000}, std::numeric_limits<std::size_t>::max()}) {
    for (const std::size_t count :
         {std::size_t{11}, std::size_t{1} << 40, std::numeric_limits<std::size_t>::max()}) {
      SCOPED_TRACE(std::to_string(size) + " x " + std::to_string(count));
      const Stream stream = open("0123456789");

      EXPECT_EQ(read(stream.get(), size, count, 10), "0123456789");

      EXPECT_EQ(ov_eof(stream.get()), 1);
      EXPECT_EQ(ov_tell(stream.get()), 10);
    }
  }
}

TEST_F(FileStreamRead, NoElementsAreNoBytes) {
  const Stream stream = open("text");

  EXPECT_EQ(ov_read(nullptr, 1, 0, stream.get()), 0U);
  EXPECT_EQ(ov_read(nullptr, 0, 1, stream.get()), kNothingLeft);  // As at the end.

  EXPECT_EQ(ov_tell(stream.get()), 0);
  EXPECT_EQ(ov_eof(stream.get()), 0);
}

// ---------------------------------------------------------------------------------------------
// Lines
// ---------------------------------------------------------------------------------------------

TEST_F(FileStreamLines, ComeWithTheirLineFeedAndATerminator) {
  const Stream stream = open("one\r\n\ntwo\n");
  char out[16];

  EXPECT_EQ(ov_gets(out, sizeof(out), stream.get()), out + 6);
  EXPECT_STREQ(out, "one\r\n");
  EXPECT_EQ(ov_gets(out, sizeof(out), stream.get()), out + 2);
  EXPECT_STREQ(out, "\n");
  EXPECT_EQ(ov_gets(out, sizeof(out), stream.get()), out + 5);
  EXPECT_STREQ(out, "two\n");
  EXPECT_EQ(ov_eof(stream.get()), 0);
  EXPECT_EQ(ov_gets(out, sizeof(out), stream.get()), nullptr);
}

TEST_F(FileStreamLines, ALastLineWithoutLineFeedSetsTheEndFlag) {
  const Stream stream = open("one\nlast");
  char out[16];

  ASSERT_NE(ov_gets(out, sizeof(out), stream.get()), nullptr);
  EXPECT_EQ(ov_eof(stream.get()), 0);
  ASSERT_NE(ov_gets(out, sizeof(out), stream.get()), nullptr);

  EXPECT_STREQ(out, "last");
  EXPECT_EQ(ov_eof(stream.get()), 1);
}

TEST_F(FileStreamLines, AZeroByteEndsALine) {
  const Stream stream = open(std::string("a\0b", 3));
  char out[8];

  EXPECT_EQ(ov_gets(out, sizeof(out), stream.get()), out + 3);  // Its own zero and the terminator.
  EXPECT_STREQ(out, "a");
  EXPECT_EQ(ov_gets(out, sizeof(out), stream.get()), out + 2);
  EXPECT_STREQ(out, "b");
}

TEST_F(FileStreamLines, KeepsGivingWholeLinesWhateverTheBound) {
  const Stream stream = open("a longer line\n");
  char out[32];

  EXPECT_EQ(ov_gets(out, 2, stream.get()), out + 15);

  EXPECT_STREQ(out, "a longer line\n");
}

TEST_F(FileStreamLines, ABoundBelowTwoGivesNull) {
  const Stream stream = open("line\n");
  char out[8];
  for (const int n : {1, 0, -1}) {
    EXPECT_EQ(ov_gets(out, n, stream.get()), nullptr);
  }
  EXPECT_EQ(ov_tell(stream.get()), 0);
}

TEST_F(FileStreamLines, AgreeWithANaiveReaderOnRandomBytes) {
  const unsigned seed = 20261121;
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  std::string content;
  for (int i = 0; i < 5000; ++i) {
    content += "\n\0ab\r"[random() % 5];
  }
  const Stream stream = open(content);
  std::vector<char> out(content.size() + 2);
  std::size_t expected = 0;
  while (ov_gets(out.data(), 2, stream.get()) != nullptr) {
    std::size_t i = 0;
    do {
      ASSERT_EQ(out[i], content[expected]);
      ++expected;
    } while (out[i] != '\n' && out[i] != '\0' && (++i, expected < content.size()));
    ASSERT_EQ(static_cast<std::size_t>(ov_tell(stream.get())), expected);
  }
  EXPECT_EQ(expected, content.size());
}

}  // namespace
}  // namespace orsin
