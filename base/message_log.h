// The log's seam for tests; everything else about it is public.
#pragma once

namespace orsin {

/// Forgets the line before, its count of repeats and the override, as before the first line. For
/// tests.
void forget_repeats();

}  // namespace orsin
