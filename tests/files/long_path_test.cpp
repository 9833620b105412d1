// Paths of 259 bytes work, longer ones are refused: cut, they would name another file.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>

#include "base/log_port.h"
#include "files/directory_identity.h"
#include "files/file_system_port.h"
#include "files/io_port.h"
#include "orsincore/files.h"
#include "orsincore/io.h"
#include "orsincore/log.h"
#include "orsincore/text.h"
#include "tests/files/backslash_path.h"
#include "tests/files/copy_calls.h"
#include "tests/files/io_fixture.h"
#include "tests/files/known_drive.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::below;
using test::copy_file;
using test::copy_secure;
using test::Lines;
using test::OpenFile;
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

  // The system's own words for a name that is too long.
  static std::string too_long_text() {
    port::set_last_system_error(port::kErrorNameTooLong);
    return os_errormsg();
  }
  std::string open_refusal() const {
    return "ERROR: IO open failed '" + too_long_ + "' (" + too_long_text() + ")";
  }
  // A file or a directory of the tree that has no place at the destination.
  std::string too_long_line(const std::string& name) const {
    return "ERROR: FileCopy: The path of '" + name + "' in '" + below(directory_, "tree") +
           "', or of its copy, is too long";
  }
  // After a head line, without which there is no continuation.
  static Lines create_refusal(const std::string& name) {
    return {"INFO : Creating:", "ERROR: IO Create File : '" + too_long_text() + "'",
            "     : File: '" + name + "'"};
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

  EXPECT_EQ(copy_file(longest_, {copy_path}), 0);
  EXPECT_EQ(file_delete(longest_.c_str()), 0);
  EXPECT_EQ(copy_file(copy_path, {longest_}), 0);
  EXPECT_EQ(copy_secure(copy_path, longest_), 0);

  EXPECT_EQ(read(longest_), "content");
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(LongPath, Of260BytesIsNoSource) {
  write(longest_, "another file");

  EXPECT_EQ(copy_file(too_long_, {below(directory_, "copy.bin")}), -1);
  EXPECT_EQ(log_.lines(),
            (Lines{open_refusal(), "ERROR: File Copy: failed to open '" + too_long_ + "'"}));
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
    EXPECT_EQ(copy_file(source, {too_long_}, overwrite), -2);
    EXPECT_EQ(log_.last_line(), "ERROR: File Copy: failed to create '" + too_long_ + "'");
  }
  EXPECT_EQ(copy_secure(source, too_long_), -2);

  EXPECT_EQ(read(longest_), "another file");
}

TEST_F(LongPath, Of259BytesIsCreatedAndOpened) {
  for (const bool write_only : {true, false}) {
    SCOPED_TRACE(write_only);
    const OpenFile created(io_create64(longest_.c_str(), write_only, 0));
    EXPECT_TRUE(created.is_open());
  }
  write(longest_, "content");

  for (const int mode : {0, 1, 2}) {
    SCOPED_TRACE(mode);
    const OpenFile opened(io_open64(longest_.c_str(), mode, false, false, true));
    EXPECT_TRUE(opened.is_open());
    EXPECT_EQ(io_get_filesize64(opened.get(), longest_.c_str()), 7);
  }
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(LongPath, Of260BytesIsNotOpened) {
  write(longest_, "another file");

  for (const int mode : {0, 1, 2}) {
    SCOPED_TRACE(mode);
    const OpenFile file(io_open64(too_long_.c_str(), mode, false, false, true));
    EXPECT_FALSE(file.is_open());
    EXPECT_EQ(log_.last_line(), open_refusal());
  }
  EXPECT_EQ(log_.lines().size(), 3U);
}

TEST_F(LongPath, Of260BytesIsNotCreated) {
  msginfo("Creating:");
  const OpenFile cached(io_create64(too_long_.c_str(), true, 1000));
  EXPECT_FALSE(cached.is_open());
  EXPECT_EQ(log_.lines(), create_refusal(too_long_));
  EXPECT_EQ(file_exists(longest_.c_str()), 0);

  write(longest_, "another file");
  const OpenFile unbuffered(io_create64(too_long_.c_str(), false, 1000));
  EXPECT_FALSE(unbuffered.is_open());
  EXPECT_EQ(log_.lines().size(), 5U);
  EXPECT_EQ(read(longest_), "another file");
}

TEST_F(LongPath, IsMeasuredInBytesNotInCharacters) {
  const std::string fits = path_of(257) + "\xC3\xA9";
  const std::string too_long = path_of(252) + "\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9";

  msginfo("Creating:");
  const OpenFile file(io_create64(fits.c_str(), true, 0));
  EXPECT_TRUE(file.is_open());

  const OpenFile refused(io_create64(too_long.c_str(), true, 0));
  EXPECT_FALSE(refused.is_open());
  EXPECT_EQ(log_.lines(), create_refusal(too_long));
}

TEST_F(LongPath, Of260BytesIsNoFileToTheStreams) {
  write(longest_, "another file");
  fReadBuffer reader;
  fWriteBuffer writer(io_invalid_handle(), false);

  EXPECT_FALSE(reader.open_file(too_long_.c_str(), true, false, false));
  EXPECT_TRUE(reader.get_errors());
  EXPECT_FALSE(writer.open_file(too_long_.c_str(), 0, false));

  EXPECT_TRUE(reader.open_file(longest_.c_str(), true, false, false));
  EXPECT_EQ(reader.name(), longest_);
  reader.close_file();
  EXPECT_TRUE(writer.open_file(longest_.c_str(), 0, false));
  EXPECT_EQ(writer.name(), longest_);
  EXPECT_EQ(writer.write_file("new", 1, 3), 3U);
  EXPECT_EQ(writer.close_file(true), 1);
  EXPECT_EQ(read(longest_), "new");
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
  EXPECT_TRUE(file_in_use(too_long_.c_str()));
  EXPECT_EQ(file_backup(too_long_.c_str(), 2), 0);
  EXPECT_EQ(ov_open(too_long_.c_str(), "rb"), nullptr);

  EXPECT_EQ(read(longest_), "another file");
  EXPECT_EQ(TemporaryDirectory::read(directory_.path("other.bin")), "other");
}

TEST_F(LongPath, Of260BytesIsNotHiddenLikeAnotherFile) {
  write(longest_, "hidden");
  ASSERT_TRUE(port::write_attributes(longest_.c_str(), port::kHidden));
  const std::string directory = longest_.substr(0, longest_.rfind('\\'));
  const std::string name = longest_.substr(directory.size() + 1);
  EXPECT_EQ(file_is_hidden(longest_.c_str(), nullptr), 1);
  EXPECT_EQ(file_is_hidden(directory.c_str(), name.c_str()), 1);

  EXPECT_EQ(file_is_hidden(too_long_.c_str(), nullptr), 0);
  EXPECT_EQ(file_is_hidden(directory.c_str(), (name + "x").c_str()), 0);
}

TEST_F(LongPath, MovesTo259Bytes) {
  directory_.write("other.bin", "other");

  EXPECT_EQ(file_move(below(directory_, "other.bin").c_str(), longest_.c_str(), false), 0);

  EXPECT_EQ(read(longest_), "other");
}

// Cut, the directory would be another one, and made.
TEST_F(LongPath, MovesNothingIntoADirectoryOf260Bytes) {
  directory_.write("other.bin", "other");
  const std::string there = path_of(260) + "\\there.bin";

  EXPECT_EQ(file_move(below(directory_, "other.bin").c_str(), there.c_str(), false), -4);

  EXPECT_EQ(file_is_directory(longest_.c_str()), 0);
  EXPECT_EQ(TemporaryDirectory::read(directory_.path("other.bin")), "other");
}

TEST_F(LongPath, LeavesAFileWhoseBackupHasNoRoomForItsNumber) {
  std::string path = longest_;
  path.back() = '.';  // All its numbered names are cut to its own.
  write(path, "now");

  EXPECT_EQ(file_backup(path.c_str(), 2), 2);

  EXPECT_EQ(read(path), "now");
  EXPECT_EQ(log_.last_line(), "     : File: '" + path + "'");
}

TEST_F(LongPath, OfADirectoryInATreeEndsTheCopy) {
  const std::string name(100, 'd');
  directory_.write("tree/" + name + "/f", "content");
  unsigned long long bytes = 0;

  EXPECT_EQ(ov_filecopy(below(directory_, "tree").c_str(), below(directory_, names_).c_str(), true,
                        bytes),
            -1);

  EXPECT_EQ(log_.last_line(), too_long_line(name));
}

TEST_F(LongPath, OfAFileInTheDirectoryItGoesToIsNotMade) {
  const std::string name(100, 'f');
  directory_.write(name, "content");
  unsigned long long bytes = 0;

  EXPECT_EQ(
      ov_filecopy(below(directory_, name).c_str(), below(directory_, names_).c_str(), false, bytes),
      -2);
}

TEST_F(LongPath, IsNoLink) {
  EXPECT_FALSE(is_directory_link(too_long_.c_str()));
}

TEST_F(LongPath, OfATreeEndsTheCopy) {
  const std::string name(100, 'f');
  directory_.write("tree/" + name, "content");
  unsigned long long bytes = 0;

  EXPECT_EQ(ov_filecopy(below(directory_, "tree").c_str(), below(directory_, names_).c_str(), true,
                        bytes),
            -1);

  EXPECT_EQ(log_.last_line(), too_long_line(name));
}

}  // namespace
}  // namespace orsin
