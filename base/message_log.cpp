// The message log: which lines pass, who may write at a time, and what the system says of errors. How
// lines are put together and folded stands in log_lines.cpp.
//
// `log.mutex` serialises all writing and guards the lines and the error text. The levels are read
// without it: a stale value admits or drops one line. Start-up opens the log and closedown closes it
// while one thread runs.
#include "base/message_log.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>

#include "base/library_locks.h"
#include "base/log_lines.h"
#include "base/log_port.h"
#include "base/system_error_text.h"
#include "orsincore/log.h"
#include "orsincore/primitives.h"

namespace orsin {
namespace {

struct Log {
  std::atomic<int> level = -1;       // Negative: closed.
  std::atomic<int> last_level = -1;  // Of the latest head; decides about continuation lines.
  LibraryMutex mutex{LockRank::kLog};
  LogLines lines;
  char error_text[SystemErrorText::kBytes] = {};  // What os_errormsg() hands out.
};

constinit Log log_state;

// Log lines often stand between a failed call and the code that reads its reason.
class LastErrorKeeper {
 public:
  LastErrorKeeper() = default;
  ~LastErrorKeeper() { port::set_last_system_error(code_); }
  LastErrorKeeper(const LastErrorKeeper&) = delete;
  LastErrorKeeper& operator=(const LastErrorKeeper&) = delete;

  [[nodiscard]] unsigned code() const { return code_; }

 private:
  unsigned code_ = port::last_system_error();
};

int load(const std::atomic<int>& level) {
  return level.load(std::memory_order_relaxed);
}

void store(std::atomic<int>& level, int value) {
  level.store(value, std::memory_order_relaxed);
}

int write_message(int level, const char* format, std::va_list arguments) {
  const LastErrorKeeper keeper;
  const ScopedLock guard(log_state.mutex);
  // Before the text is formatted: a failing clock writes a warning, through this same buffer.
  const double now = level == kContinuation ? 0.0 : mp_getclock();
  if (!log_state.lines.is_open()) {
    return 0;  // Closedown was quicker.
  }
  log_state.lines.format(format, arguments);
  log_state.lines.write(level, now);
  return 1;
}

// For the levels that always set the last level, written or not.
int write_head_message(int level, const char* format, std::va_list arguments) {
  store(log_state.last_level, level);
  return load(log_state.level) < level ? 0 : write_message(level, format, arguments);
}

// The host silenced the log with a negative level: msg() still reaches standard error, plainly, and
// without the lock.
int write_to_standard_error(int level, const char* format, std::va_list arguments) {
  if (!log_state.lines.is_open()) {
    return 0;
  }
  log_state.lines.format(format, arguments);
  log_state.lines.write_to_standard_error(level);
  return 1;
}

// With the mutex held. Without an error the shared buffer keeps what it holds.
const char* share_error_text(unsigned code) {
  if (code == 0) {
    return "No Error";
  }
  std::snprintf(log_state.error_text, sizeof(log_state.error_text), "%s",
                SystemErrorText(code).c_str());
  return log_state.error_text;
}

void write_os_error(const char* text, unsigned code) {
  const ScopedLock guard(log_state.mutex);
  if (!log_state.lines.is_open()) {
    return;
  }
  const double now = mp_getclock();
  log_state.lines.format_reason(text, share_error_text(code));
  log_state.lines.write(kError, now);
}

}  // namespace

void forget_repeats() {
  const ScopedLock guard(log_state.mutex);
  log_state.lines.forget_repeats();
}

}  // namespace orsin

using namespace orsin;

void msg_open(std::FILE* stream) {
  store(log_state.last_level, -1);
  log_state.mutex.create();
  // Without the block nothing can be formatted: the log then stays closed.
  if (log_state.lines.open(stream != nullptr ? stream : stderr)) {
    store(log_state.level, stream != nullptr ? kInfo : kWarn);
  }
}

void msg_close() {
  store(log_state.level, -1);
  const ScopedLock guard(log_state.mutex);  // A thread of the host may be writing its last line.
  log_state.lines.close();
}

int msg(int level, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  int written = 0;
  const int current = load(log_state.level);
  if (current < 0) {
    written = write_to_standard_error(level, format, arguments);
  } else {
    const int effective = std::min(level, static_cast<int>(kTrace));
    if (effective < kTrace) {
      store(log_state.last_level, effective);
    }
    if (effective >= 0 && effective <= current) {
      written = write_message(effective, format, arguments);
    }
  }
  va_end(arguments);
  return written;
}

int vmsgerror(const char* format, std::va_list arguments) {
  return write_head_message(kError, format, arguments);
}

int vmsgwarn(const char* format, std::va_list arguments) {
  return write_head_message(kWarn, format, arguments);
}

int vmsginfo(const char* format, std::va_list arguments) {
  return write_head_message(kInfo, format, arguments);
}

// Kept on purpose: a filtered debug line leaves the last level alone, so continuation lines after
// it still belong to the head before it.
int vmsgdebug(const char* format, std::va_list arguments) {
  if (load(log_state.level) < kDebug) {
    return 0;
  }
  const int written = write_message(kDebug, format, arguments);
  store(log_state.last_level, kDebug);
  return written;
}

int vmsgcont(const char* format, std::va_list arguments) {
  const int last = load(log_state.last_level);
  if (last < 0 || last > load(log_state.level)) {
    return 0;
  }
  return write_message(kContinuation, format, arguments);
}

int msgerror(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const int written = vmsgerror(format, arguments);
  va_end(arguments);
  return written;
}

int msgwarn(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const int written = vmsgwarn(format, arguments);
  va_end(arguments);
  return written;
}

int msginfo(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const int written = vmsginfo(format, arguments);
  va_end(arguments);
  return written;
}

int msgdebug(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const int written = vmsgdebug(format, arguments);
  va_end(arguments);
  return written;
}

int msg_trace(const char* format, ...) {
  if (load(log_state.level) < kTrace) {
    return 0;
  }
  std::va_list arguments;
  va_start(arguments, format);
  const int written = write_message(kTrace, format, arguments);
  va_end(arguments);
  return written;
}

int msgcont(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const int written = vmsgcont(format, arguments);
  va_end(arguments);
  return written;
}

int msglist(const char* text) {
  const LastErrorKeeper keeper;
  const ScopedLock guard(log_state.mutex);
  if (log_state.lines.stream() == nullptr || text == nullptr) {
    return 0;
  }
  log_state.lines.write_as_it_is(text);
  return 1;
}

void msg_setlevel(int level) {
  if (log_state.lines.is_open()) {
    store(log_state.level, level);
  }
}

int msg_getlevel() {
  return load(log_state.level);
}

void msg_repeatdisplayoverride() {
  log_state.lines.override_folding();
}

std::FILE* msg_get_file() {
  return log_state.lines.stream();
}

const char* os_errormsg() {
  const LastErrorKeeper keeper;
  const ScopedLock guard(log_state.mutex);
  return share_error_text(keeper.code());
}

void msg_os_error(const char* text) {
  const LastErrorKeeper keeper;
  if (load(log_state.level) >= 0) {
    write_os_error(text, keeper.code());
  }
}

// Kept on purpose: the line shows the text of the thread's current last error, not of `code`, whose
// own text is only left in the buffer beforehand. Callers that want their code in the line leave it
// as the last error.
void msg_os_error(const char* text, int code) {
  if (code == 0) {
    return;
  }
  const LastErrorKeeper keeper;
  const ScopedLock guard(log_state.mutex);
  share_error_text(static_cast<unsigned>(code));
  write_os_error(text, keeper.code());
}
