// The table of named threads.
//
// Records are made on demand and used again after a join or detach; none is freed before closedown,
// so that a name stays readable as long as the table stands. `table.mutex` guards the records. It
// is held while a thread is created, so a new thread that asks for its own name waits until its
// identifier is known; it is never held during a wait for a thread.
#include "threads/thread_table.h"

#include <cstdio>
#include <cstring>
#include <new>

#include "base/library_locks.h"
#include "base/log_port.h"
#include "base/process_wide.h"
#include "base/wait_deadline.h"
#include "base/wait_time.h"
#include "orsincore/log.h"
#include "orsincore/processors.h"
#include "orsincore/threads.h"
#include "threads/fault_guard.h"
#include "threads/fault_place.h"
#include "threads/thread_port.h"
#include "threads/thread_record.h"

namespace orsin {
namespace {

constexpr std::size_t kStackBytes = 1024 * 1024;
constexpr std::uint32_t kAccessViolation = 0xC0000005;
constexpr int kFaultExitCode = -1;

constexpr char kAsterisks[] = "********************************************************";
static_assert(sizeof(kAsterisks) - 1 == 56);

struct Table {
  LibraryMutex mutex{LockRank::kThreadTable};
  ov_vector<thread_entry_str*> records;
};

// A record's name outside of the table's mutex, terminated.
struct ThreadName {
  ThreadName() = default;
  explicit ThreadName(const thread_entry_str& record) {
    std::memcpy(text, record.name, sizeof record.name);
  }
  char text[sizeof thread_entry_str::name + 1] = {};
};

Table& table() {
  return process_wide<Table>();
}

thread_entry_str* free_record_locked(Table& threads) {
  for (thread_entry_str* record : threads.records) {
    if (record->in_use == 0) {
      *record = {};
      return record;
    }
  }
  auto* record = new (std::nothrow) thread_entry_str{};
  if (record != nullptr && !threads.records.append(record)) {
    delete record;
    return nullptr;
  }
  return record;
}

// The first record in use with this identifier that has a thread.
thread_entry_str* find_locked(Table& threads, unsigned int identifier) {
  for (thread_entry_str* record : threads.records) {
    if (record->in_use != 0 && record->identifier == identifier) {
      return record;
    }
  }
  return nullptr;
}

// Ends every thread of the table that can be ended and gives its record free. None holds a lock of the
// library then.
void end_threads(Table& threads) {
  const unsigned int own_identifier = port::current_thread_identifier();
  const AllLibraryLocks all_held;
  for (thread_entry_str* record : threads.records) {
    const bool is_other = record->in_use != 0 && record->identifier != own_identifier;
    if (is_other && record->handle != nullptr && port::terminate_thread(record->handle)) {
      port::close_thread(record->handle);
      record->in_use = 0;
    }
  }
}

// Where the system has no handle left for the wait: the record's own is good while the table's mutex
// is held, and nobody waits under that. Whoever joins a thread goes on to free what it works with, so
// giving up would not do.
port::ThreadWait look_until_ended(Table& threads, const thread_entry_str& record,
                                  unsigned int identifier, unsigned int timeout_ms) {
  constexpr long long kBetweenLooksNs = 1'000'000;
  const WaitDeadline deadline(timeout_ms);
  for (;;) {
    {
      const ScopedLock guard(threads.mutex);
      if (record.in_use == 0 || record.identifier != identifier) {
        return port::ThreadWait::kFailed;  // A second join has closed the handle.
      }
      const port::ThreadWait state = port::wait_for_thread(record.handle, 0);
      if (state != port::ThreadWait::kTimedOut) {
        return state;
      }
    }
    if (deadline.left_ms() == 0) {
      return port::ThreadWait::kTimedOut;
    }
    mp_timedwait(kBetweenLooksNs);
  }
}

void write_place(void* fault) {
  write_fault_place(*static_cast<const EscapedFault*>(fault));
}

void write_fatal_error(void* fault) {
  const std::uint32_t code = static_cast<const EscapedFault*>(fault)->code;
  const char* name = mp_get_thread_name();
  const auto load = static_cast<int>(port::memory_load_percent());
  msgerror("%s", kAsterisks);
  if (code == kAccessViolation) {
    msgcont("THREAD(%s): Fatal Error (VM: %3d%%)", name, load);
  } else {
    msgcont("THREAD(%s): Fatal Error, Exception: 0x%08x (VM: %3d%%)", name, code, load);
  }
  msgcont("%s", kAsterisks);
  if (std::FILE* stream = msg_get_file()) {
    std::fflush(stream);  // Standard error may be buffered, and nothing else will write it out.
  }
}

// The first function of every thread.
void run_thread(void (*entry)(void*), void* argument) {
  if (entry == nullptr) {
    return;
  }
  fpu_default_mode();
  EscapedFault fault = run_guarded(entry, argument);
  if (fault.code != 0) {
    // One after the other, as the block must come whatever the first line meets. Where even the log is
    // damaged the process ends without a word, but it ends.
    static_cast<void>(run_guarded(write_place, &fault));
    static_cast<void>(run_guarded(write_fatal_error, &fault));
    port::end_process(kFaultExitCode);
  }
}

}  // namespace

void start_thread_table() {
  table().mutex.create();
  install_fault_guard();
}

void stop_thread_table() {
  Table& threads = table();
  if (!threads.mutex.exists()) {
    return;
  }
  end_threads(threads);

  const ScopedLock guard(threads.mutex);
  for (int i = 0; i < threads.records.count(); ++i) {
    thread_entry_str* record = threads.records[i];
    if (record->in_use != 0) {
      // A record that was left by a failed start has no thread to end either.
      msgwarn("MP: Can't terminate thread(%d): %d\n", i, static_cast<int>(record->identifier));
      if (record->handle != nullptr) {
        port::close_thread(record->handle);
      }
    }
    delete record;
  }
  threads.records.release();
  remove_fault_guard();
}

void* thread_handle(int identifier) {
  Table& threads = table();
  const ScopedLock guard(threads.mutex);
  const thread_entry_str* record = find_locked(threads, static_cast<unsigned int>(identifier));
  return record != nullptr ? record->handle : nullptr;
}

int thread_record_count() {
  Table& threads = table();
  const ScopedLock guard(threads.mutex);
  return threads.records.count();
}

}  // namespace orsin

using namespace orsin;

unsigned int mp_start_thread(const char* name, void (*entry)(void*), void* argument) {
  start_thread_table();
  Table& threads = table();
  const ScopedLock guard(threads.mutex);

  thread_entry_str* record = free_record_locked(threads);
  if (record == nullptr) {
    return kNoThread;
  }
  const bool is_named = name != nullptr && name[0] != '\0';
  std::strncpy(record->name, is_named ? name : "Unknown", sizeof(record->name));
  record->in_use = 1;
  record->entry = entry;
  record->argument = argument;

  const port::StartedThread started =
      port::start_thread({run_thread, entry, argument}, kStackBytes);
  if (started.handle == nullptr) {
    // Kept on purpose: the record stays in use without a thread until closedown. Required.
    msg_os_error("MP: Failed to start thread");
    return kNoThread;
  }
  record->handle = started.handle;
  record->identifier = started.identifier;
  return started.identifier;
}

int mp_join_thread(unsigned int identifier, unsigned int timeout_ms) {
  Table& threads = table();
  if (!threads.mutex.exists()) {
    return 0;
  }
  thread_entry_str* record = nullptr;
  ThreadName name;
  void* waited_for = nullptr;
  {
    const ScopedLock guard(threads.mutex);
    record = find_locked(threads, identifier);
    if (record == nullptr || record->handle == nullptr) {
      return 0;
    }
    name = ThreadName(*record);
    // A handle of our own: a second join may close the record's while we wait.
    waited_for = port::duplicate_thread(record->handle);
  }

  const port::ThreadWait result = waited_for != nullptr
                                      ? port::wait_for_thread(waited_for, timeout_ms)
                                      : look_until_ended(threads, *record, identifier, timeout_ms);
  if (result == port::ThreadWait::kTimedOut) {
    msgwarn("Timeout while waiting for thread '%s' to terminate", name.text);
  } else if (result == port::ThreadWait::kFailed) {
    msgwarn("Error while waiting for thread '%s' to terminate (%d)", name.text,
            static_cast<int>(port::last_system_error()));
  }

  // Kept on purpose: a thread that timed out runs on, but the table forgets it and uses its record
  // again. Not when a second join was faster: the record may be another thread's by now. As long as
  // we have a handle to it, the system gives the identifier to nobody else.
  const ScopedLock guard(threads.mutex);
  if (record->in_use != 0 && record->identifier == identifier) {
    port::close_thread(record->handle);
    record->in_use = 0;
  }
  if (waited_for != nullptr) {
    port::close_thread(waited_for);
  }
  return result == port::ThreadWait::kEnded ? 1 : 0;
}

int mp_detach_thread(int identifier) {
  Table& threads = table();
  const ScopedLock guard(threads.mutex);
  thread_entry_str* record = find_locked(threads, static_cast<unsigned int>(identifier));
  if (record == nullptr || record->handle == nullptr) {
    return 0;
  }
  port::close_thread(record->handle);
  record->in_use = 0;
  return 1;
}

const char* mp_get_thread_name() {
  Table& threads = table();
  if (!threads.mutex.exists()) {
    return "Unknown";
  }
  const unsigned int identifier = port::current_thread_identifier();
  const ScopedLock guard(threads.mutex);
  // A record that is not in use keeps its identifier, which the system may have given again; but a
  // detached thread still finds its name.
  if (const thread_entry_str* record = find_locked(threads, identifier)) {
    return record->name;
  }
  for (const thread_entry_str* record : threads.records) {
    if (record->identifier == identifier && record->handle != nullptr) {
      return record->name;
    }
  }
  return "Unknown";
}
