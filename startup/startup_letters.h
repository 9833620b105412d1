// The command-line letters that start-up reads.
#pragma once

namespace orsin {

struct StartupOptions {
  int debug_count = 0;      // D or d: one more log level each.
  int processor_count = 0;  // P or p with a number; 0: not given.
  bool is_restart = false;  // "-restart".
};

/// Reads argv[1] and on; argv[0] is the program. Arguments that do not begin with "-" are ignored.
[[nodiscard]] StartupOptions read_startup_letters(int argc, const char* const* argv);

}  // namespace orsin
