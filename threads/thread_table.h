// The table of named threads: its life, and what only the library asks of it.
#pragma once

namespace orsin {

/// What mp_start_thread() returns when it starts none.
constexpr unsigned int kNoThread = 0xFFFFFFFF;

/// Creates the table and makes processor faults of the calling thread catchable. Start-up calls it;
/// the first mp_start_thread() does where start-up has not.
void start_thread_table();

/// Terminates what still runs, in table order, and frees the table. Nothing may start meanwhile.
void stop_thread_table();

/// The platform handle of the in-use record with this identifier; null when there is none.
void* thread_handle(int identifier);

/// How many records the table holds, in use or not.
int thread_record_count();

}  // namespace orsin
