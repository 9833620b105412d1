// What the DLL does when a host lets go of it while the process lives on.
#include <gtest/gtest.h>

#include <io.h>

#include <cstdio>
#include <string>

#include "base/win/windows.h"
#include "tests/support/kit_path.h"
#include "tests/support/temporary_directory.h"

namespace orsin {
namespace {

// The process's run-time library is the DLL's too, and so is this stream.
TEST(Unloading, LeavesAStandardErrorAloneThatNeverBecameTheLog) {
  const std::string path = test::kit_path("tests/orsincore.dll", ORSIN_TEST_LIBRARY);
  HMODULE library =
      LoadLibraryExW(test::to_path(path).c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  ASSERT_NE(library, nullptr);

  EXPECT_NE(FreeLibrary(library), 0);

  EXPECT_EQ(GetModuleHandleW(L"orsincore.dll"), nullptr);
  EXPECT_NE(_get_osfhandle(_fileno(stderr)), -1);
}

}  // namespace
}  // namespace orsin
