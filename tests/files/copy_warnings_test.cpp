// Times and attributes that could not be copied: the data is complete, the log says what is not.
#include <gtest/gtest.h>

#include <string>

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

using test::below;
using test::ClosingWriter;
using test::CopyCall;
using test::Lines;
using test::random_content;
using test::TemporaryDirectory;

class CopyWarnings : public testing::Test {
 protected:
  CopyWarnings() { directory_.write("source.bin", "content"); }

  std::string source() const { return below(directory_, "source.bin"); }
  std::string destination() const { return below(directory_, "copy.bin"); }

  // The lines about a destination that is gone, each with the system's own words behind it.
  void expect_update_warnings() const {
    const Lines lines = log_.lines();
    ASSERT_EQ(lines.size(), 4U) << log_.text();
    EXPECT_EQ(lines[0],
              "WARN : File Copy: failed to update the file times '" + destination() + "'");
    EXPECT_EQ(lines[2],
              "WARN : File Copy: failed to update the file attributes '" + destination() + "'");
    for (const std::string& line : {lines[1], lines[3]}) {
      EXPECT_TRUE(line.starts_with("WARN : File Copy: error '")) << line;
      EXPECT_GT(line.size(), std::string("WARN : File Copy: error ''").size()) << line;
    }
  }

  TemporaryDirectory directory_;
  test::IoStart io_;
  test::KnownDrive known_drive_{directory_.path()};
  test::LogCapture log_;
};

TEST_F(CopyWarnings, NameTheDestinationThatIsGone) {
  ClosingWriter writer([this] { EXPECT_EQ(file_delete(destination().c_str()), 0); });
  CopyCall call{.source = source(), .destinations = {destination()}, .writers = {&writer}};

  EXPECT_EQ(call.run(), 0);

  EXPECT_EQ(call.bytes, 7U);
  expect_update_warnings();
}

TEST_F(CopyWarnings, StaySilentUnlessVerbose) {
  ClosingWriter writer([this] { EXPECT_EQ(file_delete(destination().c_str()), 0); });
  unsigned long long bytes = 0;

  EXPECT_EQ(file_copy(source().c_str(), destination().c_str(), true, bytes, nullptr, &writer,
                      nullptr, nullptr, false),
            0);

  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(CopyWarnings, AreAlwaysWrittenBySecureCopies) {
  ClosingWriter writer([this] { EXPECT_EQ(file_delete(destination().c_str()), 0); });
  unsigned long long bytes = 0;
  md5_state_s md5;

  EXPECT_EQ(file_copy_secure(source().c_str(), destination().c_str(), false, bytes, md5, 1, nullptr,
                             &writer),
            0);

  expect_update_warnings();
}

TEST_F(CopyWarnings, ConcernOneDestinationOfSeveral) {
  ClosingWriter good([] {});
  ClosingWriter bad([this] { EXPECT_EQ(file_delete(destination().c_str()), 0); });
  const std::string other = below(directory_, "other.bin");
  ASSERT_TRUE(file_set_modified_ts(source().c_str(), 1706704496));
  CopyCall call{
      .source = source(), .destinations = {destination(), other}, .writers = {&bad, &good}};

  EXPECT_EQ(call.run(), 0);

  expect_update_warnings();
  EXPECT_EQ(file_get_modified_ts(other.c_str()), 1706704496U);
  EXPECT_EQ(TemporaryDirectory::read(directory_.path("other.bin")), "content");
}

TEST_F(CopyWarnings, SayThatAVerifiedCopyIsGone) {
  ClosingWriter writer([this] { EXPECT_EQ(file_delete(destination().c_str()), 0); });
  unsigned long long bytes = 0;
  md5_state_s md5;

  EXPECT_EQ(file_copy_secure(source().c_str(), destination().c_str(), false, bytes, md5, 3, nullptr,
                             &writer),
            -2);

  EXPECT_EQ(
      get_error_file_copy_secure(-2, false),
      "File Copy: hash values of '" + source() + "' and '" + destination() + "' do not match\n");
}

TEST_F(CopyWarnings, SayThatAVerifiedCopyChanged) {
  ClosingWriter writer([this] { directory_.write("copy.bin", "CONTENT"); });
  unsigned long long bytes = 0;
  md5_state_s md5;

  EXPECT_EQ(file_copy_secure(source().c_str(), destination().c_str(), false, bytes, md5, 3, nullptr,
                             &writer),
            -7);

  EXPECT_EQ(
      get_error_file_copy_secure(-7, true),
      "File Copy: hash values of '" + source() + "' and '" + destination() + "' do not match\n");
  EXPECT_EQ(log_.lines(), Lines{"ERROR: File Copy: hash values of '" + source() + "' and '" +
                                destination() + "' do not match"});
}

}  // namespace
}  // namespace orsin
