// Paths of 259 bytes work, longer ones are refused: cut, they would name another file.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>

#include "orsincore/files.h"
#include "orsincore/text.h"
#include "tests/files/backslash_path.h"
#include "tests/files/copy_calls.h"
#include "tests/files/io_start.h"
#include "tests/files/known_drive.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::below;
using test::CopyCall;
using test::Lines;
using test::TemporaryDirectory;

constexpr std::size_t kLongest = 259;

class LongPath : public testing::Test {
 protected:
  LongPath() {
    // A directory of 200 bytes leaves names of 58 and 59 bytes.
    const std::size_t room = 200 - below(directory_, "").size();
    names_ = std::string(room / 2, 'd') + "\\" + std::string(room - room / 2 - 1, 'd');
    EXPECT_EQ(file_create_directory(below(directory_, names_).c_str(), true), 1);
    longest_ = path_of(kLongest);
    too_long_ = longest_ + "x";  // Cut to 259 bytes it is the other one.
  }

  std::string path_of(std::size_t length) const {
    std::string path = below(directory_, names_) + "\\";
    return path + std::string(length - path.size(), 'n');
  }

  // The test's own files go through the standard library.
  void write(const std::string& path, std::string_view content) const {
    directory_.write(slashed(path), content);
  }
  std::string read(const std::string& path) const {
    return TemporaryDirectory::read(directory_.path(slashed(path)));
  }
  std::string slashed(const std::string& path) const {
    std::string name = path.substr(below(directory_, "").size());
    std::replace(name.begin(), name.end(), '\\', '/');
    return name;
  }

  int copy(const std::string& source, const std::string& destination, bool overwrite = true) {
    CopyCall call{.source = source, .destinations = {destination}, .overwrite = overwrite};
    return call.run();
  }
  int copy_secure(const std::string& source, const std::string& destination) {
    unsigned long long bytes = 0;
    md5_state_s md5;
    return file_copy_secure(source.c_str(), destination.c_str(), true, bytes, md5, 3, nullptr,
                            nullptr);
  }

  TemporaryDirectory directory_;
  std::string names_;
  std::string longest_;
  std::string too_long_;
  test::IoStart io_;
  test::KnownDrive known_drive_{directory_.path()};
  test::LogCapture log_;
};

TEST_F(LongPath, Of259BytesIsCopiedFromAndTo) {
  write(longest_, "content");
  const std::string copy_path = below(directory_, "copy.bin");

  EXPECT_EQ(copy(longest_, copy_path), 0);
  EXPECT_EQ(file_delete(longest_.c_str()), 0);
  EXPECT_EQ(copy(copy_path, longest_), 0);
  EXPECT_EQ(copy_secure(copy_path, longest_), 0);

  EXPECT_EQ(read(longest_), "content");
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(LongPath, Of260BytesIsNoSource) {
  write(longest_, "another file");

  EXPECT_EQ(copy(too_long_, below(directory_, "copy.bin")), -1);
  EXPECT_EQ(log_.lines(), Lines{"ERROR: File Copy: failed to open '" + too_long_ + "'"});
  EXPECT_EQ(copy_secure(too_long_, below(directory_, "copy.bin")), -2);
  EXPECT_EQ(get_error_file_copy_secure(-2, false),
            "File Copy: failed to open '" + too_long_ + "'\n");

  EXPECT_EQ(file_exists(below(directory_, "copy.bin").c_str()), 0);
}

TEST_F(LongPath, Of260BytesIsNoDestination) {
  write(longest_, "another file");
  directory_.write("source.bin", "content");
  const std::string source = below(directory_, "source.bin");

  for (const bool overwrite : {false, true}) {
    SCOPED_TRACE(overwrite);
    EXPECT_EQ(copy(source, too_long_, overwrite), -2);
    EXPECT_EQ(log_.last_line(), "ERROR: File Copy: failed to create '" + too_long_ + "'");
  }
  EXPECT_EQ(copy_secure(source, too_long_), -2);

  EXPECT_EQ(read(longest_), "another file");
}

TEST_F(LongPath, Of260BytesIsNoFileToTheUtilities) {
  write(longest_, "another file");
  const std::string other = below(directory_, "other.bin");
  directory_.write("other.bin", "other");

  EXPECT_EQ(file_exists(longest_.c_str()), 1);
  EXPECT_EQ(file_exists(too_long_.c_str()), 0);
  EXPECT_EQ(file_size(longest_.c_str()), 12);
  EXPECT_EQ(file_size(too_long_.c_str()), 0);
  EXPECT_FALSE(file_set_modified_ts(too_long_.c_str(), 1000));
  EXPECT_EQ(file_get_modified_ts(too_long_.c_str()), 0U);
  EXPECT_EQ(file_delete(too_long_.c_str()), -1);
  EXPECT_EQ(file_delete_directory(too_long_.c_str(), true), -1);
  EXPECT_EQ(file_move(too_long_.c_str(), below(directory_, "moved").c_str(), true), -11);
  EXPECT_EQ(file_move(other.c_str(), too_long_.c_str(), true), -11);
  EXPECT_EQ(file_create_directory(path_of(260).c_str(), true), -1);

  EXPECT_EQ(read(longest_), "another file");
  EXPECT_EQ(TemporaryDirectory::read(directory_.path("other.bin")), "other");
}

TEST_F(LongPath, MovesTo259Bytes) {
  directory_.write("other.bin", "other");

  EXPECT_EQ(file_move(below(directory_, "other.bin").c_str(), longest_.c_str(), false), 0);

  EXPECT_EQ(read(longest_), "other");
}

TEST_F(LongPath, LeavesAFileWhoseBackupHasNoRoomForItsNumber) {
  std::string path = longest_;
  path.back() = '.';  // All its numbered names are cut to its own.
  write(path, "now");

  EXPECT_EQ(file_backup(path.c_str(), 2), 2);

  EXPECT_EQ(read(path), "now");
  EXPECT_EQ(log_.last_line(), "     : File: '" + path + "'");
}

TEST_F(LongPath, OfATreeEndsTheCopy) {
  directory_.write("tree/" + std::string(100, 'f'), "content");
  unsigned long long bytes = 0;

  EXPECT_EQ(ov_filecopy(below(directory_, "tree").c_str(), below(directory_, names_).c_str(), true,
                        bytes),
            -1);
}

}  // namespace
}  // namespace orsin
