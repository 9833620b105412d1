#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "orsincore/files.h"

namespace orsin {
namespace {

TEST(ValidFilename, ReplacesWhatFileNamesShouldNotHold) {
  char out[64];

  EXPECT_EQ(ov_copy_valid_filename(out, "a:b*c~d", sizeof(out)), 7);
  EXPECT_STREQ(out, "a_b*c_d");
  EXPECT_EQ(ov_copy_valid_filename(out, "?~<>:\"/\\|", sizeof(out)), 9);
  EXPECT_STREQ(out, "_________");
}

TEST(ValidFilename, KeepsByte31AndTheAsterisk) {
  for (int byte = 1; byte < 256; ++byte) {
    SCOPED_TRACE(byte);
    const char name[] = {static_cast<char>(byte), '\0'};
    char out[2];
    const bool replaced = byte <= 30 || std::strchr("?~<>:\"/\\|", byte) != nullptr;

    EXPECT_EQ(ov_copy_valid_filename(out, name, 2), 1);

    EXPECT_EQ(out[0], replaced ? '_' : name[0]);
  }
}

TEST(ValidFilename, EndsInsideItsBuffer) {
  char out[8] = "xxxxxxx";

  EXPECT_EQ(ov_copy_valid_filename(out, "abcdef", 4), 4);  // Four taken, the last one given up.
  EXPECT_STREQ(out, "abc");
  EXPECT_EQ(out[4], 'x');

  EXPECT_EQ(ov_copy_valid_filename(out, "abcd", 4), 4);
  EXPECT_STREQ(out, "abc");

  EXPECT_EQ(ov_copy_valid_filename(out, "abc", 4), 3);
  EXPECT_STREQ(out, "abc");

  EXPECT_EQ(ov_copy_valid_filename(out, "abc", 1), 1);
  EXPECT_STREQ(out, "");
}

TEST(ValidFilename, HasNoBoundWithoutASize) {
  char out[16];

  EXPECT_EQ(ov_copy_valid_filename(out, "a:b", 0), 3);
  EXPECT_STREQ(out, "a_b");
  EXPECT_EQ(ov_copy_valid_filename(out, "c:d", -1), 3);
  EXPECT_STREQ(out, "c_d");
}

TEST(ValidFilename, IsEmptyWithoutAName) {
  char out[4] = "xxx";

  EXPECT_EQ(ov_copy_valid_filename(out, nullptr, 4), 0);
  EXPECT_STREQ(out, "");
  out[0] = 'x';
  EXPECT_EQ(ov_copy_valid_filename(out, "", 4), 0);
  EXPECT_STREQ(out, "");
}

}  // namespace
}  // namespace orsin
