#include <gtest/gtest.h>

#include "orsincore/files.h"

namespace orsin {
namespace {

TEST(FileExtension, FindsASuffixOfTheLastComponent) {
  struct Case {
    const char* what;
    const char* path;
    const char* ext;
    int expected;  // Offset in the path, -1 for none.
  };
  const Case cases[] = {
      {"with its dot", "C:\\takes\\a.wav", ".wav", 10},
      {"without its dot", "C:\\takes\\a.wav", "wav", 11},
      {"other case", "C:\\takes\\a.WAV", ".wav", 10},
      {"other extension", "C:\\takes\\a.mov", ".wav", -1},
      {"no separator", "a.wav", ".wav", 1},
      {"the whole name", ".wav", ".wav", 0},
      {"longer than the name", "C:\\a.wavelength\\v", "a.wav", -1},
      {"the separator counts", "C:\\a.wav", "\\A.WAV", 2},
      {"more than the separator does not", "C:\\a.wav", ":\\a.wav", -1},
      {"slash is no separator", "C:/a.wav", ":/a.wav", 1},
      {"empty suffix is at the end", "C:\\a.wav", "", 8},
      {"empty path", "", ".wav", -1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);

    const char* found = file_extension(c.path, c.ext);

    EXPECT_EQ(found, c.expected < 0 ? nullptr : c.path + c.expected);
  }
}

TEST(FileExtension, LetsTheCallerCutAPathOfItsOwn) {
  char path[] = "C:\\takes\\a.wav";

  char* found = file_extension(path, ".wav");
  ASSERT_NE(found, nullptr);
  *found = '\0';

  EXPECT_STREQ(path, "C:\\takes\\a");
}

}  // namespace
}  // namespace orsin
