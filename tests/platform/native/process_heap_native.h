// What a native test has the process heap answer.
#pragma once

#include <cstdint>

#include "memory/process_heap_port.h"

namespace orsin::test {

struct NativeProcessHeap {
  bool is_valid = true;
  std::uint64_t largest_free = 0;
  int compact_error = 0;
  port::OutOfMemoryReport report = nullptr;  // As installed by the library.
};

NativeProcessHeap& native_process_heap();

}  // namespace orsin::test
