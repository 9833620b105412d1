#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "orsincore/files.h"
#include "orsincore/io.h"
#include "orsincore/text.h"
#include "tests/files/altering_writer.h"
#include "tests/files/backslash_path.h"
#include "tests/files/copy_calls.h"
#include "tests/files/failing_writer.h"
#include "tests/files/io_start.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::below;
using test::Lines;
using test::random_content;
using test::TemporaryDirectory;

constexpr unsigned kMd5 = 1;
constexpr unsigned kVerify = 2;
constexpr unsigned kMd5AndVerify = 3;

md5_state_s digest_of(const std::string& content) {
  md5_state_s state;
  unsigned char digest[16];
  ov_md5_init(&state);
  ov_md5_append(&state, reinterpret_cast<const unsigned char*>(content.data()),
                static_cast<int>(content.size()));
  ov_md5_finish(&state, digest);
  return state;
}

bool same_digest(const md5_state_s& a, const md5_state_s& b) {
  return std::memcmp(a.abcd, b.abcd, sizeof(a.abcd)) == 0;
}

class SecureCopy : public testing::Test {
 protected:
  int copy(const std::string& source, const std::string& destination, unsigned flags,
           fWriteBuffer* writer = nullptr) {
    return file_copy_secure(source.c_str(), destination.c_str(), false, bytes_, md5_, flags,
                            nullptr, writer);
  }

  TemporaryDirectory directory_;
  test::IoStart io_;
  test::LogCapture log_{0};
  unsigned long long bytes_ = 0;
  md5_state_s md5_ = {};
};

TEST_F(SecureCopy, HashesAndVerifiesFilesOfEverySize) {
  const std::size_t sizes[] = {0, 1, 4096, 1048577, 4194303, 4194304, 9000001, 20000000};
  for (const std::size_t size : sizes) {
    SCOPED_TRACE(size);
    const std::string content = random_content(size);
    directory_.write("source.bin", content);
    bytes_ = 0;

    EXPECT_EQ(
        copy(below(directory_, "source.bin"), below(directory_, "out\\copy.bin"), kMd5AndVerify),
        0);

    EXPECT_EQ(bytes_, size);
    EXPECT_TRUE(same_digest(md5_, digest_of(content)));
    EXPECT_TRUE(TemporaryDirectory::read(directory_.path("out/copy.bin")) == content);
  }
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(SecureCopy, DoesNotTouchTheHashWithoutItsFlag) {
  directory_.write("source.bin", "content");
  std::memset(&md5_, 0x5A, sizeof(md5_));
  const md5_state_s before = md5_;

  EXPECT_EQ(copy(below(directory_, "source.bin"), below(directory_, "copy.bin"), 0), 0);

  EXPECT_EQ(std::memcmp(&md5_, &before, sizeof(md5_)), 0);
  EXPECT_EQ(TemporaryDirectory::read(directory_.path("copy.bin")), "content");
}

TEST_F(SecureCopy, ReadsTheCopyBackOnlyWhereItIsToVerify) {
  constexpr std::size_t kSize = 1 << 20;
  directory_.write("source.bin", random_content(kSize));
  for (const unsigned flags : {0U, kMd5, kVerify, kMd5AndVerify}) {
    SCOPED_TRACE(flags);
    const md5_state_s expected = digest_of(TemporaryDirectory::read(directory_.path("source.bin")));
    md5_ = expected;  // What a copy is verified by that is not hashed.
    unsigned long long read = 0;
    unsigned long long written = 0;
    io_get_counters(read, written);

    EXPECT_EQ(copy(below(directory_, "source.bin"), below(directory_, "copy.bin"), flags), 0);

    io_get_counters(read, written);
    EXPECT_EQ(read, (flags & kVerify) != 0 ? 2 * kSize : kSize);
  }
}

TEST_F(SecureCopy, ReplacesAnExistingDestinationInAnyCase) {
  directory_.write("source.bin", "new");
  directory_.write("copy.bin", "a longer old one");

  EXPECT_EQ(copy(below(directory_, "source.bin"), below(directory_, "copy.bin"), kMd5AndVerify), 0);

  EXPECT_EQ(TemporaryDirectory::read(directory_.path("copy.bin")), "new");
}

TEST_F(SecureCopy, Gives1ForTheSameString) {
  const std::string path = below(directory_, "a.bin");

  EXPECT_EQ(copy(path, path, kMd5), -1);

  EXPECT_STREQ(get_error_file_copy_secure(-1, false),
               "File Copy: source and destination are the same!");
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(SecureCopy, Gives2ForASourceThatCannotBeOpened) {
  const std::string source = below(directory_, "missing.bin");

  EXPECT_EQ(copy(source, below(directory_, "copy.bin"), kMd5), -2);

  EXPECT_EQ(get_error_file_copy_secure(-2, false), "File Copy: failed to open '" + source + "'\n");
}

TEST_F(SecureCopy, Gives2WithTheSourcesNameForADestinationThatCannotBeCreated) {
  directory_.write("source.bin", "content");
  directory_.write("there/inside", "x");
  const std::string source = below(directory_, "source.bin");

  EXPECT_EQ(copy(source, below(directory_, "there"), kMd5), -2);

  EXPECT_EQ(get_error_file_copy_secure(-2, false), "File Copy: failed to open '" + source + "'\n");
}

TEST_F(SecureCopy, Gives4WithTheRangeThatCouldNotBeWritten) {
  directory_.write("source.bin", random_content(3000000));
  const std::string source = below(directory_, "source.bin");
  test::FailingWriter writer;
  writer.fill_disk_after(1500000);
  bytes_ = 100;

  EXPECT_EQ(copy(source, below(directory_, "copy.bin"), kMd5AndVerify, &writer), -4);

  EXPECT_EQ(get_error_file_copy_secure(-4, false),
            "File Copy: write error of " + source + " between 1048676 and 2097252 \n");
  EXPECT_EQ(bytes_, 1048676U);
  EXPECT_EQ(writer.closings(), 1);
  EXPECT_EQ(file_size(below(directory_, "copy.bin").c_str()), 1500000);
}

TEST_F(SecureCopy, Gives4WhenTheLastBufferCannotBeWritten) {
  directory_.write("source.bin", "content");
  test::FailingWriter writer;
  writer.fail_at_close();

  EXPECT_EQ(copy(below(directory_, "source.bin"), below(directory_, "copy.bin"), kMd5, &writer),
            -4);
}

TEST_F(SecureCopy, Gives5ForAPathThatIsNotAllowed) {
  directory_.write("source.bin", "content");
  const std::string source = below(directory_, "source.bin");
  const std::string too_long = std::string(260, 'x') + "\\copy.bin";

  EXPECT_EQ(copy(source, "copy.bin", kMd5), -5);
  EXPECT_STREQ(get_error_file_copy_secure(-5, false),
               "File Copy: pathname copy.bin is not allowed");
  EXPECT_EQ(copy(source, too_long, kMd5), -5);
  EXPECT_EQ(get_error_file_copy_secure(-5, false),
            "File Copy: pathname " + too_long + " is not allowed");
}

TEST_F(SecureCopy, Gives6AndLeavesTheTextForADirectoryThatCannotBeMade) {
  directory_.write("source.bin", "content");
  directory_.write("file", "x");
  EXPECT_EQ(copy(below(directory_, "source.bin"), "copy.bin", kMd5), -5);

  EXPECT_EQ(copy(below(directory_, "source.bin"), below(directory_, "file\\copy.bin"), kMd5), -6);

  EXPECT_STREQ(get_error_file_copy_secure(-6, false),
               "File Copy: pathname copy.bin is not allowed");
}

TEST_F(SecureCopy, Gives7WhenTheCopyReadsBackDifferently) {
  directory_.write("source.bin", "content");
  const std::string source = below(directory_, "source.bin");
  const std::string destination = below(directory_, "copy.bin");
  md5_ = digest_of("something else");

  EXPECT_EQ(copy(source, destination, 2), -7);

  EXPECT_EQ(get_error_file_copy_secure(-7, false),
            "File Copy: hash values of '" + source + "' and '" + destination + "' do not match\n");
}

TEST_F(SecureCopy, Gives7ForOneBitAnywhereInTheCopy) {
  const std::string content = random_content(9000001);
  directory_.write("source.bin", content);
  for (const std::size_t at : {0U, 1048576U, 5000000U, 9000000U}) {
    SCOPED_TRACE(at);
    test::AlteringWriter writer([&] { test::flip_bit(directory_.path("copy.bin"), at); });

    EXPECT_EQ(copy(below(directory_, "source.bin"), below(directory_, "copy.bin"), kMd5AndVerify,
                   &writer),
              -7);

    EXPECT_TRUE(same_digest(md5_, digest_of(content)));
  }
}

TEST_F(SecureCopy, Gives7ForACopyThatHasLostItsEnd) {
  directory_.write("source.bin", random_content(9000001));
  for (const std::size_t size : {0U, 1U, 1048576U, 8388608U, 9000000U}) {
    SCOPED_TRACE(size);
    test::AlteringWriter writer(
        [&] { std::filesystem::resize_file(directory_.path("copy.bin"), size); });

    EXPECT_EQ(copy(below(directory_, "source.bin"), below(directory_, "copy.bin"), kMd5AndVerify,
                   &writer),
              -7);
  }
}

TEST_F(SecureCopy, Gives2WithItsOwnTextForACopyThatIsGone) {
  directory_.write("source.bin", "content");
  const std::string source = below(directory_, "source.bin");
  const std::string destination = below(directory_, "copy.bin");
  test::AlteringWriter writer([&] { std::filesystem::remove(directory_.path("copy.bin")); });

  EXPECT_EQ(copy(source, destination, kMd5AndVerify, &writer), -2);

  EXPECT_EQ(get_error_file_copy_secure(-2, false),
            "File Copy: hash values of '" + source + "' and '" + destination + "' do not match\n");
}

TEST_F(SecureCopy, WritesTheTextOnDemandAndClearsItForOtherCodes) {
  const std::string path = below(directory_, "a.bin");
  EXPECT_EQ(copy(path, path, kMd5), -1);

  get_error_file_copy_secure(-1, true);
  EXPECT_EQ(log_.lines(), Lines{"ERROR: File Copy: source and destination are the same!"});

  EXPECT_STREQ(get_error_file_copy_secure(0, false), "");
  EXPECT_STREQ(get_error_file_copy_secure(-1, false), "");
  EXPECT_STREQ(get_error_file_copy_secure(-8, true), "");
}

TEST_F(SecureCopy, TakesAPerCentSignInANameForWhatItIs) {
  const std::string source = below(directory_, "100%s%n.bin");
  EXPECT_EQ(copy(source, below(directory_, "copy.bin"), kMd5), -2);

  get_error_file_copy_secure(-2, true);

  EXPECT_EQ(log_.last_line(), "ERROR: File Copy: failed to open '" + source + "'");
}

TEST_F(SecureCopy, LogsItsTextAsAFormatInWhichTwoPerCentSignsAreOne) {
  const std::string source = below(directory_, "100%%d%%%.bin");
  EXPECT_EQ(copy(source, below(directory_, "copy.bin"), kMd5), -2);

  EXPECT_EQ(get_error_file_copy_secure(-2, true), "File Copy: failed to open '" + source + "'\n");

  EXPECT_EQ(log_.last_line(),
            "ERROR: File Copy: failed to open '" + below(directory_, "100%d%%.bin") + "'");
}

TEST_F(SecureCopy, AccumulatesTheBytes) {
  directory_.write("source.bin", "12345");
  bytes_ = 10;

  EXPECT_EQ(copy(below(directory_, "source.bin"), below(directory_, "copy.bin"), kMd5), 0);

  EXPECT_EQ(bytes_, 15U);
}

TEST_F(SecureCopy, ReadsAFileAndComparesItsHash) {
  const std::string content = random_content(5000000);
  directory_.write("file.bin", content);
  const std::string path = below(directory_, "file.bin");
  md5_state_s expected = digest_of(content);
  md5_state_s other = digest_of("other");

  EXPECT_EQ(file_read_secure(path.c_str(), md5_, nullptr, nullptr), 0);
  EXPECT_TRUE(same_digest(md5_, expected));
  EXPECT_EQ(file_read_secure(path.c_str(), md5_, nullptr, &expected), 0);
  EXPECT_EQ(file_read_secure(path.c_str(), md5_, nullptr, &other), -7);
}

TEST_F(SecureCopy, LeavesNoFileOpenInTheCallersReader) {
  directory_.write("source.bin", random_content(100000));
  const std::string source = below(directory_, "source.bin");
  const std::string destination = below(directory_, "copy.bin");
  fReadBuffer reader(io_invalid_handle());
  reader.cfg_buffers(2, 65536, 65536);

  EXPECT_EQ(file_copy_secure(source.c_str(), destination.c_str(), false, bytes_, md5_,
                             kMd5AndVerify, &reader, nullptr),
            0);
  EXPECT_EQ(file_delete(source.c_str()), 0);
  EXPECT_EQ(file_read_secure(destination.c_str(), md5_, &reader, nullptr), 0);
  EXPECT_EQ(file_delete(destination.c_str()), 0);
}

TEST_F(SecureCopy, HashesAnEmptyFile) {
  directory_.write("empty.bin", "");
  md5_state_s expected = digest_of("");

  EXPECT_EQ(file_read_secure(below(directory_, "empty.bin").c_str(), md5_, nullptr, &expected), 0);
}

TEST_F(SecureCopy, CannotReadAMissingFile) {
  const std::string path = below(directory_, "missing.bin");

  EXPECT_EQ(file_read_secure(path.c_str(), md5_, nullptr, nullptr), -2);

  EXPECT_EQ(get_error_file_copy_secure(-2, false), "File Copy: failed to open '" + path + "'\n");
}

}  // namespace
}  // namespace orsin
