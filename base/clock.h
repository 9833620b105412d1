// The clock's start, for start-up; reading it is public: mp_getclock().
#pragma once

namespace orsin {

/// Reads the counter's frequency and its base value; does nothing once that has succeeded.
void start_clock();

/// Forgets frequency, base and failures, as at process start. For tests.
void reset_clock();

}  // namespace orsin
