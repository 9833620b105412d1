// The process heap, answered by Windows and by the run-time library whose malloc() lies on it.
#include "memory/process_heap_port.h"

#include "base/compiler.h"
#include "base/win/windows.h"

// Declared by <new.h> of the run-time library. MinGW's copy declares them with C names, but the
// library exports the mangled ones only.
using NewHandler = int(__cdecl*)(std::size_t);
NewHandler __cdecl _set_new_handler(NewHandler handler)
    ORSIN_LINK_NAME("?_set_new_handler@@YAP6AH_K@ZP6AH0@Z@Z");
int __cdecl _set_new_mode(int mode) ORSIN_LINK_NAME("?_set_new_mode@@YAHH@Z");

namespace orsin::port {
namespace {

struct OutOfMemory {
  OutOfMemoryReport report = nullptr;
  NewHandler previous_handler = nullptr;
  int previous_mode = 0;
  bool is_reported = false;
};

constinit OutOfMemory out_of_memory;

// 0 tells the allocation to give up: null from malloc(), bad_alloc from new. Anything else would
// have it try again, and nothing has been freed meanwhile. new itself has no handler to call (ours
// is the run-time library's, not std::set_new_handler()'s): its one malloc() reports, then it
// throws.
int __cdecl report_and_give_up(std::size_t requested) {
  out_of_memory.report(requested);
  return 0;
}

}  // namespace

void report_out_of_memory_to(OutOfMemoryReport report) noexcept {
  out_of_memory.report = report;
  if (!out_of_memory.is_reported) {
    out_of_memory.previous_handler = _set_new_handler(report_and_give_up);
    out_of_memory.previous_mode = _set_new_mode(1);  // Plain malloc() calls the handler too.
    out_of_memory.is_reported = true;
  }
}

void stop_reporting_out_of_memory() noexcept {
  if (!out_of_memory.is_reported) {
    return;
  }
  out_of_memory.is_reported = false;
  const NewHandler current = _set_new_handler(out_of_memory.previous_handler);
  if (current == report_and_give_up) {
    _set_new_mode(out_of_memory.previous_mode);
  } else {
    _set_new_handler(current);
  }
}

bool process_heap_is_valid() noexcept {
  return ::HeapValidate(::GetProcessHeap(), 0, nullptr) != FALSE;
}

std::uint64_t compact_process_heap() noexcept {
  ::SetLastError(ERROR_SUCCESS);  // "Nothing free" and "failed" both return 0.
  return ::HeapCompact(::GetProcessHeap(), 0);
}

}  // namespace orsin::port
