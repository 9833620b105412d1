// Start and stop of the library loader; opening and closing is public: ov_open_library().
#pragma once

#include <cstdint>

namespace orsin {

/// One library in the loader's table.
struct lib_entry {
  char name[260];  // As its first opener spelled it.
  void* module;
  std::int32_t reference_count;
};

void start_library_loader();

/// Drops one reference of each library, the newest first. Nothing may be opened afterwards.
void stop_library_loader();

}  // namespace orsin
