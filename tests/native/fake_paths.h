// How often the native file system was given a path to find, as each call with a path makes the
// system open something; and what others do between two calls.
#pragma once

#include <atomic>
#include <functional>

namespace orsin::test {

/// Calls of the file system port that name a path, since the process began.
std::atomic<int>& path_calls();

/// Done once, after the next path whose attributes are asked for turns out to be missing: what
/// somebody else does before the asker goes on. Not for tests with several threads.
std::function<void()>& after_missing();

}  // namespace orsin::test
