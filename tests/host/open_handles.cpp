#include "tests/host/open_handles.h"

#include <cstdlib>
#include <mutex>

#include "base/win/windows.h"
#include "tests/support/handle_count_win.h"

namespace orsin::test {
namespace {

void open_the_registry() {
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software", 0, KEY_READ, &key) == ERROR_SUCCESS) {
    RegCloseKey(key);
  }
}

}  // namespace

std::size_t open_handles() {
  static std::once_flag is_open;
  std::call_once(is_open, open_the_registry);
  const std::size_t count = count_own_handles();
  if (count == 0) {
    std::abort();  // A count that is not known is no count.
  }
  return count;
}

}  // namespace orsin::test
