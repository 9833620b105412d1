// Events and transfers of the native port: POSIX files, and what a FakeTransfers has scripted.
//
// Without a script a transfer completes at once, as on Windows for data in the cache.
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "files/io_port.h"
#include "tests/platform/file_rules.h"
#include "tests/platform/native/fake_disk.h"
#include "tests/platform/native/transfer_script.h"
#include "tests/platform/system_errors.h"

namespace orsin::test {

TransferScript& transfer_script() {
  static TransferScript script;
  return script;
}

FakeDisk& fake_disk() {
  static FakeDisk disk;
  return disk;
}

namespace {

// Read without the script's mutex: whoever looks at the status may be overtaken while doing so.
struct Record {
  std::uint32_t is_running;
  std::uint32_t error;
  std::uint32_t bytes;
};
static_assert(sizeof(Record) <= sizeof(port::TransferRecord));

Record& record_of(port::TransferRecord& record) {
  return *reinterpret_cast<Record*>(record.storage);
}

std::atomic_ref<std::uint32_t> status_of(const port::TransferRecord& record) {
  return std::atomic_ref(record_of(const_cast<port::TransferRecord&>(record)).is_running);
}

struct Outcome {
  std::uint32_t error;
  std::uint32_t bytes;
};

// Takes a transfer's bytes off what the disk still does; false when it does not. Copies write to
// several destinations at once.
bool disk_takes(std::uint64_t& left, std::uint32_t size) {
  static std::mutex mutex;
  const std::lock_guard guard(mutex);
  if (left == FakeDisk::kNoLimit) {
    return true;
  }
  if (size > left) {
    return false;
  }
  left -= size;
  return true;
}

Outcome carry_out(const PendingTransfer& transfer) {
  if (!transfer.memory.is_as_it_was()) {
    std::fputs("Memory changed while it was being written\n", stderr);
    std::abort();
  }
  FakeDisk& disk = fake_disk();
  if (!disk_takes(transfer.is_read ? disk.readable_bytes : disk.writable_bytes, transfer.size)) {
    return {transfer.is_read ? disk.read_error : disk.write_error, 0};
  }
  if (transfer.fate.error != 0) {
    return {transfer.fate.error, 0};
  }
  const std::uint32_t size = std::min(transfer.size, transfer.fate.bytes.value_or(transfer.size));
  const int descriptor = descriptor_of(transfer.file);
  const auto offset = static_cast<off_t>(transfer.offset);
  const ssize_t bytes = transfer.is_read ? ::pread(descriptor, transfer.buffer, size, offset)
                                         : ::pwrite(descriptor, transfer.buffer, size, offset);
  if (bytes < 0) {
    return {static_cast<std::uint32_t>(errno), 0};
  }
  if (transfer.is_read && bytes == 0 && size != 0) {
    return {port::kErrorEndOfFile, 0};
  }
  return {0, static_cast<std::uint32_t>(bytes)};
}

void end_transfer(port::TransferRecord& record, const Outcome& outcome) {
  record_of(record).error = outcome.error;
  record_of(record).bytes = outcome.bytes;
  status_of(record).store(0, std::memory_order_release);
}

void set_event(NativeEvent* event, bool is_signalled) {
  if (event != nullptr) {
    event->is_signalled = is_signalled;
  }
}

void end_pending_locked(const PendingTransfer& transfer, const Outcome& outcome) {
  TransferScript& script = transfer_script();
  end_transfer(*transfer.record, outcome);
  set_event(transfer.event, true);
  script.changed.notify_all();
}

template <typename Chosen>
std::optional<PendingTransfer> take_pending_locked(const Chosen& is_chosen) {
  std::deque<PendingTransfer>& pending = transfer_script().pending;
  const auto found = std::find_if(pending.begin(), pending.end(), is_chosen);
  if (found == pending.end()) {
    return std::nullopt;
  }
  const PendingTransfer transfer = *found;
  pending.erase(found);
  return transfer;
}

TransferFate next_fate_locked() {
  TransferScript& script = transfer_script();
  if (script.next.empty()) {
    return script.every;
  }
  const TransferFate fate = script.next.front();
  script.next.pop_front();
  return fate;
}

port::TransferStart start(PendingTransfer transfer) {
  TransferScript& script = transfer_script();
  if (is_unbuffered(transfer.file) &&
      !platform::is_whole_sectors(transfer.buffer, transfer.offset, transfer.size)) {
    end_transfer(*transfer.record, {port::kErrorInvalidParameter, 0});
    errno = static_cast<int>(port::kErrorInvalidParameter);
    return {false, 0, port::kErrorInvalidParameter};
  }
  {
    const std::lock_guard guard(script.mutex);
    set_event(transfer.event, false);
    transfer.fate = next_fate_locked();
    if (script.is_watched) {
      script.started.push_back({transfer.is_read, transfer.offset, transfer.size});
    }
    if (transfer.fate.pends) {
      transfer.memory = {transfer.is_read, transfer.buffer, transfer.size};
      script.pending.push_back(transfer);
      set_event(transfer.event, transfer.fate.signals_early);
      script.most_pending = std::max(script.most_pending, script.pending.size());
      script.changed.notify_all();
      return {false, 0, port::kErrorPending};
    }
  }
  const Outcome outcome = carry_out(transfer);
  end_transfer(*transfer.record, outcome);
  if (outcome.error != 0) {
    errno = static_cast<int>(outcome.error);
    return {false, 0, outcome.error};
  }
  return {true, outcome.bytes, 0};
}

}  // namespace

bool transfer_now(const PendingTransfer& transfer, std::uint32_t& bytes) {
  PendingTransfer now = transfer;
  now.offset = static_cast<std::uint64_t>(::lseek(descriptor_of(now.file), 0, SEEK_CUR));
  {
    TransferScript& script = transfer_script();
    const std::lock_guard guard(script.mutex);
    now.fate = next_fate_locked();
    if (script.is_watched) {
      script.started.push_back({now.is_read, now.offset, now.size});
    }
  }
  const Outcome outcome = carry_out(now);
  bytes = outcome.bytes;
  if (outcome.error != 0 && outcome.error != port::kErrorEndOfFile) {
    errno = static_cast<int>(outcome.error);
    return false;
  }
  return ::lseek(descriptor_of(now.file), static_cast<off_t>(bytes), SEEK_CUR) >= 0;
}

bool FakeTransfers::release_oldest() {
  const std::lock_guard guard(transfer_script().mutex);
  const auto transfer = take_pending_locked([](const PendingTransfer&) { return true; });
  if (transfer) {
    end_pending_locked(*transfer, carry_out(*transfer));
  }
  return transfer.has_value();
}

}  // namespace orsin::test

namespace orsin::port {

using namespace orsin::test;

void* create_event() noexcept {
  const std::lock_guard guard(transfer_script().mutex);
  return transfer_script().refuses_events ? nullptr : new NativeEvent;
}

void close_event(void* event) noexcept {
  delete static_cast<NativeEvent*>(event);
}

void reset_event(void* event) noexcept {
  const std::lock_guard guard(transfer_script().mutex);
  static_cast<NativeEvent*>(event)->is_signalled = false;
}

EventWait wait_for_event(void* handle, std::uint32_t timeout_ms) noexcept {
  TransferScript& script = transfer_script();
  auto* event = static_cast<NativeEvent*>(handle);
  std::unique_lock guard(script.mutex);
  if (script.wait_failures > 0) {
    --script.wait_failures;
    errno = static_cast<int>(script.wait_error);
    return EventWait::kFailed;
  }
  if (script.interruptions > 0) {
    --script.interruptions;
    return EventWait::kCompletionRoutine;
  }
  if (event->is_signalled) {
    return EventWait::kSignalled;
  }
  if (timeout_ms == 0) {
    return EventWait::kTimedOut;
  }
  if (script.time_outs > 0) {
    --script.time_outs;
    return EventWait::kTimedOut;
  }
  if (!script.ends_by_release_only) {
    const auto transfer = take_pending_locked(
        [event](const PendingTransfer& pending) { return pending.event == event; });
    if (transfer) {
      end_pending_locked(*transfer, carry_out(*transfer));
      return EventWait::kSignalled;
    }
    return EventWait::kCompletionRoutine;  // Completed at once, or about to be started.
  }
  const auto is_signalled = [event] { return event->is_signalled; };
  if (timeout_ms == kWaitForever) {
    script.changed.wait(guard, is_signalled);
    return EventWait::kSignalled;
  }
  return script.changed.wait_for(guard, std::chrono::milliseconds(timeout_ms), is_signalled)
             ? EventWait::kSignalled
             : EventWait::kTimedOut;
}

void arm_record(TransferRecord& record) noexcept {
  status_of(record).store(1, std::memory_order_relaxed);
}

TransferStart start_read(void* file, void* buffer, std::uint64_t offset, std::uint32_t size,
                         TransferRecord& record, void* event) noexcept {
  return start({true, file, buffer, offset, size, &record, static_cast<NativeEvent*>(event), {}});
}

TransferStart start_write(void* file, const void* buffer, std::uint64_t offset, std::uint32_t size,
                          TransferRecord& record, void* event) noexcept {
  return start({false,
                file,
                const_cast<void*>(buffer),
                offset,
                size,
                &record,
                static_cast<NativeEvent*>(event),
                {}});
}

bool is_complete(const TransferRecord& record) noexcept {
  return status_of(record).load(std::memory_order_acquire) == 0;
}

bool transfer_result(void* file, TransferRecord& record, std::uint32_t& bytes) noexcept {
  if (descriptor_of(file) < 0) {
    errno = static_cast<int>(platform::kErrorInvalidHandle);
    return false;
  }
  const Record& result = record_of(record);
  bytes = result.bytes;
  const std::uint32_t error = is_complete(record) ? result.error : kErrorIncomplete;
  if (error != 0) {
    errno = static_cast<int>(error);
  }
  return error == 0;
}

void cancel_transfers(void* file) noexcept {
  const std::lock_guard guard(transfer_script().mutex);
  ++transfer_script().cancellations;
  const auto is_of_file = [file](const PendingTransfer& pending) { return pending.file == file; };
  while (const auto transfer = take_pending_locked(is_of_file)) {
    end_pending_locked(*transfer, {platform::kErrorAborted, 0});
  }
}

}  // namespace orsin::port
