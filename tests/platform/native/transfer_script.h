// The state behind FakeTransfers, which the port functions of this folder follow.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <vector>

#include "tests/platform/native/fake_transfers.h"
#include "tests/platform/transfer_memory.h"

namespace orsin::test {

struct NativeEvent {
  bool is_signalled = false;
};

struct PendingTransfer {
  bool is_read;
  void* file;
  void* buffer;
  std::uint64_t offset;
  std::uint32_t size;
  port::TransferRecord* record;
  NativeEvent* event;  // Null: could not be had.
  TransferFate fate;
  platform::TransferMemory memory = {};
};

struct TransferScript {
  std::mutex mutex;  // Guards everything here and the events.
  std::condition_variable changed;

  std::deque<TransferFate> next;
  TransferFate every;
  std::deque<PendingTransfer> pending;
  std::size_t most_pending = 0;
  int cancellations = 0;
  bool ends_by_release_only = false;

  bool refuses_events = false;
  int time_outs = 0;
  int interruptions = 0;
  int wait_failures = 0;
  std::uint32_t wait_error = 0;

  std::deque<OpenFate> opens;
  int size_refusals = 0;
  std::uint32_t size_error = 0;
  int size_questions_refused = 0;
  std::uint32_t zeroing_error = 0;

  bool is_watched = false;  // Only then is what happens noted.
  std::vector<StartedTransfer> started;
  std::vector<port::OpenMode> opened;
  std::vector<std::uint64_t> sizes;
  std::string volume_root;
};

TransferScript& transfer_script();

/// Carries a transfer out at the file's own position before it returns, with the next fate. False,
/// with the error, when that says so or the disk is full.
bool transfer_now(const PendingTransfer& transfer, std::uint32_t& bytes);

/// The descriptor of a native handle, which is one more, and back.
int descriptor_of(void* file);
void* file_of(int descriptor);

/// Whether the handle was opened past the system's cache.
bool is_unbuffered(void* file);

}  // namespace orsin::test
