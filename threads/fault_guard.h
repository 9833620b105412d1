// Processor faults as C++ exceptions.
//
// A fault inside code that run_guarded() calls is thrown as SE_Exception from the faulting
// instruction: destructors run, and catch clauses between the fault and the guard see it. Code must
// be compiled for it (-fnon-call-exceptions, /EHa); where it was not, the destructors are skipped
// but the guard still returns the fault.
#pragma once

#include <cstdint>

namespace orsin {

/// Prepares the process and the calling thread, whose faults from now on can be caught as
/// SE_Exception too. While it is installed nothing changes, whoever calls. Threads that are neither this
/// one nor inside run_guarded() are left alone: their faults go where the host sends them.
void install_fault_guard();

/// Gives the process's last filter and its terminate handler back to whoever had them.
void remove_fault_guard();

/// A processor fault that nobody caught.
struct EscapedFault {
  std::uint32_t code = 0;       ///< 0: there was none.
  bool is_place_known = false;  ///< Not where somebody has thrown an SE_Exception of his own.
  std::uintptr_t instruction = 0;
  /// In the call that led to `instruction`, where that is no code at all; 0 otherwise.
  std::uintptr_t caller = 0;
};

/// Calls entry(argument) and returns the processor fault that escaped it. Other exceptions pass
/// through. A fault that cannot be thrown, as throwing faults too, comes back at once, whoever would
/// have caught it.
[[nodiscard]] EscapedFault run_guarded(void (*entry)(void*), void* argument);

/// Calls entry(argument) and lets nothing out: no processor fault, no exception, no code that software
/// or another compiler's throw has raised. False when there was one; what was thrown is destroyed
/// before this returns.
[[nodiscard]] bool run_shielded(void (*entry)(void*), void* argument);

}  // namespace orsin
