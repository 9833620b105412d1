// The floating-point mode that fpu_setup() recorded.
#pragma once

namespace orsin {

/// Forgets the recorded mode, as before start-up. For tests.
void forget_fpu_mode();

}  // namespace orsin
