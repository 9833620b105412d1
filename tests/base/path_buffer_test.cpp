#include "base/path_buffer.h"

#include <gtest/gtest.h>

#include <string>

namespace orsin {
namespace {

std::string of_length(std::size_t length) {
  return std::string(length, 'p');
}

TEST(PathBuffer, TakesWholeWhatFitsWithItsTerminator) {
  const std::string longest = of_length(kPathBytes - 1);
  const std::string longer = longest + "q";

  EXPECT_EQ(PathBuffer(longest).view(), longest);
  EXPECT_EQ(PathBuffer(longer).view(), longest);
  EXPECT_EQ(PathBuffer(longer).c_str(), longest);
}

TEST(PathBuffer, HoldsATerminatedTextWhateverItHeldBefore) {
  PathBuffer path("C:\\takes\\one");

  path.cut_assign("D:");
  EXPECT_STREQ(path.c_str(), "D:");

  path.truncate(1);
  EXPECT_STREQ(path.c_str(), "D");
}

TEST(PathBuffer, AppendsAllOrNothing) {
  PathBuffer path(of_length(kPathBytes - 3));

  EXPECT_FALSE(path.append("abc"));
  EXPECT_EQ(path.length(), kPathBytes - 3);
  EXPECT_TRUE(path.append("ab"));
  EXPECT_EQ(path.view(), of_length(kPathBytes - 3) + "ab");
  EXPECT_FALSE(path.append("c"));
}

TEST(PathBuffer, OfNothingEndsInNoSeparator) {
  PathBuffer path;
  EXPECT_FALSE(path.ends_in_separator());

  EXPECT_TRUE(path.append_separator());
  EXPECT_TRUE(path.append_separator());
  EXPECT_STREQ(path.c_str(), "\\");
}

TEST(PathBuffer, EndsInASeparatorOfEitherKind) {
  for (const char* path : {"\\", "/", "C:\\takes\\", "C:/takes/"}) {
    EXPECT_TRUE(PathBuffer(path).ends_in_separator()) << path;
  }
  for (const char* path : {"a", "\\a", "/a", "C:\\takes", "C:/takes"}) {
    EXPECT_FALSE(PathBuffer(path).ends_in_separator()) << path;
  }
}

TEST(JoinedPath, IsRefusedWhereItDoesNotFit) {
  PathBuffer path;

  EXPECT_TRUE(join_path(path, of_length(kPathBytes - 3), "n"));
  EXPECT_EQ(path.view(), of_length(kPathBytes - 3) + "\\n");
  EXPECT_FALSE(join_path(path, of_length(kPathBytes - 3), "nn"));
  EXPECT_FALSE(join_path(path, of_length(kPathBytes), ""));
  EXPECT_FALSE(join_path(path, of_length(kPathBytes + 1), ""));
}

}  // namespace
}  // namespace orsin
