// Thread-local keys that the system refuses, and who needs them.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/win/windows.h"
#include "orsincore/threads.h"
#include "tests/support/log_capture.h"
#include "threads/executor.h"

namespace orsin {
namespace {

using test::Lines;
using test::LogCapture;

// Takes every thread-local index of the process while it lives.
class NoKeysLeft {
 public:
  NoKeysLeft() {
    for (DWORD index = TlsAlloc(); index != TLS_OUT_OF_INDEXES; index = TlsAlloc()) {
      indices_.push_back(index);
    }
    error_ = GetLastError();
  }
  ~NoKeysLeft() {
    for (const DWORD index : indices_) {
      TlsFree(index);
    }
  }
  [[nodiscard]] std::string error() const { return std::to_string(error_); }

 private:
  std::vector<DWORD> indices_;
  DWORD error_ = 0;
};

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

}  // namespace
}  // namespace orsin
