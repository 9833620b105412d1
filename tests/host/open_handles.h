// How many handles a process has open.
#pragma once

#include <cstddef>

namespace orsin::test {

/// Of the calling process. What the system itself opens for the registry and keeps is open before the
/// first count. Ends the process when the system does not tell.
std::size_t open_handles();

}  // namespace orsin::test
