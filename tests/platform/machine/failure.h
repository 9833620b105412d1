// How a run fails.
#pragma once

#include <cstdarg>

namespace orsin::simulation {

/// Ends the run, here and now: its process is its own. The text says which promise was broken. Whoever
/// starts runs defines it.
[[noreturn]] void fail(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Fails unless it holds.
#define ORSIN_EXPECT(condition, ...)          \
  do {                                        \
    if (!(condition)) {                       \
      ::orsin::simulation::fail(__VA_ARGS__); \
    }                                         \
  } while (false)

}  // namespace orsin::simulation
