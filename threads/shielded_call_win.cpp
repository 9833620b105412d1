// A call that nothing leaves but by returning.
//
// run_guarded() sees to processor faults, and catch (...) to what code of our own compiler throws.
// Everything else that Windows can raise is seen by a filter of our own, in a frame inside of the
// guard: codes of software, and what code of another compiler throws. It unwinds to that frame.
#include "threads/fault_guard.h"

#include "base/win/windows.h"

#if defined(__GNUC__)

extern "C" {
std::uint32_t orsin_call_shielded(void (*entry)(void*), void* argument);
LONG WINAPI orsin_fault_filter(EXCEPTION_POINTERS* information, void* frame);
LONG WINAPI orsin_shield_filter(EXCEPTION_POINTERS* information, void* frame);
}

LONG WINAPI orsin_shield_filter(EXCEPTION_POINTERS* information, void* frame) {
  constexpr DWORD kGccMask = 0xFCFFFFFF;  // A throw, or one of two kinds of unwinding.
  constexpr DWORD kGccCode = 0x20474343;
  const LONG answer = orsin_fault_filter(information, frame);
  const bool is_gcc = (information->ExceptionRecord->ExceptionCode & kGccMask) == kGccCode;
  return answer != EXCEPTION_CONTINUE_SEARCH || is_gcc ? answer : EXCEPTION_EXECUTE_HANDLER;
}

#else  // With /EHa, catch (...) catches everything that Windows can raise.

namespace {

std::uint32_t orsin_call_shielded(void (*entry)(void*), void* argument) {
  entry(argument);
  return 0;
}

}  // namespace

#endif

namespace orsin {
namespace {

struct ShieldedCall {
  void (*entry)(void*);
  void* argument;
  bool has_returned;
};

void call_shielded(void* argument) {
  auto* call = static_cast<ShieldedCall*>(argument);
  call->has_returned = orsin_call_shielded(call->entry, call->argument) == 0;
}

}  // namespace

bool run_shielded(void (*entry)(void*), void* argument) {
  ShieldedCall call = {entry, argument, false};
  try {
    return run_guarded(call_shielded, &call).code == 0 && call.has_returned;
  } catch (...) {
    return false;
  }
}

}  // namespace orsin
