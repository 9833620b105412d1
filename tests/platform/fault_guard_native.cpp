// No fault guard: in a native build a processor fault is the sanitizers' business.
#include "threads/fault_guard.h"

namespace orsin {

void install_fault_guard() {}

void remove_fault_guard() {}

EscapedFault run_guarded(void (*entry)(void*), void* argument) {
  entry(argument);
  return {};
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
