#include <gtest/gtest.h>

#include <algorithm>
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

TEST(Utf8FileNames, GiveNullForNull) {
  EXPECT_EQ(ov_utf8_fopen(nullptr, "rb"), nullptr);
  EXPECT_EQ(ov_utf8_fopen("name", nullptr), nullptr);
  EXPECT_EQ(ov_utf8_freopen("name", "rb", nullptr), nullptr);
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

// A file whose path has as many units as the library's own paths may have, and a path that continues
// its name: by the prefix both reach the system as they are.
class LongFileNames : public testing::Test {
 protected:
  static constexpr std::size_t kUnits = 259;

  LongFileNames() : at_limit_("\\\\?\\" + directory_.path("n")) {
    std::replace(at_limit_.begin(), at_limit_.end(), '/', '\\');
    at_limit_.resize(kUnits, 'n');
    std::FILE* file = ov_utf8_fopen(at_limit_.c_str(), "wb");
    EXPECT_NE(file, nullptr);
    if (file != nullptr) {
      std::fputs("at the limit", file);
      std::fclose(file);
    }
    beyond_ = at_limit_ + "bb";
  }

  test::TemporaryDirectory directory_;
  std::string at_limit_;
  std::string beyond_;
};

TEST_F(LongFileNames, KeepsCuttingThem) {
  std::FILE* file = ov_utf8_fopen(beyond_.c_str(), "rb");
  ASSERT_NE(file, nullptr);
  char text[32] = {};
  EXPECT_EQ(std::fread(text, 1, sizeof(text), file), 12U);
  EXPECT_STREQ(text, "at the limit");

  std::FILE* again = ov_utf8_freopen(beyond_.c_str(), "ab", file);
  ASSERT_NE(again, nullptr);
  std::fputs(" again", again);
  std::fclose(again);
  EXPECT_EQ(test::TemporaryDirectory::read(at_limit_), "at the limit again");
}

}  // namespace
}  // namespace orsin
