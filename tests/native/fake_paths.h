// How often the native file system was given a path to find, as each call with a path makes the
// system open something.
#pragma once

#include <atomic>

namespace orsin::test {

/// Calls of the file system port that name a path, since the process began.
std::atomic<int>& path_calls();

}  // namespace orsin::test
