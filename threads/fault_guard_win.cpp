// Processor faults as SE_Exception.
//
// MSVC has a switch for it (_set_se_translator with /EHa). GCC has none, so a fault is turned into
// a throw by hand:
//
//   1. A structured exception filter sees the fault: that of the guard around a thread's entry
//      function, or the process's last filter for threads that we did not start.
//   2. It keeps copies of record and context, prepares a machine frame with the faulting address, and
//      lets the thread go on in a trampoline. On the stack it writes nothing: below the fault the
//      system's dispatcher is still at work, which reads the changed context after the filter.
//   3. The trampoline pushes the machine frame and calls a function that throws. The unwinder steps
//      through the frame into the faulting function as through any caller.
//   4. Where that function has no exception tables, the throw ends in std::terminate(). Our handler
//      sees that a fault was thrown and raises a private code, for which the filter unwinds to
//      the guard; nothing in between is destroyed, but the guard has its answer.
//   5. A throw allocates. A fault on the way to it, as where the heap is damaged, is not turned into
//      another: the filter unwinds to the guard as in 4, with the first fault as the answer.
//
// Thread state is reached through a native thread-local index: the compiler's thread_local may
// allocate, which a fault inside the allocator would not survive. A thread without that state is
// somebody else's, and its faults are too.
#include "threads/fault_guard.h"

#include <malloc.h>

#include <cstdlib>
#include <exception>
#include <new>
#include <typeinfo>

#include "base/win/windows.h"
#include "orsincore/threads.h"
#include "threads/fault_place.h"

namespace orsin {
namespace {

// Whoever goes on after a stack overflow needs its guard page again: without one the next overflow ends
// the process without a word. To be called where the stack is unwound. When it refuses, there is no
// room for a guard page, and nothing better to do.
void restore_stack_guard(DWORD code) {
  if (code == EXCEPTION_STACK_OVERFLOW) {
    static_cast<void>(_resetstkoflw());
  }
}

// A call of what is no code (a null pointer, an object that is gone) faults at its target, which tells
// nobody anything. It has just left its return address on the stack; the call itself is before that.
std::uintptr_t caller_of(const EXCEPTION_POINTERS& information) {
  const EXCEPTION_RECORD& record = *information.ExceptionRecord;
  const auto instruction = reinterpret_cast<ULONG_PTR>(record.ExceptionAddress);
  const bool is_no_code = record.ExceptionCode == EXCEPTION_ACCESS_VIOLATION &&
                          record.NumberParameters >= 2 &&
                          record.ExceptionInformation[1] == instruction;
  return is_no_code ? *reinterpret_cast<const std::uintptr_t*>(information.ContextRecord->Rsp) - 1
                    : 0;
}

EscapedFault escaped_fault(const EXCEPTION_RECORD& record, std::uintptr_t caller) {
  return {record.ExceptionCode, true, reinterpret_cast<std::uintptr_t>(record.ExceptionAddress),
          caller};
}

}  // namespace
}  // namespace orsin

#if defined(__GNUC__)

#include <cxxabi.h>

extern "C" {
std::uint32_t orsin_call_guarded(void (*entry)(void*), void* argument);
void orsin_fault_trampoline();
LONG WINAPI orsin_fault_filter(EXCEPTION_POINTERS* information, void* frame);
[[noreturn]] void orsin_throw_fault();
}

namespace orsin {
namespace {

constexpr DWORD kFaultWithoutTables = 0xE04F5243;  // Private: customer bit set, "ORC".
constexpr DWORD kMultipleFloatFaults = 0xC00002B4;
constexpr DWORD kMultipleFloatTraps = 0xC00002B5;
constexpr ULONG kStackGuaranteeBytes = 64 * 1024;  // To throw in after a stack overflow.
constexpr DWORD64 kSkippedBytes = 128;          // What the faulting code may have below its stack.
constexpr DWORD kFlagsCleared = 0x400 | 0x100;  // Direction and trap flag.
constexpr DWORD kDefaultMxcsr = 0x1F80;         // All floating-point exceptions masked.

// As the processor pushes it, from the lowest address up.
struct MachineFrame {
  DWORD64 rip;
  DWORD64 cs;
  DWORD64 eflags;
  DWORD64 rsp;
  DWORD64 ss;
};

struct FaultState {
  EXCEPTION_RECORD record;
  CONTEXT context;
  EXCEPTION_POINTERS pointers;
  std::uintptr_t caller;  // As in EscapedFault.
  MachineFrame frame;     // For the trampoline.
  bool is_on_the_way;     // From the fault to the throw.
};

struct Guard {
  DWORD state_index = TLS_OUT_OF_INDEXES;  // For the life of the process.
  bool is_installed = false;
  FaultState installers_state = {};  // Of the thread that installed it, which has no guard.
  std::terminate_handler previous_terminate = nullptr;
  LPTOP_LEVEL_EXCEPTION_FILTER previous_filter = nullptr;
};

constinit Guard guard;

bool is_processor_fault(DWORD code) {
  switch (code) {
    case EXCEPTION_ACCESS_VIOLATION:
    case EXCEPTION_IN_PAGE_ERROR:
    case EXCEPTION_DATATYPE_MISALIGNMENT:
    case EXCEPTION_ILLEGAL_INSTRUCTION:
    case EXCEPTION_PRIV_INSTRUCTION:
    case EXCEPTION_ARRAY_BOUNDS_EXCEEDED:
    case EXCEPTION_INT_DIVIDE_BY_ZERO:
    case EXCEPTION_INT_OVERFLOW:
    case EXCEPTION_FLT_DENORMAL_OPERAND:
    case EXCEPTION_FLT_DIVIDE_BY_ZERO:
    case EXCEPTION_FLT_INEXACT_RESULT:
    case EXCEPTION_FLT_INVALID_OPERATION:
    case EXCEPTION_FLT_OVERFLOW:
    case EXCEPTION_FLT_STACK_CHECK:
    case EXCEPTION_FLT_UNDERFLOW:
    case EXCEPTION_STACK_OVERFLOW:
    case EXCEPTION_GUARD_PAGE:
    case EXCEPTION_BREAKPOINT:
    case EXCEPTION_SINGLE_STEP:
    case kMultipleFloatFaults:
    case kMultipleFloatTraps:
      return true;
    default:
      return false;
  }
}

// Keeps the last error: the fault may stand between a failed call and the code that asks why.
FaultState* thread_state() {
  const DWORD last_error = GetLastError();
  auto* state = static_cast<FaultState*>(TlsGetValue(guard.state_index));
  SetLastError(last_error);
  return state;
}

// Where the faulting instruction stands, for an unwinder that takes it for a return address and looks
// up the instruction before it. In a prologue it goes by the address as it is, and the one behind it
// would count a register as saved that is not; there is nothing to look up there.
DWORD64 as_return_address(DWORD64 address) {
  struct UnwindInfo {
    BYTE version_and_flags;
    BYTE prologue_bytes;
  };
  DWORD64 image = 0;
  const RUNTIME_FUNCTION* function = RtlLookupFunctionEntry(address, &image, nullptr);
  if (function == nullptr) {
    return address + 1;
  }
  const auto* info = reinterpret_cast<const UnwindInfo*>(image + function->UnwindData);
  const bool is_in_prologue = address < image + function->BeginAddress + info->prologue_bytes;
  return is_in_prologue ? address : address + 1;
}

// Rewrites a faulting thread's context so that it goes on by throwing.
void redirect_to_throw(FaultState& state, EXCEPTION_POINTERS& information) {
  state.record = *information.ExceptionRecord;
  state.context = *information.ContextRecord;
  state.pointers = {&state.record, &state.context};
  state.caller = 0;
  state.is_on_the_way = true;
  state.caller = caller_of(information);

  CONTEXT& context = *information.ContextRecord;
  state.frame = {as_return_address(context.Rip), context.SegCs, context.EFlags, context.Rsp,
                 context.SegSs};
  context.Rcx = reinterpret_cast<DWORD64>(&state.frame);
  context.Rsp = (context.Rsp - kSkippedBytes) & ~DWORD64{15};
  context.Rip = reinterpret_cast<DWORD64>(&orsin_fault_trampoline);
  context.EFlags &= ~kFlagsCleared;
  context.MxCsr = kDefaultMxcsr;
  context.FltSave.MxCsr = kDefaultMxcsr;
  context.FltSave.StatusWord = 0;
  context.FltSave.TagWord = 0;
}

// Lets a stack overflow be reported while there is room left to throw.
//
// Windows moves the guard page down with the stack and stops it where the guarantee begins. Wine
// keeps it at the very end of a stack that is committed as a whole, where the guarantee comes too
// late: there we put one where it should be. On Windows that page is not committed yet, or is a part of
// the guard that an overflow has left behind.
void keep_stack_for_throwing() {
  ULONG guarantee = kStackGuaranteeBytes;
  SetThreadStackGuarantee(&guarantee);

  MEMORY_BASIC_INFORMATION region = {};
  VirtualQuery(&region, &region, sizeof(region));
  auto* page = static_cast<char*>(region.AllocationBase) + kStackGuaranteeBytes;
  VirtualQuery(page, &region, sizeof(region));
  if (region.State == MEM_COMMIT && (region.Protect & PAGE_GUARD) == 0 &&
      page < reinterpret_cast<char*>(&region)) {
    DWORD old_protection = 0;
    VirtualProtect(page, 1, PAGE_READWRITE | PAGE_GUARD, &old_protection);
  }
}

// What a throw and the block in the log need of their thread, as long as it can still be had: a stack
// to stand on, and the thread state of the run-time libraries of C++ and C, which whoever comes first
// would have to allocate.
void prepare_to_throw() {
  keep_stack_for_throwing();
  static_cast<void>(std::uncaught_exceptions());
  static_cast<void>(*_errno());
}

LONG ask_previous_filter(EXCEPTION_POINTERS& information) {
  return guard.previous_filter != nullptr ? guard.previous_filter(&information)
                                          : EXCEPTION_CONTINUE_SEARCH;
}

// A fault that nobody caught on the thread that installed the guard, which has none of its own. The
// host's filter sees the fault itself, not what became of it.
LONG end_installer(FaultState& state) {
  TlsSetValue(guard.state_index, nullptr);  // A fault in here is nobody's.
  write_fault_place(escaped_fault(state.record, state.caller));
  orsinExceptionFilter(static_cast<int>(state.record.ExceptionCode), &state.pointers);
  static_cast<void>(ask_previous_filter(state.pointers));
  TerminateProcess(GetCurrentProcess(), state.record.ExceptionCode);
  return EXCEPTION_EXECUTE_HANDLER;
}

LONG WINAPI last_filter(EXCEPTION_POINTERS* information) {
  const DWORD code = information->ExceptionRecord->ExceptionCode;
  FaultState* state = thread_state();
  if (state == nullptr || (!is_processor_fault(code) && code != kFaultWithoutTables)) {
    return ask_previous_filter(*information);
  }
  if (code == kFaultWithoutTables || state->is_on_the_way) {
    return end_installer(*state);
  }
  redirect_to_throw(*state, *information);
  return EXCEPTION_CONTINUE_EXECUTION;
}

[[noreturn]] void on_terminate() {
  const std::type_info* type = abi::__cxa_current_exception_type();
  if (type != nullptr && *type == typeid(SE_Exception)) {
    RaiseException(kFaultWithoutTables, EXCEPTION_NONCONTINUABLE, 0, nullptr);
  }
  if (guard.previous_terminate != nullptr) {
    guard.previous_terminate();
  }
  std::abort();
}

}  // namespace

void install_fault_guard() {
  if (guard.is_installed) {
    return;
  }
  if (guard.state_index == TLS_OUT_OF_INDEXES) {
    guard.state_index = TlsAlloc();
  }
  if (guard.state_index == TLS_OUT_OF_INDEXES) {
    return;  // Faults then end the process as in any program.
  }
  guard.is_installed = true;
  prepare_to_throw();
  if (thread_state() == nullptr) {
    guard.installers_state = {};
    TlsSetValue(guard.state_index, &guard.installers_state);
  }
  guard.previous_terminate = std::set_terminate(on_terminate);
  guard.previous_filter = SetUnhandledExceptionFilter(last_filter);
}

// What the host has put over them since stays where it is.
void remove_fault_guard() {
  if (!guard.is_installed) {
    return;
  }
  guard.is_installed = false;
  if (thread_state() == &guard.installers_state) {
    TlsSetValue(guard.state_index, nullptr);
  }
  if (std::get_terminate() == on_terminate) {
    std::set_terminate(guard.previous_terminate);
  }
  const LPTOP_LEVEL_EXCEPTION_FILTER current = SetUnhandledExceptionFilter(guard.previous_filter);
  if (current != last_filter) {
    SetUnhandledExceptionFilter(current);
  }
}

EscapedFault run_guarded(void (*entry)(void*), void* argument) {
  install_fault_guard();
  prepare_to_throw();

  FaultState state = {};
  void* outer = TlsGetValue(guard.state_index);
  TlsSetValue(guard.state_index, &state);
  EscapedFault escaped;
  try {
    if (orsin_call_guarded(entry, argument) != 0) {
      escaped = escaped_fault(state.record, state.caller);
    }
  } catch (const SE_Exception& fault) {
    escaped.code = fault.getSeNumber();
    if (fault.getSePointers() == &state.pointers && state.record.ExceptionCode == escaped.code) {
      escaped = escaped_fault(state.record, state.caller);
    }
  }
  TlsSetValue(guard.state_index, outer);
  restore_stack_guard(escaped.code);
  return escaped;
}

}  // namespace orsin

LONG WINAPI orsin_fault_filter(EXCEPTION_POINTERS* information, void* /*frame*/) {
  const DWORD code = information->ExceptionRecord->ExceptionCode;
  if (code == orsin::kFaultWithoutTables) {
    return EXCEPTION_EXECUTE_HANDLER;
  }
  orsin::FaultState* state = orsin::thread_state();
  if (!orsin::is_processor_fault(code) || state == nullptr) {
    return EXCEPTION_CONTINUE_SEARCH;
  }
  if (state->is_on_the_way) {
    return EXCEPTION_EXECUTE_HANDLER;
  }
  orsin::redirect_to_throw(*state, *information);
  return EXCEPTION_CONTINUE_EXECUTION;
}

// A throw expression in its parts, as only the first of them may fault again.
void orsin_throw_fault() {
  orsin::FaultState* state = orsin::thread_state();
  void* exception = abi::__cxa_allocate_exception(sizeof(SE_Exception));
  ::new (exception) SE_Exception(state->record.ExceptionCode, &state->pointers);
  state->is_on_the_way = false;
  abi::__cxa_throw(exception, const_cast<std::type_info*>(&typeid(SE_Exception)),
                   [](void* thrown) { static_cast<SE_Exception*>(thrown)->~SE_Exception(); });
}

#else  // MSVC

#include <eh.h>

namespace orsin {
namespace {

// Of this thread's last fault.
struct FaultPlace {
  const EXCEPTION_POINTERS* pointers = nullptr;
  EscapedFault fault;
};

thread_local FaultPlace place;

void __cdecl throw_fault(unsigned int code, EXCEPTION_POINTERS* information) {
  place = {information, escaped_fault(*information->ExceptionRecord, caller_of(*information))};
  throw SE_Exception(code, information);
}

}  // namespace

void install_fault_guard() {
  _set_se_translator(throw_fault);
}

void remove_fault_guard() {
  _set_se_translator(nullptr);
}

EscapedFault run_guarded(void (*entry)(void*), void* argument) {
  install_fault_guard();  // The translator belongs to the thread.
  EscapedFault escaped;
  try {
    entry(argument);
  } catch (const SE_Exception& fault) {
    escaped.code = fault.getSeNumber();
    if (place.pointers != nullptr && fault.getSePointers() == place.pointers) {
      escaped = place.fault;
    }
  }
  restore_stack_guard(escaped.code);
  return escaped;
}

}  // namespace orsin

#endif
