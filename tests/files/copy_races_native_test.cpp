// What others do to the destination between two steps of a copy.
#include <gtest/gtest.h>

#include <string>

#include "files/file_system_port.h"
#include "orsincore/files.h"
#include "tests/files/backslash_path.h"
#include "tests/files/copy_calls.h"
#include "tests/files/io_start.h"
#include "tests/platform/native/fake_paths.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::below;
using test::CopyCall;
using test::Lines;
using test::TemporaryDirectory;

class CopyRaces : public testing::Test {
 protected:
  CopyRaces() {
    directory_.write("one.bin", "one");
    directory_.write("two.bin", "two");
  }
  ~CopyRaces() override { test::after_missing() = nullptr; }

  CopyCall call(const char* source, const char* destination) {
    return {.source = below(directory_, source), .destinations = {below(directory_, destination)}};
  }
  void make_directory(const char* name) {
    EXPECT_EQ(file_create_directory(below(directory_, name).c_str(), true) >= 0, true);
  }

  TemporaryDirectory directory_;
  test::IoStart io_;
  test::LogCapture log_;
};

TEST_F(CopyRaces, FindTheDirectoryMadeByAnother) {
  for (const char* made : {"new", "new2\\deep", "new3"}) {
    SCOPED_TRACE(made);
    test::after_missing() = [&] { make_directory(made); };
    CopyCall copy = call("one.bin", (std::string(made) + "\\copy.bin").c_str());

    EXPECT_EQ(copy.run(), 0);
  }
}

TEST_F(CopyRaces, FindThePartOfADirectoryMadeByAnother) {
  test::after_missing() = [&] { make_directory("a\\b"); };
  CopyCall copy = call("one.bin", "a\\b\\c\\copy.bin");

  EXPECT_EQ(copy.run(), 0);

  EXPECT_EQ(TemporaryDirectory::read(directory_.path("a/b/c/copy.bin")), "one");
}

TEST_F(CopyRaces, GoOnBelowAPartMadeByAnother) {
  test::after_missing() = [&] { make_directory("a\\b"); };  // That is not there, nor "a".

  EXPECT_EQ(file_create_directory(below(directory_, "a\\b\\c").c_str(), true), 1);

  EXPECT_EQ(file_is_directory(below(directory_, "a\\b\\c").c_str()), 1);
}

TEST_F(CopyRaces, EnsureADirectoryMadeByAnother) {
  test::after_missing() = [&] { make_directory("new"); };
  char out[260];

  EXPECT_EQ(file_ensure_directory(below(directory_, "new").c_str(), nullptr, out), out);

  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(CopyRaces, ToOneNewNameHaveOneWinner) {
  int other = -1;
  test::after_missing() = [&] {
    CopyCall copy = call("two.bin", "copy.bin");
    copy.overwrite = false;
    other = copy.run();
  };
  CopyCall copy = call("one.bin", "copy.bin");
  copy.overwrite = false;

  EXPECT_EQ(copy.run(), -7);

  EXPECT_EQ(other, 0);
  EXPECT_EQ(log_.lines(), Lines{"ERROR: File Copy: destination file already exists!"});
  EXPECT_EQ(TemporaryDirectory::read(directory_.path("copy.bin")), "two");
}

TEST_F(CopyRaces, ToOneNewNameHaveOneWinnerWithWritersOfTheCaller) {
  test::after_missing() = [&] { directory_.write("copy.bin", "two"); };
  fWriteBuffer writer(io_invalid_handle(), true);
  CopyCall copy = call("one.bin", "copy.bin");
  copy.overwrite = false;
  copy.writers = {&writer};

  EXPECT_EQ(copy.run(), -7);

  EXPECT_EQ(TemporaryDirectory::read(directory_.path("copy.bin")), "two");
}

// A writer that clears the mark before it opens the file.
class ClearingWriter : public fWriteBuffer {
 public:
  ClearingWriter() : fWriteBuffer(io_invalid_handle(), true) {}

  bool open_file(const char* name, long long initial_size, bool unbuffered) override {
    EXPECT_TRUE(port::write_attributes(name, 0));
    return fWriteBuffer::open_file(name, initial_size, unbuffered);
  }
  int error() override { return -1; }  // No count of failures.
};

TEST(CopiesOverReadOnlyFiles, AskTheCallersWriter) {
  const TemporaryDirectory directory;
  const test::IoStart io;
  directory.write("one.bin", "one");
  directory.write("copy.bin", "longer than that");
  const std::string destination = below(directory, "copy.bin");
  ASSERT_TRUE(port::write_attributes(destination.c_str(), port::kReadOnly));
  ClearingWriter writer;
  CopyCall copy{
      .source = below(directory, "one.bin"), .destinations = {destination}, .writers = {&writer}};

  EXPECT_EQ(copy.run(), 0);

  EXPECT_EQ(TemporaryDirectory::read(directory.path("copy.bin")), "one");
}

}  // namespace
}  // namespace orsin
