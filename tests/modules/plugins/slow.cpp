// A plug-in that takes a second and a half to load.
#include "tests/modules/plugins/plugin.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) {
    Sleep(1500);
  }
  return TRUE;
}
