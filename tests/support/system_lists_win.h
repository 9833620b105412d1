// The system's own lists, of which it tells more than its documented counts do under Wine.
#pragma once

#include <cstddef>
#include <vector>

namespace orsin::test {

/// The list of this number, as the system lays it out; empty when it does not tell.
[[nodiscard]] std::vector<unsigned char> ask_system(int list);

/// Handles that this process has open, counted one by one in the list of all handles: Wine answers
/// GetProcessHandleCount() with 0, and its list of processes with the room in a table. 0 when the
/// system does not tell.
[[nodiscard]] std::size_t count_own_handles();

}  // namespace orsin::test
