// Where the names of all directory lists live.
//
// A name whose stored length is below 64 takes a 64-byte block from one pool of the process; longer
// ones are heap strings of their own. So a listing of thousands of short names costs one
// allocation for every 8192 of them. Whoever gives a name back says the stored length once more:
// nothing else tells the two apart.
//
// One mutex guards the pool. It is created by the first listing and deleted by flush_name_cache(),
// which is for closedown, when no list is alive.
#pragma once

#include <cstdint>

namespace orsin {

/// Any thread, before take_name(); cheap when it was called already.
void start_name_cache();

/// Storage for `stored_length` + 1 bytes; null when memory is short.
[[nodiscard]] char* take_name(std::uint32_t stored_length);

/// Names given back under one hold of the mutex.
class NameReturn {
 public:
  NameReturn();
  ~NameReturn();
  NameReturn(const NameReturn&) = delete;
  NameReturn& operator=(const NameReturn&) = delete;

  void give_back(char* name, std::uint32_t stored_length);
};

/// Gives all blocks back to the process heap and deletes the mutex.
void flush_name_cache();

}  // namespace orsin
