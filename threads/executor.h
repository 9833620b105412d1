// Start and stop of the executor; running work on it is public: smp_exec().
#pragma once

namespace orsin {

/// Starts workers "SMP-0", "SMP-1", ...: as many as requested, or one a processor when that is
/// below 1; at most 128. Returns their number; fewer than 2 means that smp_exec() runs inline. When
/// a thread is refused, the workers started before it stay idle until the stop.
int start_executor(int requested);

/// Ends the workers and waits for each up to a minute. smp_exec() must not be called afterwards.
void stop_executor();

}  // namespace orsin
