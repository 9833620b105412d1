#include "tests/simulation/library_session.h"

#include <utility>

#include "base/clock.h"
#include "base/message_log.h"
#include "files/direct_reads.h"
#include "files/directory_list.h"
#include "files/transfer_slots.h"
#include "files/volumes.h"
#include "memory/memory_lifecycle.h"
#include "orsincore/files.h"
#include "orsincore/log.h"
#include "threads/thread_table.h"

namespace orsin::simulation {
namespace {

ssize_t append_line(void* log, const char* text, std::size_t size) {
  const Outside outside;
  static_cast<std::string*>(log)->append(text, size);
  if (machine().schedule.is_traced()) {
    std::fprintf(stderr, "%28s%.*s", "", static_cast<int>(size), text);
  }
  return static_cast<ssize_t>(size);
}

}  // namespace

LibrarySession::LibrarySession() {
  stream_ = ::fopencookie(&log_, "w", {nullptr, append_line, nullptr, nullptr});
  std::setvbuf(stream_, nullptr, _IONBF, 0);
  const Inside library;
  machine().refusals.pause(true);
  msg_open(stream_);
  mem_info_str memory = {};
  start_memory(memory);
  start_clock();
  start_thread_table();
  start_transfers();
  machine().refusals.pause(false);
}

LibrarySession::~LibrarySession() {
  {
    const Inside library;
    stop_transfers();
    stop_memory();
    stop_thread_table();
    flist_flushcache();
    forget_sector_sizes();
    forget_repeats();
    msg_close();
  }
  std::fclose(stream_);
}

// Without memory for its lines the log stays closed, and nobody can say anything.
bool LibrarySession::has_complained() {
  const bool has = log_.find("ERROR", seen_) != std::string::npos || msg_getlevel() < 0;
  seen_ = log_.size();
  return has;
}

bool LibrarySession::has_warned() {
  const bool has = log_.find("ERROR", seen_) != std::string::npos ||
                   log_.find("WARN", seen_) != std::string::npos || msg_getlevel() < 0;
  seen_ = log_.size();
  return has;
}

void LibrarySession::make_lock_of_readers() {
  const Inside library;
  machine().refusals.pause(true);
  prepare_direct_reads();
  machine().refusals.pause(false);
}

}  // namespace orsin::simulation
