// One started thread, as the table keeps it. The layout is fixed.
#pragma once

#include <cstddef>

namespace orsin {

struct thread_entry_str {
  // Kept on purpose: a name of 32 bytes or more fills the field without a terminator. Callers keep
  // names shorter.
  char name[32];
  int in_use;  // 1 from the start until joined, detached or ended by closedown.
  void (*entry)(void*);
  void* argument;
  void* handle;  // Null when the thread could not be created.
  unsigned int identifier;
};

static_assert(offsetof(thread_entry_str, name) == 0);
static_assert(offsetof(thread_entry_str, in_use) == 32);
static_assert(offsetof(thread_entry_str, entry) == 40);
static_assert(offsetof(thread_entry_str, argument) == 48);
static_assert(offsetof(thread_entry_str, handle) == 56);
static_assert(offsetof(thread_entry_str, identifier) == 64);

}  // namespace orsin
