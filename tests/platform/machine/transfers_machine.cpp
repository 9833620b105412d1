// Events and overlapped transfers of a simulated machine.
//
// A transfer completes at once, or later: after others that were started after it, with fewer bytes, with
// an error. The system writes its status and signals its event one after the other, in either order, so
// that a signal may come after the slot has its next transfer. With the thread that started it a transfer
// ends, too, as the system cancels it.
#include <algorithm>
#include <atomic>
#include <cstring>
#include <utility>
#include <vector>

#include "files/io_port.h"
#include "tests/platform/machine/machine.h"
#include "tests/platform/transfer_memory.h"

namespace orsin::port {

using namespace orsin::simulation;

namespace {

struct Event : Object {
  bool is_signalled = false;
};

struct Status {
  std::uint32_t is_running;
  std::uint32_t error;
  std::uint32_t bytes;
};
static_assert(sizeof(Status) <= sizeof(TransferRecord));

Status& status_of(TransferRecord& record) {
  return *reinterpret_cast<Status*>(record.storage);
}

struct Transfer {
  bool is_read;
  std::shared_ptr<OpenedFile> file;
  unsigned char* buffer;
  std::uint64_t offset;
  std::uint32_t size;
  TransferRecord* record;
  std::shared_ptr<Event> event;
  const Task* starter;
  std::uint32_t error = 0;
  bool is_carried_out = false;
  TransferMemory memory = {};  // Of one that pends.
};

std::vector<std::shared_ptr<Transfer>> in_flight;

// What becomes of it: the error, and the bytes that were moved.
std::pair<std::uint32_t, std::uint32_t> carry_out(const Transfer& transfer) {
  Node& node = *transfer.file->node;
  if (transfer.error != 0) {
    return {transfer.error, 0};
  }
  std::uint32_t size = machine().shortened(transfer.size);
  if (size < transfer.size && transfer.file->mode.unbuffered) {
    size -= size % platform::kSectorBytes;
  }
  if (!transfer.is_read) {
    const std::uint32_t error = Disk::write(node, transfer.offset, transfer.buffer, size);
    return {error, error == 0 ? size : 0};
  }
  const std::uint64_t length = node.content.size();
  if (transfer.offset >= length) {
    return {transfer.size == 0 ? 0 : kErrorEndOfFile, 0};
  }
  size = static_cast<std::uint32_t>(std::min<std::uint64_t>(size, length - transfer.offset));
  node.content.read(transfer.offset, transfer.buffer, size);
  return {0, size};
}

void write_status(TransferRecord& record, std::pair<std::uint32_t, std::uint32_t> outcome) {
  Status& status = status_of(record);
  status.error = outcome.first;
  status.bytes = outcome.second;
  status.is_running = 0;
}

// Without one nobody is told.
void signal(Event* event) {
  if (event != nullptr) {
    event->is_signalled = true;
    machine().schedule.wake_all(event);
  }
}

Nanoseconds soon() {
  constexpr std::uint64_t kInTheMidst = 4;
  Machine& it = machine();
  const Nanoseconds limit = it.chance.one_in(kInTheMidst) ? 50 * kMicrosecond : 1;
  return it.schedule.now() +
         static_cast<Nanoseconds>(it.chance.below(static_cast<std::uint64_t>(limit)));
}

// The status, and the signal before it or after it.
void end_transfer(const std::shared_ptr<Transfer>& transfer) {
  if (std::exchange(transfer->is_carried_out, true)) {
    return;
  }
  ORSIN_EXPECT(transfer->memory.is_as_it_was(), "memory changes that is being written");
  const auto outcome = carry_out(*transfer);
  const auto write = [transfer, outcome] {
    write_status(*transfer->record, outcome);
    --transfer->file->transfers_in_flight;
    std::erase(in_flight, transfer);
  };
  const auto tell = [event = transfer->event] { signal(event.get()); };
  Machine& it = machine();
  if (it.chance.one_in(2)) {
    write();
    it.schedule.at(soon(), tell);
  } else {
    tell();
    it.schedule.at(soon(), write);
  }
}

TransferStart fail_at_start(Call& call, TransferRecord& record, std::uint32_t error) {
  write_status(record, {error, 0});
  call.set_last_error(error);
  return {false, 0, error};
}

Nanoseconds latency() {
  Machine& it = machine();
  const Nanoseconds most =
      it.chance.one_in(it.transfers.late_one_in) ? 5 * kSecond : it.transfers.latency;
  return static_cast<Nanoseconds>(it.chance.below(static_cast<std::uint64_t>(most)));
}

bool is_refused(Call& call, bool is_read) {
  return is_read ? call.is_refused({kErrorDevice, kErrorChecksum, kErrorNetworkNameGone,
                                    kErrorNoSystemResources})
                 : call.is_refused({kErrorDevice, kErrorDiskFull, kErrorNetworkNameGone,
                                    kErrorNoSystemResources});
}

TransferStart start(Call& call, const std::shared_ptr<Transfer>& transfer) {
  Machine& it = machine();
  TransferRecord& record = *transfer->record;
  if (transfer->event) {
    transfer->event->is_signalled = false;
  }
  ORSIN_EXPECT(transfer->is_read ? transfer->file->mode.read : transfer->file->mode.write,
               "a transfer on a file that was not opened for it");
  if (transfer->file->mode.unbuffered &&
      !platform::is_whole_sectors(transfer->buffer, transfer->offset, transfer->size)) {
    return fail_at_start(call, record, kErrorInvalidParameter);
  }
  const bool pends = it.chance.one_in(it.transfers.pend_one_in);
  if (is_refused(call, transfer->is_read)) {
    transfer->error = call.last_error();
  }
  if (!pends) {
    const auto [error, bytes] = carry_out(*transfer);
    if (error != 0) {
      return fail_at_start(call, record, error);
    }
    write_status(record, {0, bytes});
    signal(transfer->event.get());
    return {true, bytes, 0};
  }
  transfer->memory = {transfer->is_read, transfer->buffer, transfer->size};
  status_of(record).is_running = 1;
  ++transfer->file->transfers_in_flight;
  in_flight.push_back(transfer);
  it.schedule.at(it.schedule.now() + latency(), [transfer] { end_transfer(transfer); });
  call.set_last_error(kErrorPending);
  return {false, 0, kErrorPending};
}

std::shared_ptr<Transfer> made(bool is_read, void* file, const void* buffer, std::uint64_t offset,
                               std::uint32_t size, TransferRecord& record, void* event) {
  Machine& it = machine();
  return std::make_shared<Transfer>(
      Transfer{is_read, it.handles.get<OpenedFile>(file),
               static_cast<unsigned char*>(const_cast<void*>(buffer)), offset, size, &record,
               event != nullptr ? it.handles.get<Event>(event) : nullptr, &it.schedule.current()});
}

// Soon they end, one way or the other.
template <typename Condition>
void cancel_if(Condition is_meant) {
  for (const auto& transfer : in_flight) {
    if (is_meant(*transfer)) {
      transfer->error = machine().chance.one_in(2) ? kErrorAborted : transfer->error;
      machine().schedule.at(soon(), [transfer] { end_transfer(transfer); });
    }
  }
}

}  // namespace

void* create_event() noexcept {
  Call call("create event");
  if (machine().chance.one_in(machine().transfers.no_event_one_in)) {
    call.fail(kErrorNoSystemResources);
    return nullptr;
  }
  return machine().handles.open(std::make_shared<Event>());
}

void close_event(void* event) noexcept {
  Call call("close event");
  static_cast<void>(machine().handles.get<Event>(event));
  machine().handles.close(event);
}

void reset_event(void* event) noexcept {
  Call call("reset event");
  machine().handles.get<Event>(event)->is_signalled = false;
}

EventWait wait_for_event(void* handle, std::uint32_t timeout_ms) noexcept {
  Call call("wait for event");
  Machine& it = machine();
  if (handle == nullptr) {
    call.fail(kErrorInvalidHandle);
    return EventWait::kFailed;
  }
  const auto event = it.handles.get<Event>(handle);
  constexpr std::uint64_t kByRoutine = 30;
  if (timeout_ms != 0 && it.chance.one_in(kByRoutine)) {
    return EventWait::kCompletionRoutine;
  }
  const Nanoseconds end =
      timeout_ms == kWaitForever ? kNever : it.schedule.now() + timeout_ms * kMillisecond;
  while (!event->is_signalled) {
    if (timeout_ms == 0 || !it.schedule.wait(event.get(), "a transfer's event", end)) {
      return event->is_signalled ? EventWait::kSignalled : EventWait::kTimedOut;
    }
  }
  return EventWait::kSignalled;
}

void arm_record(TransferRecord& record) noexcept {
  status_of(record).is_running = 1;
}

TransferStart start_read(void* file, void* buffer, std::uint64_t offset, std::uint32_t size,
                         TransferRecord& record, void* event) noexcept {
  Call call("start read", offset ^ size);
  return start(call, made(true, file, buffer, offset, size, record, event));
}

TransferStart start_write(void* file, const void* buffer, std::uint64_t offset, std::uint32_t size,
                          TransferRecord& record, void* event) noexcept {
  Call call("start write", offset ^ size);
  return start(call, made(false, file, buffer, offset, size, record, event));
}

bool is_complete(const TransferRecord& record) noexcept {
  return status_of(const_cast<TransferRecord&>(record)).is_running == 0;
}

bool transfer_result(void* file, TransferRecord& record, std::uint32_t& bytes) noexcept {
  Call call("transfer result");
  static_cast<void>(machine().handles.get<OpenedFile>(file));  // Open, or the run ends here.
  const Status& status = status_of(record);
  bytes = status.is_running != 0 ? 0 : status.bytes;
  return call.answer(status.is_running != 0 ? kErrorIncomplete : status.error);
}

void cancel_transfers(void* handle) noexcept {
  Call call("cancel transfers");
  const auto file = machine().handles.get<OpenedFile>(handle);
  cancel_if([&](const Transfer& transfer) { return transfer.file == file; });
}

}  // namespace orsin::port

namespace orsin::simulation {

void cancel_transfers_of(const Task& task) {
  port::cancel_if([&](const port::Transfer& transfer) { return transfer.starter == &task; });
}

}  // namespace orsin::simulation
