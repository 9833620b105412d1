// A host that starts the library for real and then does the one thing its first argument names:
//
//   level   closes down and exits with 100 + 10 x log level + number of executor workers
//   close   closes down at once
//   killed  writes 2000 lines and is terminated where it stands, without any clean-up
//   filter  hands an access violation to the exception filter, as an outermost handler does
//
// The application's name is the second argument; the data path comes from ORSIN_TEST_DATA. Exit
// code 2: the library did not start.
#include <cstring>

#include "core/win/windows.h"
#include "orsincore/orsincore.h"

int main(int argc, char** argv) {
  if (argc < 3 || !ov_initialize(argv[2], "ORSIN_TEST_DATA", argc, argv)) {
    return 2;
  }
  const char* command = argv[1];
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
  ov_closedown();
  return 0;
}
