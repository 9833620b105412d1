// What is said about transfers that do not start or do not end well.
#pragma once

#include <cstdint>

#include "files/io_port.h"

namespace orsin {

enum class Direction { kRead, kWrite };

/// What is to be transferred.
struct TransferOrder {
  Direction direction;
  void* buffer;
  std::uint64_t offset;
  std::uint64_t size;  // Bytes.
};

/// How a transfer ended: with an error, or with so many bytes.
struct TransferOutcome {
  std::uint32_t error;  // 0: none.
  std::uint32_t bytes;
};

/// Whether a start counts as a success; says why not.
[[nodiscard]] bool is_accepted(const TransferOrder& order, const port::TransferStart& start);

/// 1 for a transfer that ended well, also short; 0 for one that the system calls incomplete; -1,
/// after an error line, for any other.
[[nodiscard]] int judge_outcome(const TransferOutcome& outcome, std::uint64_t size);

/// The error line of a transfer that moved some bytes, or none, though it should not have ended so.
/// Its reason is the given code.
void log_unfinished(const TransferOutcome& outcome, std::uint64_t size);

/// The error line of a write that the system calls a success although it ended short.
void log_short_write(std::uint64_t bytes, std::uint64_t size);

}  // namespace orsin
