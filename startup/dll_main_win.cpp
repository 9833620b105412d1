// What happens when the library itself is loaded and unloaded.
#include <cstdio>

#include "base/win/windows.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID /*reserved*/) {
  if (reason == DLL_PROCESS_ATTACH) {
    DisableThreadLibraryCalls(module);
  } else if (reason == DLL_PROCESS_DETACH) {
    std::fclose(stderr);  // By now the log file.
  }
  return TRUE;
}
