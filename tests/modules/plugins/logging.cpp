// A plug-in that uses the library itself, for as long as it is loaded.
#include "base/win/windows.h"
#include "orsincore/log.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) {
    msginfo("plug-in loaded");
  } else if (reason == DLL_PROCESS_DETACH) {
    msginfo("plug-in unloaded");
  }
  return TRUE;
}
