// Entries that software raises exceptions in, as code of other compilers does when it throws.
#include "base/win/windows.h"
#include "tests/modules/plugins/plugin.h"

#include <cstdlib>

// Raises the code in its argument.
PLUGIN_EXPORT int plugin_main(int, char** argv) {
  RaiseException(static_cast<DWORD>(std::strtoul(argv[0], nullptr, 0)), 0, 0, nullptr);
  return 1;
}

PLUGIN_EXPORT int plugin_break(int, char**) {
  DebugBreak();
  return 1;
}

PLUGIN_EXPORT int plugin_touch_guard_page(int, char**) {
  auto* page = static_cast<volatile char*>(
      VirtualAlloc(nullptr, 1, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE | PAGE_GUARD));
  return page[0] == '\0' ? 1 : 2;
}
