// What other programs get to see of a file that has not taken its name yet.
#include <gtest/gtest.h>

#include <io.h>

#include "base/new_file.h"
#include "base/win/windows.h"
#include "tests/support/temporary_directory.h"

namespace orsin {
namespace {

// A program that was started meanwhile would hold the file for as long as it lives, and the name could
// not be taken.
TEST(NewFile, IsInheritedByNoProgram) {
  const test::TemporaryDirectory directory;
  for (const char* mode : {"w", "wb+"}) {
    SCOPED_TRACE(mode);
    NewFile file(directory.path("take.txt").c_str(), mode);
    ASSERT_NE(file.stream(), nullptr);

    DWORD flags = HANDLE_FLAG_INHERIT;
    const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(file.stream())));
    ASSERT_NE(GetHandleInformation(handle, &flags), 0);

    EXPECT_EQ(flags & HANDLE_FLAG_INHERIT, 0u);
  }
}

}  // namespace
}  // namespace orsin
