// How many handles a process has open.
#pragma once

#include <cstddef>

namespace orsin::test {

/// Of the calling process. Not GetProcessHandleCount(), which is always 0 under Wine. What the system
/// itself opens for the registry and keeps is open before the first count.
std::size_t open_handles();

}  // namespace orsin::test
