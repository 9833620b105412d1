// Thread-local keys that the system refuses, and who needs them.
#include <gtest/gtest.h>

#include <exception>
#include <string>

#include "base/win/windows.h"
#include "orsincore/threads.h"
#include "tests/support/log_capture.h"
#include "tests/threads/no_keys_left_win.h"
#include "threads/executor.h"
#include "threads/fault_guard.h"

namespace orsin {
namespace {

using test::Lines;
using test::LogCapture;
using test::NoKeysLeft;

TEST(ThreadLocalKeyShortage, IsReportedWithTheSystemsCode) {
  const LogCapture log;
  const NoKeysLeft shortage;

  EXPECT_EQ(mp_key_create(), nullptr);

  EXPECT_EQ(log.lines(),
            Lines{"ERROR: Failed to allocate thread local storage: " + shortage.error()});
}

// A key is a cell with the system's index, so one that the system never gave stands in for a key that
// it refuses.
TEST(ThreadLocalKey, ThatTheSystemRefusesIsReportedWithItsCode) {
  const LogCapture log;
  DWORD index = TLS_OUT_OF_INDEXES - 1;
  auto* key = reinterpret_cast<__tls_key_str*>(&index);

  EXPECT_EQ(mp_setspecific(key, &index), -1);

  EXPECT_EQ(log.lines(), Lines{"ERROR: Failed to set thread local storage: " +
                               std::to_string(ERROR_INVALID_PARAMETER)});
}

TEST(ThreadLocalKeyShortage, LeavesTheExecutorInline) {
  const LogCapture log;
  const NoKeysLeft shortage;

  EXPECT_EQ(start_executor(4), 1);

  EXPECT_EQ(log.lines(),
            (Lines{"ERROR: Failed to allocate thread local storage: " + shortage.error(),
                   "ERROR: SMP: Can't allocate thread local storage.."}));
}

// Were our handler put before itself, ending would never end.
TEST(ThreadLocalKeyShortageDeathTest, LeavesTerminationAsItIs) {
  const auto terminate_after_shortage = [] {
    {
      const NoKeysLeft shortage;
      install_fault_guard();
      install_fault_guard();
    }
    std::terminate();
  };

  EXPECT_EXIT(terminate_after_shortage(), testing::ExitedWithCode(3), "");
}

}  // namespace
}  // namespace orsin
