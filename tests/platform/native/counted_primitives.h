// How often the calling thread has locked and woken, by the stand-in's count.
#pragma once

namespace orsin::test {

struct PrimitiveCalls {
  int locks = 0;
  int wakes = 0;  // Signals and broadcasts.
};

/// The calling thread's own.
PrimitiveCalls& primitive_calls();

}  // namespace orsin::test
