// New directories are for everybody, and a failure to make them so is said.
#include <gtest/gtest.h>

#include <string>

#include "files/file_system_port.h"
#include "orsincore/files.h"
#include "tests/files/backslash_path.h"
#include "tests/platform/native/fake_access.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using port::AccessGrant;
using test::below;
using test::fake_access;
using test::Lines;

class EveryoneAccess : public testing::Test {
 protected:
  EveryoneAccess() { fake_access() = {}; }
  ~EveryoneAccess() override { fake_access() = {}; }

  static void answer(AccessGrant grant, std::uint32_t merge_error = 0) {
    fake_access() = {.grant = grant, .merge_error = merge_error};
  }

  test::TemporaryDirectory directory_;
  test::LogCapture log_;
};

TEST_F(EveryoneAccess, SucceedsWhenGrantedAndWhenTheDirectoryCannotBeOpened) {
  answer(AccessGrant::kGranted);
  EXPECT_TRUE(file_grant_everyone_access("C:\\media"));
  answer(AccessGrant::kNotOpened);
  EXPECT_TRUE(file_grant_everyone_access("C:\\media"));

  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(EveryoneAccess, FailsInSilenceWhenTheListCannotBeReadOrWritten) {
  answer(AccessGrant::kNotRead);
  EXPECT_FALSE(file_grant_everyone_access("C:\\media"));
  answer(AccessGrant::kNotWritten);
  EXPECT_FALSE(file_grant_everyone_access("C:\\media"));

  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(EveryoneAccess, SaysThatTheGroupIsUnknown) {
  answer(AccessGrant::kNotMerged, 1332);

  EXPECT_FALSE(file_grant_everyone_access("C:\\media"));

  EXPECT_EQ(log_.lines(), Lines{"ERROR: Directory access: Group 'Everyone' not mapped"});
}

TEST_F(EveryoneAccess, SaysWhichErrorAMergeGave) {
  answer(AccessGrant::kNotMerged, 87);

  EXPECT_FALSE(file_grant_everyone_access("C:\\media"));

  EXPECT_EQ(log_.lines(), Lines{"ERROR: Directory access: Error 87"});
}

TEST_F(EveryoneAccess, IsGrantedForEveryDirectoryMadeWhateverComesOfIt) {
  answer(AccessGrant::kNotWritten);

  EXPECT_EQ(file_create_directory(below(directory_, "a\\b").c_str(), true), 1);
  EXPECT_EQ(file_create_directory(below(directory_, "a").c_str(), true), -1);

  EXPECT_EQ(fake_access().directories,
            (std::vector<std::string>{below(directory_, "a"), below(directory_, "a\\b")}));
}

}  // namespace
}  // namespace orsin
