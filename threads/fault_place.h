// Where in which module a fault came from, for whoever reads the log of a process that is gone.
#pragma once

#include "threads/fault_guard.h"

namespace orsin {

/// Writes one information line, to stand before the fatal-error block:
///
///     THREAD(Reader): Exception 0xc0000005 at orsincore.dll+0x31f0
///     THREAD(Caller): Exception 0xc0000005 at 0x0000000000000000, called from host.exe+0x1a52
///
/// `cmake/where` takes it as it stands. Nothing for a fault whose place is not known.
void write_fault_place(const EscapedFault& fault);

}  // namespace orsin
