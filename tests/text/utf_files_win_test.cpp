#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "orsincore/text.h"
#include "tests/support/temporary_directory.h"

namespace orsin {
namespace {

TEST(Utf8FileNames, OpenFilesOutsideAscii) {
  const test::TemporaryDirectory directory;
  const std::string path = directory.path(
      "D\xC3\xBC"
      "bl\xC3\xA9 \xD0\x94.txt");

  std::FILE* file = ov_utf8_fopen(path.c_str(), "wb");
  ASSERT_NE(file, nullptr);
  std::fputs("text", file);
  std::fclose(file);

  EXPECT_EQ(test::TemporaryDirectory::read(path), "text");
}

TEST(Utf8FileNames, GiveNullForAMissingFile) {
  const test::TemporaryDirectory directory;
  EXPECT_EQ(ov_utf8_fopen(directory.path("missing").c_str(), "rb"), nullptr);
}

TEST(Utf8FileNames, ReopenAStream) {
  const test::TemporaryDirectory directory;
  const std::string first = directory.path("first");
  const std::string second = directory.path("second");
  std::FILE* file = ov_utf8_fopen(first.c_str(), "wb");
  ASSERT_NE(file, nullptr);

  std::FILE* again = ov_utf8_freopen(second.c_str(), "wb", file);
  ASSERT_NE(again, nullptr);
  std::fputs("two", again);
  std::fclose(again);

  EXPECT_EQ(test::TemporaryDirectory::read(second), "two");
}

}  // namespace
}  // namespace orsin
