// A host that starts the library for real and then does the one thing its second argument names:
//
//   level   closes down and exits with 100 + 10 x log level + number of executor workers
//   close   closes down at once
//   killed  writes 2000 lines and is terminated where it stands, without any clean-up
//   restart asks for a restart the first time, then signals the event NAMEDone
//   filter  hands an access violation to the exception filter, as an outermost handler does
//
// The first is "-x", as a restart passes on what follows a dash; the third names the application; the data path comes from ORSIN_TEST_DATA. Exit
// code 2: the library did not start.
#include <cstring>
#include <string>

#include "core/win/windows.h"
#include "orsincore/orsincore.h"

int main(int argc, char** argv) {
  if (argc < 4 || !ov_initialize(argv[3], "ORSIN_TEST_DATA", argc, argv)) {
    return 2;
  }
  const char* command = argv[2];
  if (std::strcmp(command, "level") == 0) {
    const int answer = 100 + 10 * msg_getlevel() + smp_numprocs();
    ov_closedown();
    return answer;
  } else if (std::strcmp(command, "killed") == 0) {
    for (int i = 0; i < 2000; ++i) {
      msginfo("line %d before the end", i);
    }
    TerminateProcess(GetCurrentProcess(), 9);
  } else if (std::strcmp(command, "filter") == 0) {
    return orsinExceptionFilter(static_cast<int>(EXCEPTION_ACCESS_VIOLATION), nullptr);
  }
  const bool second_run = RA_CheckProcessWasRestarted() != 0;
  if (std::strcmp(command, "restart") == 0 && !second_run) {
    RA_ActivateRestartProcess();
  }
  ov_closedown();
  if (second_run) {
    const std::string event = std::string(argv[3]) + "Done";
    HANDLE done = OpenEventA(EVENT_MODIFY_STATE, FALSE, event.c_str());
    SetEvent(done);
    CloseHandle(done);
  }
  return 0;
}
