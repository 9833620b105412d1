// The fatal-error block of the host's outermost exception handler.
//
// The fault guard writes it too for threads that were not started through mp_start_thread(). Code
// that runs here stands in a broken process: it formats and logs, and allocates nothing.
#include <cstdio>

#include "orsincore/log.h"
#include "orsincore/threads.h"

namespace {

constexpr unsigned int kIntegerDivideByZero = 0xC0000094;
constexpr unsigned int kAccessViolation = 0xC0000005;
constexpr int kExecuteHandler = 1;

constexpr char kAsterisks[] = "********************************************************";
static_assert(sizeof(kAsterisks) - 1 == 56);

}  // namespace

int orsinExceptionFilter(int code, void* /*information*/) {
  const char* thread = mp_get_thread_name();
  msgerror("%s", kAsterisks);
  switch (static_cast<unsigned int>(code)) {
    case kIntegerDivideByZero:
      msgcont("Fatal Error: Integer divide by zero, Thread: %s", thread);
      break;
    case kAccessViolation:
      msgcont("Fatal Error: Access violation, Thread: %s", thread);
      break;
    default:
      msgcont("Fatal Error, Exception: 0x%08x, Thread: %s", static_cast<unsigned int>(code),
              thread);
      break;
  }
  msgcont("%s", kAsterisks);
  if (std::FILE* stream = msg_get_file()) {
    std::fflush(stream);  // The process may end before anything else writes it out.
  }
  return kExecuteHandler;
}
