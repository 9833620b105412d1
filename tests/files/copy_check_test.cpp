// A copy read back against the hashes of its source: only the source's own bytes, all of them and no
// more, are the same.
#include "files/copy_check.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

#include "files/block_hasher.h"
#include "tests/files/io_fixture.h"

namespace orsin {
namespace {

using test::random_bytes;

constexpr std::size_t kMebibyte = HashMarks::kDistance;

class CopyCheckTest : public test::IoTest {
 protected:
  // As a copy hashes its source.
  void mark(std::size_t size) {
    source_ = random_bytes(random_, size);
    hash(reader_of(write("source", source_)));
  }

  // Reads a copy back, with the caller's reader or one as copies use it.
  bool is_same(const std::string& copy, fReadBuffer* borrowed = nullptr) {
    const BorrowedReader reader = reader_of(write("copy", copy), borrowed);
    CopyCheck check(marks_);
    {
      SourceBlocks blocks(*reader.get());
      check.add_to(blocks);
      hand_over_all(blocks);
    }
    reader->close_file();
    return check.is_same();
  }

  static BorrowedReader reader_of(const std::string& name, fReadBuffer* borrowed = nullptr) {
    BorrowedReader reader = reader_for_copy(borrowed);
    EXPECT_TRUE(open_source(*reader.get(), name.c_str()));
    reader->getNextBlock();
    return reader;
  }

  static void hand_over_all(SourceBlocks& blocks) {
    while (!blocks.current().is_end()) {
      blocks.hand_over();
      blocks.advance();
    }
  }

  void hash(const BorrowedReader& reader) {
    md5_state_s md5;
    BlockHasher hasher(md5, &marks_);
    {
      SourceBlocks blocks(*reader.get());
      blocks.add_worker(hasher, "Test", kCopyBlockBytes);
      hand_over_all(blocks);
    }
    reader->close_file();
    hasher.finish();
  }

  std::mt19937 random_{20261123};
  std::string source_;
  HashMarks marks_;
};

TEST_F(CopyCheckTest, FindsACopyTheSame) {
  mark(9 * kMebibyte + 4321);

  EXPECT_TRUE(is_same(source_));
  EXPECT_EQ(errors(), test::Lines{});
}

TEST_F(CopyCheckTest, FindsACopyOfWholeBlocksTheSame) {
  mark(6 * kMebibyte);

  EXPECT_TRUE(is_same(source_));
}

TEST_F(CopyCheckTest, FindsAnEmptyCopyTheSame) {
  mark(0);

  EXPECT_TRUE(is_same(""));
  EXPECT_FALSE(is_same("x"));
}

TEST_F(CopyCheckTest, FindsAShortCopyTheSameWithoutThreads) {
  mark(kMebibyte + 1);

  EXPECT_TRUE(is_same(source_));
}

TEST_F(CopyCheckTest, NoticesOneBitInAnyMebibyte) {
  mark(7 * kMebibyte + 10);
  for (std::size_t at = 0; at < source_.size(); at += kMebibyte) {
    SCOPED_TRACE(at);
    std::string copy = source_;
    const std::size_t byte = std::min(at + random_() % kMebibyte, copy.size() - 1);
    copy[byte] = static_cast<char>(copy[byte] ^ 0x40);

    EXPECT_FALSE(is_same(copy));
  }
}

TEST_F(CopyCheckTest, NoticesTwoMebibytesThatHaveChangedPlaces) {
  mark(6 * kMebibyte);

  EXPECT_FALSE(is_same(source_.substr(kMebibyte, kMebibyte) + source_.substr(0, kMebibyte) +
                       source_.substr(2 * kMebibyte)));
}

TEST_F(CopyCheckTest, NoticesWhatIsMissingAtTheEnd) {
  mark(6 * kMebibyte);

  for (const std::size_t missing : {std::size_t{1}, kMebibyte, 2 * kMebibyte, 6 * kMebibyte}) {
    SCOPED_TRACE(missing);
    EXPECT_FALSE(is_same(source_.substr(0, source_.size() - missing)));
  }
}

TEST_F(CopyCheckTest, NoticesWhatIsTooMuchAtTheEnd) {
  mark(6 * kMebibyte);

  for (const std::size_t more : {std::size_t{1}, kMebibyte, 2 * kMebibyte + 1}) {
    SCOPED_TRACE(more);
    EXPECT_FALSE(is_same(source_ + random_bytes(random_, more)));
  }
}

// Blocks of another length are not what was hashed between two marks: not known is not the same.
TEST_F(CopyCheckTest, TakesBlocksOfAnotherLengthForDifferent) {
  mark(6 * kMebibyte);
  fReadBuffer halves;
  halves.cfg_buffers(8, kMebibyte / 2, kMebibyte / 2);

  EXPECT_FALSE(is_same(source_, &halves));
}

}  // namespace
}  // namespace orsin
