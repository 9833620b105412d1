// How many handles the process has open.
#pragma once

#include <cstddef>

namespace orsin::test {

/// Handles that this process has open, sockets among them; 0 when the system does not tell. Wine
/// answers GetProcessHandleCount() with 0, and its server can fall over the list of all handles when
/// another process begins or ends beside it; there each value that may be a handle is tried.
[[nodiscard]] std::size_t count_own_handles();

}  // namespace orsin::test
