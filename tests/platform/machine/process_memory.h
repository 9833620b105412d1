// The process heap as the library sees it: every block counted, and refused where the machine says so.
//
// The program is linked so that malloc() and its kin, called in the library's objects, come through here;
// operator new and delete are replaced. What a simulated thread allocates inside the library is the
// library's, until it is freed, wherever.
#pragma once

namespace orsin::simulation {

/// Blocks that the library has allocated and nobody has freed.
[[nodiscard]] long library_blocks();

/// Prints where the oldest of them were allocated.
void print_library_blocks();

}  // namespace orsin::simulation
