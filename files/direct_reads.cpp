// Reads of a buffered reader that go past its ring, straight into the caller's memory.
//
// Large ones are split into pieces that run together. Only one reader at a time does that: the
// mutex keeps a few of them from taking all the slots of the process. It comes first in the lock
// order, before the transfers'.
#include "files/direct_reads.h"

#include <algorithm>
#include <atomic>
#include <cstring>

#include "base/library_locks.h"
#include "base/rounding.h"
#include "orsincore/io.h"

namespace orsin {
namespace {

constexpr int kPiecesInFlight = 10;
constexpr unsigned long long kBreakMin = 65537;  // Below it splitting is off.

struct DirectReads {
  LibraryMutex mutex{LockRank::kDirectReads};
  std::atomic<unsigned long long> piece_bytes = 0;  // 0: not split.
};

constinit DirectReads direct_reads;

// Pieces that run together, the oldest collected before an eleventh starts. Returns the bytes asked
// for until one could not be started.
//
// Kept on purpose: a piece that fails later, while it runs, is logged and still counts. Required.
unsigned long long read_split(void* file, unsigned char* destination, unsigned long long offset,
                              unsigned long long size, unsigned long long piece_bytes) {
  const ScopedLock guard(direct_reads.mutex);
  int tickets[kPiecesInFlight];
  int oldest = 0;
  int in_flight = 0;
  const auto collect = [&](bool wait) {
    if (io_complete64(file, &tickets[oldest], wait) == 0 && !wait) {
      return false;
    }
    oldest = (oldest + 1) % kPiecesInFlight;
    --in_flight;
    return true;
  };

  unsigned long long issued = 0;
  while (issued < size) {
    if (in_flight == kPiecesInFlight) {
      collect(true);
      while (in_flight > 0 && collect(false)) {
      }
    }
    const unsigned long long piece = std::min(piece_bytes, size - issued);
    if (!io_read_async64(file, destination + issued, static_cast<long long>(offset + issued), piece,
                         &tickets[(oldest + in_flight) % kPiecesInFlight])) {
      break;
    }
    ++in_flight;
    issued += piece;
  }
  while (in_flight > 0) {
    collect(true);
  }
  return issued;
}

}  // namespace

void prepare_direct_reads() {
  direct_reads.mutex.create();
}

}  // namespace orsin

using namespace orsin;

void fReadBuffer::set_xfer_breakvalue(unsigned long long bytes) {
  direct_reads.piece_bytes = bytes >= kBreakMin ? bytes : 0;
}

unsigned long long fReadBuffer::read_raw_bytes(void* destination, unsigned long long offset,
                                               unsigned long long size,
                                               unsigned long long capacity) {
  if (destination == nullptr) {
    return 0;
  }
  auto* to = static_cast<unsigned char*>(destination);
  const unsigned long long block_limit = block_start_ + block_bytes_;
  const bool inside = block_bytes_ > 0 && offset >= block_start_ && offset < block_limit;
  const unsigned char* from = inside ? slots_[current_].buffer + (offset - block_start_) : nullptr;
  if (inside && size <= block_limit - offset) {
    // Kept on purpose: the capacity is not looked at. It is there for the rounding, and callers
    // that read small pieces out of the block pass none.
    std::memcpy(to, from, size);
    return size;
  }

  unsigned long long head = 0;
  if (inside) {
    const unsigned long long boundary = block_limit / alignment_ * alignment_;
    head = boundary > offset ? boundary - offset : 0;
  }
  const unsigned long long transfer = rounded_up(size - head, alignment_);
  if (size > capacity || head + transfer > capacity) {  // Rounded up, a huge size is a small one.
    return 0;
  }
  if (head > 0) {
    std::memcpy(to, from, head);
  }
  if ((offset + head) % alignment_ != 0) {
    return head;
  }
  const unsigned long long piece_bytes = direct_reads.piece_bytes;
  if (piece_bytes == 0 || transfer <= 2 * piece_bytes) {
    const bool read = io_read64(file_, to + head, static_cast<long long>(offset + head), transfer);
    return read ? head + transfer : head;
  }
  // Past the cache all pieces are aligned as the first is.
  const unsigned long long whole =
      is_unbuffered_ ? std::max(piece_bytes / alignment_ * alignment_, alignment_) : piece_bytes;
  return head + read_split(file_, to + head, offset + head, transfer, whole);
}
