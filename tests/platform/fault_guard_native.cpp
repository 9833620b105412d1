// No fault guard: in a native build a processor fault is the sanitizers' business. Tests may plant one.
#include "threads/fault_guard.h"

#include <utility>

#include "tests/platform/planted_fault.h"

namespace orsin {

EscapedFault& test::planted_fault() {
  thread_local EscapedFault fault;
  return fault;
}

void install_fault_guard() {}

void remove_fault_guard() {}

EscapedFault run_guarded(void (*entry)(void*), void* argument) {
  entry(argument);
  return std::exchange(test::planted_fault(), {});
}

bool run_shielded(void (*entry)(void*), void* argument) {
  try {
    entry(argument);
    return true;
  } catch (...) {
    return false;
  }
}

}  // namespace orsin
