#include "text/whole_file.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/temporary_directory.h"

namespace orsin {
namespace {

TEST(WholeFile, HoldsEveryByteAndNoMore) {
  const test::TemporaryDirectory directory;
  constexpr std::size_t kStepBytes = 64 * 1024;
  for (const std::size_t size : {std::size_t{0}, std::size_t{1}, kStepBytes - 1, kStepBytes,
                                 kStepBytes + 1, 3 * kStepBytes + 5}) {
    SCOPED_TRACE(size);
    std::string content(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
      content[i] = static_cast<char>(i * 7 + i / 251);
    }
    const std::string path = directory.write("file", content);

    const auto bytes = read_whole_file(path.c_str());

    ASSERT_TRUE(bytes.has_value());
    EXPECT_TRUE(std::string(bytes->begin(), bytes->end()) == content) << bytes->size();
  }
}

TEST(WholeFile, IsNothingWhereThereIsNone) {
  const test::TemporaryDirectory directory;

  EXPECT_FALSE(read_whole_file(directory.path("none").c_str()).has_value());
}

}  // namespace
}  // namespace orsin
