// A plug-in without a run-time library, which would insist on hearing of threads.
#include "base/win/windows.h"

namespace {

volatile int thread_notices = 0;

}  // namespace

extern "C" __declspec(dllexport) int plugin_thread_notices() {
  return thread_notices;
}

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
  if (reason == DLL_THREAD_ATTACH || reason == DLL_THREAD_DETACH) {
    thread_notices = thread_notices + 1;
  }
  return TRUE;
}
