// Threads that never stop using the library, for closedowns in the middle of their work.
#pragma once

#include <string>

namespace orsin::test {

/// Starts threads that do what `work` names, and returns when each has done it several times: "log",
/// "list", "open" (the plug-in ORSIN_TEST_PLUGIN), "allocate", "transfer", "read", "work" (in the
/// background). False for another name.
bool start_busy_threads(const std::string& work);

/// Does it once, on this thread.
bool do_busy_round(const std::string& work);

}  // namespace orsin::test
