// What the memory layer asks of the platform about the process heap.
//
// process_heap_win.cpp answers. A call that fails leaves the system's last error.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orsin::port {

/// Sees the size that could not be had, in bytes.
using OutOfMemoryReport = void (*)(std::size_t requested);

/// Has malloc() and new call `report` before they give up. The first call counts; later ones are
/// for the same report and change nothing.
void report_out_of_memory_to(OutOfMemoryReport report) noexcept;

/// Puts back what was there before, unless somebody has put something over it since: the handler is
/// one for the process, which may go on without the library.
void stop_reporting_out_of_memory() noexcept;

[[nodiscard]] bool process_heap_is_valid() noexcept;

/// Joins free blocks and returns the size of the largest committed one. 0 with last error 0 means
/// that there is none.
[[nodiscard]] std::uint64_t compact_process_heap() noexcept;

}  // namespace orsin::port
