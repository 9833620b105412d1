// Positioned transfers in 96 slots that all files of the process share.
//
//   idle --start--> in flight (ticket set) --+--> completed, flushed or closed --> idle
//                                            +--> overtaken by the round-robin: ticket forgotten
//
// A host's transfer is named by its ticket, and whoever is overtaken has lost its result. A transfer
// of the library's own is an OwnTransfer besides: whoever ends the slot's use of it, be it another
// thread's start, flush or close, leaves the result there. A stream therefore always knows whether
// its bytes went where they should, however busy the process is.
//
// `transfers.mutex` guards the slots, what is left in OwnTransfers, the ticket counter and the byte
// counters. A transfer is issued outside it, so that one that the system runs at once does not hold
// up the others: the record is armed under the mutex first, so nobody takes the slot for finished
// before its transfer has begun. While `starting` is set, the slot is its starter's, who notes down
// without the mutex how the start went; the others wait for that. After it a slot's fields are
// changed, under the mutex, only by whoever finds its transfer still there.
//
// Lock order: after the readers' direct-transfer mutex, before the log.
#include "files/transfer_slots.h"

#include <atomic>

#include "base/library_locks.h"
#include "base/log_port.h"
#include "files/transfer_reports.h"
#include "orsincore/io.h"
#include "orsincore/log.h"
#include "orsincore/threads.h"

namespace orsin {
namespace {

constexpr int kSlotCount = 96;  // Transfers in flight in the whole process.
constexpr std::uint32_t kSlotWaitMs = 1000;
constexpr std::uint32_t kOvertakenWaitMs = 100;
constexpr long long kPollNs = 1000000;

struct Slot {
  void* file;                             // Invalid when idle.
  std::atomic<std::uint32_t> ticket = 0;  // 0: none.
  std::uint64_t size;                     // Bytes requested.
  std::atomic<bool> done = false;         // Completed at once, and not collected yet.
  void* event;                            // For the life of the process; null: could not be had.
  port::TransferRecord record;
  std::atomic<bool> starting = false;
  OwnTransfer* own = nullptr;  // Where the result is to be left; null for a host's transfer.
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

bool is_valid(const void* file) {
  return file != io_invalid_handle();
}

void make_idle(Slot& slot) {
  slot.file = io_invalid_handle();
  slot.ticket = 0;
}

// Until its start has ended, too: its starter still has to write to the slot.
bool is_in_flight(const Slot& slot) {
  return slot.starting || (is_valid(slot.file) && slot.ticket != 0 && !slot.done);
}

// A transfer may have ended before its start has returned. Only then is there something to poll
// for, and only until the starter has the processor again.
void wait_until_started(const Slot& slot) {
  while (slot.starting) {
    mp_timedwait(kPollNs);
  }
}

// As port::wait_for_event(). A slot for which the system had no event looks at the record instead, again
// and again: nobody may go on while a transfer still uses the memory.
port::EventWait wait_at(const Slot& slot, std::uint32_t timeout_ms) {
  if (slot.event != nullptr) {
    return port::wait_for_event(slot.event, timeout_ms);
  }
  for (std::uint32_t waited_ms = 0; !port::is_complete(slot.record); ++waited_ms) {
    if (waited_ms == timeout_ms) {
      return port::EventWait::kTimedOut;
    }
    mp_timedwait(kPollNs);
  }
  return port::EventWait::kSignalled;
}

// Waits until the slot's transfer has ended; false when waiting is impossible.
bool wait_until_ended(Slot& slot, std::uint32_t step_ms) {
  while (!port::is_complete(slot.record)) {
    switch (wait_at(slot, step_ms)) {
      case port::EventWait::kTimedOut:
        msgwarn("IO64: Slot timeout...");
        break;
      case port::EventWait::kFailed:
        wait_until_started(slot);
        return false;
      case port::EventWait::kSignalled:
        // The record decides: the system may signal before it writes the status, and the event may
        // still be the transfer's before.
        if (!port::is_complete(slot.record)) {
          mp_timedwait(kPollNs);
        }
        break;
      case port::EventWait::kCompletionRoutine:
        break;
    }
  }
  wait_until_started(slot);
  return true;
}

TransferOutcome outcome_of(void* file, Slot& slot) {
  std::uint32_t bytes = 0;
  if (port::transfer_result(file, slot.record, bytes)) {
    return {0, bytes};
  }
  const std::uint32_t error = port::last_system_error();
  return {error != 0 ? error : port::kErrorIncomplete, bytes};
}

// The slot is about to serve another transfer, or none.
void leave_result_locked(Slot& slot) {
  if (slot.own == nullptr) {
    return;
  }
  const TransferOutcome outcome = outcome_of(slot.file, slot);
  slot.own->error = outcome.error;
  slot.own->bytes = outcome.bytes;
  slot.own->is_over = true;
  slot.own = nullptr;
}

// Kept on purpose: the result of a host's transfer that is overtaken is not looked at; whoever holds
// its ticket is told that it is done. Required.
Slot& take_slot_locked() {
  Slot& slot = transfers.slots[transfers.next_slot];
  if (is_in_flight(slot)) {
    static_cast<void>(wait_until_ended(slot, kSlotWaitMs));
  }
  leave_result_locked(slot);
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

// The slot that a transfer goes into, armed, and its ticket.
Slot& begin_transfer(const TransferOrder& order, void* file, OwnTransfer* own,
                     std::uint32_t& ticket) {
  const ScopedLock guard(transfers.mutex);
  Slot& slot = take_slot_locked();
  ticket = next_ticket_locked();
  slot.starting = true;
  slot.file = file;
  slot.done = false;
  slot.size = order.size;
  slot.ticket = ticket;
  slot.own = own;
  if (own != nullptr) {
    *own = {static_cast<int>(&slot - transfers.slots), false, 0, 0, order.size};
  }
  port::arm_record(slot.record);
  (order.direction == Direction::kRead ? transfers.bytes_read : transfers.bytes_written) +=
      order.size;
  return slot;
}

bool start_transfer(const TransferOrder& order, void* file, OwnTransfer* own, int* ticket_result) {
  std::uint32_t ticket = 0;
  Slot& slot = begin_transfer(order, file, own, ticket);

  // Kept on purpose: the system takes 32 bits. Nobody transfers 4 GiB at once, and a write that is
  // cut so fails for its short count.
  const auto count = static_cast<std::uint32_t>(order.size);
  const port::TransferStart start =
      order.direction == Direction::kRead
          ? port::start_read(file, order.buffer, order.offset, count, slot.record, slot.event)
          : port::start_write(file, order.buffer, order.offset, count, slot.record, slot.event);
  const bool accepted = is_accepted(order, start);

  if (accepted && start.is_complete && own != nullptr) {
    own->bytes = start.bytes;
    own->is_over = true;
  }
  if (!accepted || (start.is_complete && own != nullptr)) {
    slot.own = nullptr;
    slot.ticket = 0;
  } else if (start.is_complete) {
    slot.done = true;
  }
  slot.starting = false;
  if (accepted && ticket_result != nullptr) {
    *ticket_result = static_cast<int>(ticket);
  }
  return accepted;
}

enum class WaitEnd { kOver, kStillRuns, kFailed };

// Waits outside the mutex until the slot's transfer has ended, or the slot is another's: then its
// event may tell of the other's only, hence the steps.
template <typename IsOvertaken>
WaitEnd wait_for_end(Slot& slot, bool wait, const IsOvertaken& is_overtaken) {
  while (!port::is_complete(slot.record)) {
    switch (wait_at(slot, wait ? kOvertakenWaitMs : 0)) {
      case port::EventWait::kFailed:
        return WaitEnd::kFailed;
      case port::EventWait::kCompletionRoutine:
        break;
      case port::EventWait::kTimedOut:
        if (!wait) {
          return WaitEnd::kStillRuns;
        }
        break;
      case port::EventWait::kSignalled:
        if (port::is_complete(slot.record)) {
          return WaitEnd::kOver;
        }
        if (!wait) {
          return WaitEnd::kStillRuns;  // The status is about to be written.
        }
        mp_timedwait(kPollNs);
        break;
    }
    if (is_overtaken()) {
      break;
    }
  }
  return WaitEnd::kOver;
}

void log_failed_wait() {
  msgerror("IO completion error(1) - %d\n", static_cast<int>(port::last_system_error()));
}

int complete(void* file, std::uint32_t ticket, bool wait) {
  Slot* slot = nullptr;
  {
    const ScopedLock guard(transfers.mutex);
    slot = find_ticket_locked(ticket);
    if (slot == nullptr) {
      return 1;  // Collected already, or overtaken.
    }
    if (slot->done) {
      make_idle(*slot);
      return 1;
    }
  }
  switch (wait_for_end(*slot, wait, [&] { return slot->ticket != ticket; })) {
    case WaitEnd::kStillRuns:
      return 0;
    case WaitEnd::kFailed:
      log_failed_wait();
      return -1;
    case WaitEnd::kOver:
      break;
  }
  const ScopedLock guard(transfers.mutex);
  if (slot->ticket != ticket) {
    return 1;
  }
  leave_result_locked(*slot);  // Nobody but the library knows the tickets of its own.
  const TransferOutcome outcome = outcome_of(file, *slot);
  make_idle(*slot);
  return judge_outcome(outcome, slot->size);
}

bool is_over(const OwnTransfer& own) {
  const ScopedLock guard(transfers.mutex);
  return own.is_over;
}

// False when it cannot be waited for.
bool wait_for_own(OwnTransfer& own) {
  Slot& slot = transfers.slots[own.slot];
  const bool failed =
      !is_over(own) && wait_for_end(slot, true, [&] { return is_over(own); }) == WaitEnd::kFailed;
  if (failed) {
    log_failed_wait();
  }
  const ScopedLock guard(transfers.mutex);
  if (own.is_over) {
    return true;
  }
  if (failed) {
    slot.own = nullptr;
    return false;
  }
  leave_result_locked(slot);
  make_idle(slot);
  return true;
}

}  // namespace

void start_transfers(std::int32_t last_ticket) {
  transfers.mutex.create();
  transfers.last_ticket = last_ticket;
  for (Slot& slot : transfers.slots) {
    make_idle(slot);
    slot.own = nullptr;
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

bool start_own_read(OwnTransfer& own, void* file, void* buffer, std::uint64_t offset,
                    std::uint64_t size, int* ticket) {
  return start_transfer({Direction::kRead, buffer, offset, size}, file, &own, ticket);
}

bool start_own_write(OwnTransfer& own, void* file, const void* buffer, std::uint64_t offset,
                     std::uint64_t size, int* ticket) {
  return start_transfer({Direction::kWrite, const_cast<void*>(buffer), offset, size}, file, &own,
                        ticket);
}

bool finish_own(OwnTransfer& own, std::uint64_t& bytes) {
  if (!wait_for_own(own)) {
    return false;
  }
  const TransferOutcome outcome = {own.error, own.bytes};
  const int result = judge_outcome(outcome, own.size);
  if (result == 0) {
    log_unfinished(outcome, own.size);
  }
  bytes = own.bytes;
  return result > 0;
}

bool finish_own_write(OwnTransfer& own) {
  std::uint64_t bytes = 0;
  if (!finish_own(own, bytes)) {
    return false;
  }
  if (bytes != own.size) {
    log_short_write(bytes, own.size);
    return false;
  }
  return true;
}

bool write_whole(void* file, const void* data, std::uint64_t position, std::uint64_t bytes) {
  OwnTransfer own;
  return start_own_write(own, file, data, position, bytes, nullptr) && finish_own_write(own);
}

}  // namespace orsin

using namespace orsin;

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
      if (slot.ticket != 0 && slot.event != nullptr) {
        port::reset_event(slot.event);
      }
      leave_result_locked(slot);
      make_idle(slot);
    }
  }
  if (is_valid(file)) {
    port::close_file(file);
  }
}

bool io_read_async64(void* file, void* buffer, long long offset, unsigned long long size,
                     int* ticket) {
  return start_transfer({Direction::kRead, buffer, static_cast<std::uint64_t>(offset), size}, file,
                        nullptr, ticket);
}

bool io_write_async64(void* file, const void* buffer, long long offset, unsigned long long size,
                      int* ticket) {
  return start_transfer(
      {Direction::kWrite, const_cast<void*>(buffer), static_cast<std::uint64_t>(offset), size},
      file, nullptr, ticket);
}

int io_complete64(void* file, int* ticket, bool wait) {
  return complete(file, ticket != nullptr ? static_cast<std::uint32_t>(*ticket) : 0, wait);
}

bool io_read64(void* file, void* buffer, long long offset, unsigned long long size) {
  OwnTransfer own;
  return start_own_read(own, file, buffer, static_cast<std::uint64_t>(offset), size, nullptr) &&
         wait_for_own(own) && judge_outcome({own.error, own.bytes}, own.size) >= 0;
}

bool io_write64(void* file, const void* buffer, long long offset, unsigned long long size) {
  OwnTransfer own;
  return start_own_write(own, file, buffer, static_cast<std::uint64_t>(offset), size, nullptr) &&
         wait_for_own(own) && judge_outcome({own.error, own.bytes}, own.size) >= 0;
}

// Kept on purpose: the handle is not looked at. Required.
void io_flush64(void* /*file*/) {
  const ScopedLock guard(transfers.mutex);
  for (Slot& slot : transfers.slots) {
    if (is_in_flight(slot)) {
      static_cast<void>(wait_until_ended(slot, port::kWaitForever));
    }
    // What its start found wrong is known to its starter.
    if (is_in_flight(slot)) {
      const TransferOutcome outcome = outcome_of(slot.file, slot);
      if (outcome.error != 0) {
        msg_os_error("IO flush error (1)");
      } else if (outcome.bytes != slot.size) {
        msgerror("IO flush error (2) - %d %llu\n", static_cast<int>(outcome.bytes),
                 static_cast<unsigned long long>(slot.size));
      }
    }
    slot.ticket = 0;
  }
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
