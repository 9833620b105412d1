// Positioned transfers in 96 slots that all files of the process share.
//
//   idle --start--> in flight (ticket set) --+--> completed, flushed or closed --> idle
//                                            +--> overtaken by the round-robin: ticket forgotten
//
// `transfers.mutex` guards the slots, the ticket counter and the byte counters. A transfer is
// issued outside it, so that one that the system runs at once does not hold up the others: the
// record is armed under the mutex first, so nobody takes the slot for finished before its transfer
// has begun. While `starting` is set, the slot is its starter's, who notes down without the mutex
// how the start went; the others wait for that. After it a slot's fields are changed, under the
// mutex, only by whoever finds its ticket still there.
//
// Lock order: after the readers' direct-transfer mutex, before the log.
#include "files/transfer_slots.h"

#include <atomic>
#include <cstdio>
#include <cstring>

#include "base/library_locks.h"
#include "base/log_port.h"
#include "base/path_buffer.h"
#include "orsincore/io.h"
#include "orsincore/log.h"
#include "orsincore/text.h"
#include "orsincore/threads.h"

namespace orsin {
namespace {

constexpr int kSlotCount = 96;  // Transfers in flight in the whole process.
constexpr std::uint32_t kSlotWaitMs = 1000;
constexpr long long kStartPollNs = 1000000;

struct Slot {
  void* file;                             // Invalid when idle.
  std::atomic<std::uint32_t> ticket = 0;  // 0: none.
  std::uint64_t size;                     // Bytes requested.
  std::atomic<std::uint8_t> done = 0;     // 1: completed at once, or collected.
  void* event;                            // For the life of the process.
  port::TransferRecord record;
  std::atomic<bool> starting = false;
};

struct Transfers {
  LibraryMutex mutex{LockRank::kTransfers};
  Slot slots[kSlotCount] = {};
  int next_slot = 0;
  std::int32_t last_ticket = 0;
  std::uint64_t bytes_read = 0;
  std::uint64_t bytes_written = 0;
};

constinit Transfers transfers;

enum class Direction { kRead, kWrite };

bool is_valid(const void* file) {
  return file != io_invalid_handle();
}

void make_idle(Slot& slot) {
  slot.file = io_invalid_handle();
  slot.ticket = 0;
  slot.done = 0;
}

bool is_in_flight(const Slot& slot) {
  return is_valid(slot.file) && slot.ticket != 0 && slot.done == 0;
}

// A transfer may have ended before its start has returned. Only then is there something to poll
// for, and only until the starter has the processor again.
void wait_until_started(const Slot& slot) {
  while (slot.starting) {
    mp_timedwait(kStartPollNs);
  }
}

// Waits until the slot's transfer has ended; false when waiting is impossible.
bool wait_until_ended(Slot& slot, std::uint32_t step_ms) {
  while (!port::is_complete(slot.record)) {
    switch (port::wait_for_event(slot.event, step_ms)) {
      case port::EventWait::kTimedOut:
        msgwarn("IO64: Slot timeout...");
        break;
      case port::EventWait::kFailed:
        wait_until_started(slot);
        return false;
      case port::EventWait::kSignalled:
      case port::EventWait::kCompletionRoutine:
        break;  // The record decides: the event may still be the transfer's before.
    }
  }
  wait_until_started(slot);
  return true;
}

// Kept on purpose: the result of the transfer that is overtaken is not looked at; whoever holds its
// ticket is told that it is done. Streams that fall 96 transfers behind have lost the race anyway.
Slot& take_slot_locked() {
  Slot& slot = transfers.slots[transfers.next_slot];
  if (is_in_flight(slot)) {
    static_cast<void>(wait_until_ended(slot, kSlotWaitMs));
  }
  wait_until_started(slot);
  slot.ticket = 0;
  transfers.next_slot = (transfers.next_slot + 1) % kSlotCount;
  return slot;
}

// Tickets are positive: the counter starts again at 1 before it would turn negative.
std::uint32_t next_ticket_locked() {
  const auto next =
      static_cast<std::int32_t>(static_cast<std::uint32_t>(transfers.last_ticket) + 1);
  transfers.last_ticket = next > 0 ? next : 1;
  return static_cast<std::uint32_t>(transfers.last_ticket);
}

Slot* find_ticket_locked(std::uint32_t ticket) {
  for (Slot& slot : transfers.slots) {
    if (slot.ticket == ticket && ticket != 0 && !slot.starting) {
      return &slot;
    }
  }
  return nullptr;
}

void log_counts(const char* title, std::uint32_t bytes, std::uint64_t size) {
  char text[96];
  std::snprintf(text, sizeof(text), "%s - (%d %llu)", title, static_cast<int>(bytes),
                static_cast<unsigned long long>(size));
  msg_os_error(text);
}

void log_read_failure(std::uint32_t error, std::uint64_t offset, std::uint64_t size,
                      const void* buffer) {
  if (error == port::kErrorEndOfFile) {
    msg_os_error("IO read beyond EOF..");
  } else if (error == port::kErrorInvalidParameter) {
    msgerror("IO read error(3), Wrong offset %d or size %d", static_cast<int>(offset),
             static_cast<int>(size));
  } else {
    msg_os_error("IO read error(1)");
    if (error == port::kErrorNoAccess) {
      msgerror("IO buffer = %p", buffer);
    }
  }
}

// Whether a start counts as success; says why not.
bool is_accepted(Direction direction, const port::TransferStart& start, std::uint64_t offset,
                 std::uint64_t size, const void* buffer) {
  if (start.is_complete) {
    if (direction == Direction::kRead) {
      if (start.bytes != 0 || size == 0) {
        return true;  // A short count too.
      }
      log_counts("IO read error(2)", start.bytes, size);
      return false;
    }
    if (start.bytes == size) {
      return true;
    }
    log_counts("IO write error(2)", start.bytes, size);
    return false;
  }
  if (start.error == port::kErrorPending) {
    return true;
  }
  if (direction == Direction::kRead) {
    log_read_failure(start.error, offset, size, buffer);
  } else {
    msg_os_error("IO write error(1)");
  }
  return false;
}

bool start_transfer(Direction direction, void* file, void* buffer, std::uint64_t offset,
                    std::uint64_t size, int* ticket_result) {
  Slot* slot = nullptr;
  std::uint32_t ticket = 0;
  {
    const ScopedLock guard(transfers.mutex);
    slot = &take_slot_locked();
    ticket = next_ticket_locked();
    slot->starting = true;
    slot->file = file;
    slot->done = 0;
    slot->size = size;
    slot->ticket = ticket;
    port::arm_record(slot->record);
    (direction == Direction::kRead ? transfers.bytes_read : transfers.bytes_written) += size;
  }

  // Kept on purpose: the system takes 32 bits. Nobody transfers 4 GiB at once, and a write that is
  // cut so fails for its short count.
  const auto count = static_cast<std::uint32_t>(size);
  const port::TransferStart start =
      direction == Direction::kRead
          ? port::start_read(file, buffer, offset, count, slot->record, slot->event)
          : port::start_write(file, buffer, offset, count, slot->record, slot->event);
  const bool accepted = is_accepted(direction, start, offset, size, buffer);

  if (!accepted) {
    slot->ticket = 0;
  } else if (start.is_complete) {
    slot->done = 1;
  }
  slot->starting = false;
  if (accepted && ticket_result != nullptr) {
    *ticket_result = static_cast<int>(ticket);
  }
  return accepted;
}

// Of a transfer that has ended. Both stay as they are where that is not known any more.
struct Counts {
  std::uint64_t bytes;  // Transferred.
  std::uint64_t size;   // Asked for.
};

// What became of a transfer that has ended; the slot is idle again.
int collect_locked(void* file, Slot& slot, Counts& counts) {
  slot.file = io_invalid_handle();
  slot.ticket = 0;
  slot.done = 1;
  std::uint32_t count = 0;
  if (port::transfer_result(file, slot.record, count)) {
    if (count == 0 && slot.size != 0) {
      msgerror("IO completion error(4) - %d %llu\n", static_cast<int>(count),
               static_cast<unsigned long long>(slot.size));
      return -1;
    }
    counts = {count, slot.size};
    return 1;
  }
  switch (port::last_system_error()) {
    case port::kErrorEndOfFile:
      msgerror("IO completion error(2) - read beyond end of file\n");
      return -1;
    case port::kErrorIncomplete:
      return 0;
    default:
      log_counts("IO completion error(3)", count, slot.size);
      return -1;
  }
}

int complete(void* file, int ticket_value, bool wait, Counts& counts) {
  const auto ticket = static_cast<std::uint32_t>(ticket_value);
  Slot* slot = nullptr;
  {
    const ScopedLock guard(transfers.mutex);
    slot = find_ticket_locked(ticket);
    if (slot == nullptr) {
      return 1;  // Collected already, or overtaken.
    }
    if (slot->done == 1) {
      std::uint32_t count = 0;
      if (port::transfer_result(file, slot->record, count)) {
        counts = {count, slot->size};
      }
      make_idle(*slot);
      return 1;
    }
  }

  while (!port::is_complete(slot->record)) {
    const port::EventWait result = port::wait_for_event(slot->event, wait ? port::kWaitForever : 0);
    if (result == port::EventWait::kTimedOut) {
      return 0;
    }
    if (result == port::EventWait::kFailed) {
      msgerror("IO completion error(1) - %d\n", static_cast<int>(port::last_system_error()));
      return -1;
    }
    if (result == port::EventWait::kSignalled) {
      break;
    }
  }

  const ScopedLock guard(transfers.mutex);
  return slot->ticket == ticket ? collect_locked(file, *slot, counts) : 1;
}

}  // namespace

void start_transfers(std::int32_t last_ticket) {
  transfers.mutex.create();
  transfers.last_ticket = last_ticket;
  for (Slot& slot : transfers.slots) {
    make_idle(slot);
    slot.event = port::create_event();
  }
  transfers.next_slot = 0;
}

void stop_transfers() {
  for (Slot& slot : transfers.slots) {
    if (slot.event != nullptr) {
      port::close_event(slot.event);
      slot.event = nullptr;
    }
    make_idle(slot);
  }
}

int complete_transfer(void* file, int ticket, bool wait, std::uint64_t& bytes) {
  Counts counts = {bytes, bytes};
  const int result = complete(file, ticket, wait, counts);
  bytes = counts.bytes;
  return result;
}

bool complete_write(void* file, int ticket) {
  Counts counts = {0, 0};
  if (complete(file, ticket, true, counts) < 0) {
    return false;
  }
  if (counts.bytes != counts.size) {
    // The system calls it a success, so there is no error of its to add.
    msgerror("IO write error(2) - (%d %llu)", static_cast<int>(counts.bytes),
             static_cast<unsigned long long>(counts.size));
    return false;
  }
  return true;
}

bool write_whole(void* file, const void* data, std::uint64_t position, std::uint64_t bytes) {
  int ticket = -1;
  return io_write_async64(file, data, static_cast<long long>(position), bytes, &ticket) &&
         complete_write(file, ticket);
}

// A longer name is refused, never cut: cut, it would be another file's, which would be written over.
// Null is an empty name.
void* open_by_name(const char* name, const port::OpenMode& mode) {
  if (name != nullptr && std::strlen(name) >= kPathBytes) {
    port::set_last_system_error(port::kErrorNameTooLong);
    return io_invalid_handle();
  }
  unsigned short wide[kPathBytes];  // No path has more units than bytes.
  return port::open_file(ov_utf8_to_utf16(name, wide, kPathBytes), mode);
}

}  // namespace orsin

using namespace orsin;

void* io_open64(const char* name, int mode, bool unbuffered, bool share, bool overlapped) {
  port::OpenMode open;
  open.write = (mode & 3) != 0;
  open.read = (mode & 2) != 0 || !open.write;
  open.share_read = share;
  open.unbuffered = unbuffered;
  open.overlapped = overlapped;
  open.write_through = open.write;
  void* file = open_by_name(name, open);
  if (!is_valid(file)) {
    msgerror("IO open failed '%s' (%s)", name != nullptr ? name : "", os_errormsg());
  }
  return file;
}

void* io_create64(const char* name, bool write_only, long long initial_size) {
  port::OpenMode open;
  open.create = true;
  open.write = true;
  open.overlapped = true;
  open.read = open.unbuffered = open.write_through = !write_only;
  void* file = open_by_name(name, open);
  // Kept on purpose: an error is reported also beside a good handle; some drivers leave one.
  const unsigned error = port::last_system_error();
  if (error != 0 && error != port::kErrorAlreadyExists && error != port::kErrorPathNotFound) {
    msg_os_error("IO Create File", static_cast<int>(error));
    msgcont("File: '%s'", name != nullptr ? name : "");
  }
  if (is_valid(file) && initial_size >= 1) {
    const auto size = static_cast<std::uint64_t>(initial_size);
    if (!port::set_file_size(file, 0) || !port::set_file_size(file, size)) {
      msgwarn("IO can't configure initial file size");
    } else if (!port::zero_range(file, size)) {
      msgwarn("IO failed to configure initial file size");
    }
  }
  return file;
}

void io_close64(void* file) {
  {
    const ScopedLock guard(transfers.mutex);
    for (Slot& slot : transfers.slots) {
      if (slot.file != file || !is_valid(file)) {
        continue;
      }
      port::cancel_transfers(file);
      if (is_in_flight(slot)) {
        // A cancelled transfer still ends; it must not do so in the slot's next one.
        static_cast<void>(wait_until_ended(slot, port::kWaitForever));
      }
      if (slot.ticket != 0) {
        port::reset_event(slot.event);
      }
      make_idle(slot);
    }
  }
  if (is_valid(file)) {
    port::close_file(file);
  }
}

bool io_read_async64(void* file, void* buffer, long long offset, unsigned long long size,
                     int* ticket) {
  return start_transfer(Direction::kRead, file, buffer, static_cast<std::uint64_t>(offset), size,
                        ticket);
}

bool io_write_async64(void* file, const void* buffer, long long offset, unsigned long long size,
                      int* ticket) {
  return start_transfer(Direction::kWrite, file, const_cast<void*>(buffer),
                        static_cast<std::uint64_t>(offset), size, ticket);
}

int io_complete64(void* file, int* ticket, bool wait) {
  Counts counts = {0, 0};
  return complete(file, ticket != nullptr ? *ticket : 0, wait, counts);
}

bool io_read64(void* file, void* buffer, long long offset, unsigned long long size) {
  int ticket = 0;
  return io_read_async64(file, buffer, offset, size, &ticket) &&
         io_complete64(file, &ticket, true) >= 0;
}

bool io_write64(void* file, const void* buffer, long long offset, unsigned long long size) {
  int ticket = 0;
  return io_write_async64(file, buffer, offset, size, &ticket) &&
         io_complete64(file, &ticket, true) >= 0;
}

// Kept on purpose: the handle is not looked at. Hosts flush before they hand a project to another
// program, and mean everything.
void io_flush64(void* /*file*/) {
  const ScopedLock guard(transfers.mutex);
  for (Slot& slot : transfers.slots) {
    if (is_in_flight(slot)) {
      static_cast<void>(wait_until_ended(slot, port::kWaitForever));
    }
    // What its start found wrong is known to its starter.
    if (is_in_flight(slot)) {
      std::uint32_t bytes = 0;
      if (!port::transfer_result(slot.file, slot.record, bytes)) {
        msg_os_error("IO flush error (1)");
      } else if (bytes != slot.size) {
        msgerror("IO flush error (2) - %d %llu\n", static_cast<int>(bytes),
                 static_cast<unsigned long long>(slot.size));
      }
    }
    slot.ticket = 0;
    slot.done = 0;
  }
}

long long io_get_filesize64(void* file, const char* name) {
  if (name != nullptr && std::strncmp(name, "\\\\.\\", 4) == 0) {
    char root[4] = {};
    std::strncpy(root, name + 4, 3);
    root[2] = '\\';  // "C:" becomes "C:\".
    std::uint64_t bytes = 0;
    return port::volume_capacity(root, bytes) ? static_cast<long long>(bytes) : -1;
  }
  std::uint64_t size = 0;
  return is_valid(file) && port::get_file_size(file, size) ? static_cast<long long>(size) : -1;
}

bool io_set_filesize64(void* file, unsigned long long size) {
  return port::set_file_size(file, size);
}

void io_get_counters(unsigned long long& read, unsigned long long& written) {
  const ScopedLock guard(transfers.mutex);
  read = transfers.bytes_read;
  written = transfers.bytes_written;
  transfers.bytes_read = 0;
  transfers.bytes_written = 0;
}

void io_inc_counters(unsigned long long read, unsigned long long written) {
  const ScopedLock guard(transfers.mutex);
  transfers.bytes_read += read;
  transfers.bytes_written += written;
}
