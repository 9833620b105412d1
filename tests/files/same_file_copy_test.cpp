// A destination that is the source under another name: nothing is lost. What names the same file is for the
// system to say.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/wide_path_win.h"
#include "base/win/windows.h"
#include "files/file_system_port.h"
#include "orsincore/files.h"
#include "orsincore/text.h"
#include "tests/files/backslash_path.h"
#include "tests/files/copy_calls.h"
#include "tests/files/io_start.h"
#include "tests/files/known_drive.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::backslashed;
using test::below;
using test::copy_file;
using test::copy_secure;
using test::Lines;
using test::random_content;
using test::TemporaryDirectory;

bool is_there(const std::string& path) {
  return file_exists(path.c_str()) != 0;
}

class SameFileCopy : public testing::Test {
 protected:
  SameFileCopy() { directory_.write("media/Long source name.bin", content_); }

  std::string source() const { return below(directory_, "media\\Long source name.bin"); }
  std::string read_source() const {
    return TemporaryDirectory::read(directory_.path("media/Long source name.bin"));
  }

  // Other spellings of the source's path that the system takes for the same file.
  std::vector<std::string> spellings() const {
    const std::string root = backslashed(directory_);
    std::vector<std::string> others = {
        root + "\\MEDIA\\LONG SOURCE NAME.BIN",
        root + "\\media\\..\\media\\Long source name.bin",
        root + "\\media\\.\\Long source name.bin",
        root + "\\media\\\\Long source name.bin",
        root + "\\media/Long source name.bin",
        "\\\\?\\" + source(),
    };
    wchar_t wide[260];
    if (GetShortPathNameW(WidePath(source().c_str()), wide, 260) != 0) {
      char narrow[260];
      ov_wchar_to_utf8(wide, narrow, sizeof(narrow));
      if (narrow != source()) {
        others.emplace_back(narrow);
      }
    }
    return others;
  }

  const std::string content_ = random_content(300000);
  TemporaryDirectory directory_;
  test::IoStart io_;
  test::KnownDrive known_drive_{directory_.path()};
  test::LogCapture log_;
};

TEST_F(SameFileCopy, IsRefusedUnderAnySpellingOfTheName) {
  for (const std::string& other : spellings()) {
    SCOPED_TRACE(other);
    ASSERT_TRUE(is_there(other));

    EXPECT_EQ(copy_file(source(), {other}), -2);
    EXPECT_EQ(log_.last_line(), "ERROR: File Copy: failed to create '" + other + "'");
    EXPECT_EQ(copy_file(source(), {other}, false), -7);
    EXPECT_EQ(copy_secure(source(), other), -2);
    EXPECT_EQ(get_error_file_copy_secure(-2, false),
              "File Copy: failed to open '" + source() + "'\n");

    EXPECT_TRUE(read_source() == content_);
  }
}

TEST_F(SameFileCopy, IsRefusedByTreeCopiesToo) {
  unsigned long long bytes = 0;
  const std::string upper = below(directory_, "MEDIA");

  EXPECT_EQ(ov_filecopy(below(directory_, "media").c_str(), upper.c_str(), true, bytes), -1);
  EXPECT_EQ(ov_filecopy(source().c_str(), upper.c_str(), true, bytes), -2);

  EXPECT_TRUE(read_source() == content_);
}

TEST_F(SameFileCopy, MovesAFileOntoItselfWithoutLosingIt) {
  for (const std::string& other : spellings()) {
    SCOPED_TRACE(other);

    EXPECT_EQ(file_move(source().c_str(), other.c_str(), false), -7);
    file_move(source().c_str(), other.c_str(), true);

    EXPECT_TRUE(read_source() == content_);
  }
}

TEST_F(SameFileCopy, RefusesTheSameDestinationTwice) {
  const std::string destination = below(directory_, "copy.bin");
  const std::string again = below(directory_, "COPY.BIN");

  EXPECT_EQ(copy_file(source(), {destination, again}), -2);

  EXPECT_EQ(log_.last_line(), "ERROR: File Copy: failed to create '" + again + "'");
  EXPECT_TRUE(read_source() == content_);
}

TEST_F(SameFileCopy, RefusesTheSourceAmongSeveralDestinations) {
  const std::string first = below(directory_, "copy.bin");
  directory_.write("copy.bin", "old");

  EXPECT_EQ(copy_file(source(), {first, below(directory_, "MEDIA\\LONG SOURCE NAME.BIN")}), -2);

  EXPECT_TRUE(read_source() == content_);
  EXPECT_EQ(TemporaryDirectory::read(directory_.path("copy.bin")), "old");
}

TEST_F(SameFileCopy, KeepsNarrowCallsInTreeCopiesSoThatForeignNamesLoseTheirTimes) {
  const std::string name = "\xE6\x97\xA5\xD0\x96.bin";  // In no Windows code page together.
  directory_.write(name, content_);
  const std::string from = below(directory_, name);
  unsigned long long bytes = 0;

  EXPECT_EQ(ov_filecopy(from.c_str(), below(directory_, "copy.bin").c_str(), false, bytes), 0);

  EXPECT_EQ(log_.lines(), (Lines{"WARN : Failed to retrieve the file times: '" + from + "'",
                                 "WARN : Failed to retrieve the file attributes: '" + from + "'"}));
  EXPECT_TRUE(TemporaryDirectory::read(directory_.path("copy.bin")) == content_);
}

TEST_F(SameFileCopy, SaysWhatATreeCopyCouldNotUpdate) {
  const std::string name = "\xE6\x97\xA5\xD0\x96.bin";
  const std::string to = below(directory_, name);
  unsigned long long bytes = 0;

  EXPECT_EQ(ov_filecopy(source().c_str(), to.c_str(), false, bytes), 0);

  const Lines lines = log_.lines();
  ASSERT_EQ(lines.size(), 4U) << log_.text();
  EXPECT_EQ(lines[0], "WARN : Failed to update the file times: '" + to + "'");
  EXPECT_TRUE(lines[1].starts_with("     : Error: '")) << lines[1];
  EXPECT_EQ(lines[2], "WARN : Failed to update the file attributes: '" + to + "'");
  EXPECT_TRUE(lines[3].starts_with("     : Error: '")) << lines[3];
  EXPECT_TRUE(TemporaryDirectory::read(directory_.path(name)) == content_);
}

}  // namespace
}  // namespace orsin
