// The states of MD5 along a source, and bytes of a copy hashed between them.
#include "files/hash_marks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "files/block_hasher.h"
#include "tests/files/copy_calls.h"

namespace orsin {
namespace {

using test::random_content;

constexpr std::uint64_t kMebibyte = HashMarks::kDistance;

const unsigned char* bytes_of(const std::string& content) {
  return reinterpret_cast<const unsigned char*>(content.data());
}

// Hashes a source that comes in blocks of this length.
void mark(HashMarks& marks, const std::string& content, std::uint64_t block_length = kMebibyte) {
  md5_state_s md5;
  BlockHasher hasher(md5, &marks);
  for (std::uint64_t at = 0; at < content.size(); at += block_length) {
    hasher.work({bytes_of(content) + at, at, std::min(block_length, content.size() - at), 0});
  }
  hasher.finish();
}

bool match(const HashMarks& marks, const std::string& copy, std::uint64_t position,
           std::uint64_t length) {
  return marks.match(bytes_of(copy) + position, position, length);
}

// From the last to the first, as the order is nobody's business.
bool all_match(const HashMarks& marks, const std::string& copy) {
  std::uint64_t at = copy.size() / kMebibyte * kMebibyte;
  if (at < copy.size() && !match(marks, copy, at, copy.size() - at)) {
    return false;
  }
  while (at > 0) {
    at -= kMebibyte;
    if (!match(marks, copy, at, kMebibyte)) {
      return false;
    }
  }
  return true;
}

TEST(HashMarks, MatchTheSourceFromEachToTheNext) {
  for (const std::uint64_t size : {std::uint64_t{1}, kMebibyte - 1, kMebibyte, kMebibyte + 1,
                                   3 * kMebibyte, 3 * kMebibyte + 12345}) {
    SCOPED_TRACE(size);
    const std::string content = random_content(size);
    HashMarks marks;

    mark(marks, content);

    EXPECT_TRUE(marks.is_complete());
    EXPECT_EQ(marks.bytes(), size);
    EXPECT_TRUE(all_match(marks, content));
  }
}

TEST(HashMarks, AreTheSameWhateverTheBlocksOfTheSource) {
  const std::string content = random_content(3 * kMebibyte + 777);
  for (const std::uint64_t length : {std::uint64_t{65537}, 2 * kMebibyte, 5 * kMebibyte}) {
    SCOPED_TRACE(length);
    HashMarks marks;

    mark(marks, content, length);

    EXPECT_EQ(marks.bytes(), content.size());
    EXPECT_TRUE(all_match(marks, content));
  }
}

TEST(HashMarks, CountBytesThatCameTwiceOnce) {
  const std::string content = random_content(kMebibyte + 5000);
  HashMarks marks;
  md5_state_s md5;
  BlockHasher hasher(md5, &marks);

  hasher.work({bytes_of(content), 0, 5000, 0});
  hasher.work({bytes_of(content) + 4096, 4096, content.size() - 4096, 904});
  hasher.finish();

  EXPECT_EQ(marks.bytes(), content.size());
  EXPECT_TRUE(all_match(marks, content));
}

// MD5 counts bits, in two words.
TEST(HashMarks, MatchBehindHalfAGibibyte) {
  const std::string block = random_content(kMebibyte);
  const std::uint64_t blocks = 513;
  HashMarks marks;
  md5_state_s md5;
  BlockHasher hasher(md5, &marks);
  for (std::uint64_t i = 0; i < blocks; ++i) {
    hasher.work({bytes_of(block), i * kMebibyte, kMebibyte, 0});
  }
  hasher.work({bytes_of(block), blocks * kMebibyte, 100, 0});
  hasher.finish();

  EXPECT_TRUE(marks.match(bytes_of(block), blocks * kMebibyte, 100));
  EXPECT_TRUE(marks.match(bytes_of(block), (blocks - 1) * kMebibyte, kMebibyte));
  EXPECT_FALSE(marks.match(bytes_of(block), blocks * kMebibyte, 99));
}

TEST(HashMarks, NoticeAByteThatDiffersAndNoneThatDoesNot) {
  const std::string content = random_content(2 * kMebibyte + 100);
  HashMarks marks;
  mark(marks, content);
  for (const std::uint64_t at : {std::uint64_t{0}, kMebibyte - 1, kMebibyte, 2 * kMebibyte - 1,
                                 2 * kMebibyte, 2 * kMebibyte + 99}) {
    SCOPED_TRACE(at);
    std::string copy = content;
    copy[at] = static_cast<char>(copy[at] ^ 1);

    for (const std::uint64_t start : {std::uint64_t{0}, kMebibyte, 2 * kMebibyte}) {
      const std::uint64_t length = std::min(kMebibyte, copy.size() - start);
      EXPECT_EQ(match(marks, copy, start, length), at < start || at >= start + length);
    }
  }
}

TEST(HashMarks, RefuseWhatLiesNotBetweenTwoOfThem) {
  const std::string content = random_content(2 * kMebibyte + 100);
  HashMarks marks;
  mark(marks, content);

  EXPECT_FALSE(match(marks, content, 0, kMebibyte - 1));
  EXPECT_FALSE(match(marks, content, 0, 2 * kMebibyte));
  EXPECT_FALSE(match(marks, content, 0, content.size()));
  EXPECT_FALSE(match(marks, content, 64, kMebibyte));
  EXPECT_FALSE(match(marks, content, 2 * kMebibyte, 99));
  EXPECT_FALSE(match(marks, content, 2 * kMebibyte + 64, 36));
}

TEST(HashMarks, RefuseWhatLiesBehindTheSource) {
  const std::string content = random_content(3 * kMebibyte);
  HashMarks marks;
  mark(marks, content.substr(0, 2 * kMebibyte));

  EXPECT_FALSE(match(marks, content, 2 * kMebibyte, kMebibyte));
  EXPECT_FALSE(match(marks, content, 2 * kMebibyte, 1));

  HashMarks shorter;
  mark(shorter, content.substr(0, kMebibyte + 100));
  EXPECT_FALSE(match(shorter, content, kMebibyte, 101));
  EXPECT_FALSE(match(shorter, content, kMebibyte, kMebibyte));
}

TEST(HashMarks, AreNotCompleteBeforeTheEnd) {
  HashMarks marks;
  EXPECT_FALSE(marks.is_complete());

  marks.add({});
  EXPECT_FALSE(marks.is_complete());

  marks.end({}, kMebibyte);
  EXPECT_TRUE(marks.is_complete());
}

TEST(HashMarks, AreCompleteForAnEmptySource) {
  HashMarks marks;

  mark(marks, "");

  EXPECT_TRUE(marks.is_complete());
  EXPECT_EQ(marks.bytes(), 0U);
}

}  // namespace
}  // namespace orsin
