// How often the native file system was given a path to find, as each call with a path makes the
// system open something; what others do between two calls; and what the file system knows.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>

namespace orsin::test {

/// Calls of the file system port that name a path, since the process began.
std::atomic<int>& path_calls();

/// Done once, after the next path whose attributes are asked for turns out to be missing: what
/// somebody else does before the asker goes on. Not for tests with several threads.
std::function<void()>& after_missing();

/// Whether the file system tells its directories apart by an index; some know none.
bool& directories_have_indices();

/// What the system says links are: symbolic links to begin with, nothing where it does not tell.
std::optional<std::uint32_t>& link_tag();

}  // namespace orsin::test
