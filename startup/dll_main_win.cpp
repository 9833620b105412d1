// What happens when the library itself is unloaded.
//
// It hears of threads that begin and end too, and lets them pass. They cannot be switched off: the
// start-up code of GCC's run-time library gives each library thread-local storage and a callback for
// it, though nothing of ours is thread-local, and Windows refuses to silence a library that has some.
#include "base/win/windows.h"
#include "memory/process_heap_port.h"
#include "startup/startup_port.h"
#include "threads/fault_guard.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE /*module*/, DWORD reason, LPVOID process_ends) {
  if (reason == DLL_PROCESS_DETACH && process_ends == nullptr) {
    // At the end of the process the system closes the file. The other threads have been ended by
    // then, one perhaps inside of the stream's lock, and waiting for it would lose the exit code.
    orsin::port::close_redirected_standard_error();
    // The system would go on calling into what is not there any more.
    orsin::port::stop_reporting_out_of_memory();
    orsin::remove_fault_guard();
  }
  return TRUE;
}
