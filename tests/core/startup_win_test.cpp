// What start-up asks of the system, answered by the system itself.
#include <gtest/gtest.h>

#include <string>

#include "core/startup_port.h"
#include "core/win/windows.h"
#include "tests/support/temporary_directory.h"

namespace orsin {
namespace {

using test::TemporaryDirectory;

// Opened as C streams are: others may read and write, but not rename.
HANDLE hold(const std::string& path) {
  return CreateFileW(test::to_path(path).c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                     nullptr, OPEN_EXISTING, 0, nullptr);
}

TEST(FileThatIsHeld, CanBeToldFromOneThatIsNot) {
  const TemporaryDirectory directory;
  const std::string path = directory.write("Take.log", "before");
  HANDLE file = hold(path);
  ASSERT_NE(file, INVALID_HANDLE_VALUE);

  EXPECT_TRUE(port::is_file_held(path.c_str()));
  CloseHandle(file);

  EXPECT_FALSE(port::is_file_held(path.c_str()));
  EXPECT_FALSE(port::is_file_held(directory.path("absent").c_str()));
  EXPECT_EQ(TemporaryDirectory::read(path), "before");
}

TEST(ComputerName, IsToldWhereItFits) {
  char name[64] = {};
  char none[1];

  EXPECT_TRUE(port::computer_name(name, sizeof(name)));
  EXPECT_FALSE(port::computer_name(none, sizeof(none)));

  EXPECT_STRNE(name, "");
}

}  // namespace
}  // namespace orsin
