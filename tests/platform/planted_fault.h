// A processor fault for native builds, where real ones are the sanitizers' business.
#pragma once

#include "threads/fault_guard.h"

namespace orsin::test {

/// With what this thread's guarded call ends once its work is done; those after it end without a fault.
EscapedFault& planted_fault();

}  // namespace orsin::test
