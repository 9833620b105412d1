// A plug-in that rounds in its own way, and lets the system show its error boxes.
#include <cfloat>

#include "tests/modules/plugins/plugin.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) {
    _controlfp(_RC_CHOP, _MCW_RC);
    SetErrorMode(0);
  }
  return TRUE;
}
