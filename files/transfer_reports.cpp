// What is said about transfers that do not start or do not end well.
#include "files/transfer_reports.h"

#include <cstdio>

#include "base/log_port.h"
#include "orsincore/log.h"

namespace orsin {
namespace {

constexpr std::size_t kCountsBytes = 96;

void write_counts(char* text, const char* title, std::uint32_t bytes, std::uint64_t size) {
  std::snprintf(text, kCountsBytes, "%s - (%d %llu)", title, static_cast<int>(bytes),
                static_cast<unsigned long long>(size));
}

// The system calls it a success: its last error may be none, and the line is written all the same.
void log_nothing_read(std::uint32_t bytes, std::uint64_t size) {
  char text[kCountsBytes];
  write_counts(text, "IO read error(2)", bytes, size);
  msg_os_error(text);
}

void log_read_failure(const TransferOrder& order, std::uint32_t error) {
  if (error == port::kErrorEndOfFile) {
    msg_os_error("IO read beyond EOF..");
  } else if (error == port::kErrorInvalidParameter) {
    msgerror("IO read error(3), Wrong offset %d or size %d", static_cast<int>(order.offset),
             static_cast<int>(order.size));
  } else {
    msg_os_error("IO read error(1)");
    if (error == port::kErrorNoAccess) {
      msgerror("IO buffer = %p", order.buffer);
    }
  }
}

}  // namespace

bool is_accepted(const TransferOrder& order, const port::TransferStart& start) {
  const bool is_read = order.direction == Direction::kRead;
  if (start.is_complete) {
    // A read may end short, as at the end of a file.
    const bool is_enough =
        is_read ? start.bytes != 0 || order.size == 0 : start.bytes == order.size;
    if (!is_enough && is_read) {
      log_nothing_read(start.bytes, order.size);
    } else if (!is_enough) {
      log_short_write(start.bytes, order.size);
    }
    return is_enough;
  }
  if (start.error == port::kErrorPending) {
    return true;
  }
  if (is_read) {
    log_read_failure(order, start.error);
  } else {
    msg_os_error("IO write error(1)");
  }
  return false;
}

int judge_outcome(const TransferOutcome& outcome, std::uint64_t size) {
  switch (outcome.error) {
    case 0:
      if (outcome.bytes == 0 && size != 0) {
        msgerror("IO completion error(4) - %d %llu\n", 0, static_cast<unsigned long long>(size));
        return -1;
      }
      return 1;
    case port::kErrorEndOfFile:
      msgerror("IO completion error(2) - read beyond end of file\n");
      return -1;
    case port::kErrorIncomplete:
      return 0;
    default:
      log_unfinished(outcome, size);
      return -1;
  }
}

void log_unfinished(const TransferOutcome& outcome, std::uint64_t size) {
  char text[kCountsBytes];
  write_counts(text, "IO completion error(3)", outcome.bytes, size);
  msg_os_error(text, static_cast<int>(outcome.error));
}

void log_short_write(std::uint64_t bytes, std::uint64_t size) {
  // The system calls it a success, so there is no error of its to add.
  msgerror("IO write error(2) - (%d %llu)", static_cast<int>(bytes),
           static_cast<unsigned long long>(size));
}

}  // namespace orsin
