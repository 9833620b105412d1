// The message log: filters by level, stamps, folds repeated lines, writes to one stream.
//
// One heap block of 8192 bytes serves every message, so a line costs no allocation:
//
//   0                          4096         4354            8191
//   | text being formatted ... | previous line |             0 |
//
// Kept on purpose: the previous line lives in the upper half of the formatting area, so a message
// of 4096 characters or more overwrites it. That bounds the log's memory to the one block; all that
// is lost is the folding of the line after such a message.
//
// `log.mutex` serialises all writing and guards the block, the repeat count and the time base. The
// levels are read without it: a stale value admits or drops one line. Start-up opens the log and
// closedown closes it while one thread runs.
#include "base/message_log.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/given_text.h"
#include "base/library_locks.h"
#include "base/log_port.h"
#include "base/log_time.h"
#include "orsincore/log.h"
#include "orsincore/primitives.h"

namespace orsin {
namespace {

enum Level : int { kError, kWarn, kInfo, kDebug, kTrace, kContinuation };

constexpr std::size_t kLevelNameBytes = 5;
constexpr const char* kLevelNames[] = {"ERROR", "WARN ", "INFO ", "DEBUG", "TRACE", "     "};
constexpr char kContinuationHead[] = "                 : ";

constexpr std::size_t kBufferBytes = 8192;
constexpr std::size_t kTextMax = kBufferBytes - 1;
constexpr std::size_t kPreviousOffset = 4096;
constexpr std::size_t kPreviousMax = 256;  // Longer lines are never folded.
constexpr std::size_t kErrorTextBytes = 256;

struct Log {
  std::atomic<int> level = -1;       // Negative: closed.
  std::atomic<int> last_level = -1;  // Of the latest head; decides about continuation lines.
  std::FILE* stream = nullptr;       // Never owned.
  LibraryMutex mutex{LockRank::kLog};
  char* buffer = nullptr;
  std::size_t previous_length = 0;
  int repeat_count = 0;
  std::atomic<bool> repeat_override = false;
  double base_reading = 0.0;  // mp_getclock() when the wall clock was read.
  double base_seconds = 0.0;  // The local time of day then.
  char error_text[kErrorTextBytes] = {};
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

// The log never reports its own failures: what the stream refuses is lost.
void put_in_stream(const char* bytes, std::size_t count) {
  static_cast<void>(std::fwrite(bytes, 1, count, log_state.stream));
}

// The wall clock is read once; from then on the counter alone advances the printed time, so that
// it never jumps with the system's clock or daylight saving.
double seconds_since_midnight(double now) {
  if (log_state.base_reading == 0.0 || log_state.base_reading > now) {
    log_state.base_seconds = port::local_time_of_day();
    log_state.base_reading = now;
  }
  return now - log_state.base_reading + log_state.base_seconds;
}

// Put together apart from the stream: an unbuffered stream would write it in pieces.
void write_head(int level, double now) {
  char head[] = "00:00:00.00 LEVEL: ";
  write_log_time(split_time_of_day(seconds_since_midnight(now)), head);
  std::memcpy(head + kLogTimeBytes + 1, kLevelNames[level], kLevelNameBytes);
  put_in_stream(head, sizeof(head) - 1);
}

char* previous_line() {
  return log_state.buffer + kPreviousOffset;
}

bool is_repeat(std::size_t length) {
  return length < kPreviousMax && length == log_state.previous_length &&
         std::memcmp(log_state.buffer, previous_line(), length) == 0 &&
         !log_state.repeat_override.load(std::memory_order_relaxed);
}

void flush_repeats() {
  if (log_state.repeat_count == 0) {
    return;
  }
  // Kept on purpose: a line repeated once is dropped silently; naming it would cost as much room as
  // the line.
  if (log_state.repeat_count > 1) {
    char text[64];
    const int length = std::snprintf(text, sizeof(text), "               # : Repeated %d times\n",
                                     log_state.repeat_count);
    put_in_stream(text, static_cast<std::size_t>(length));
  }
  log_state.repeat_count = 0;
  // Kept on purpose: the override ends here and nowhere else. Set while nothing is pending, it
  // disables folding until a later count is flushed.
  log_state.repeat_override.store(false, std::memory_order_relaxed);
}

// Ends the text in the buffer with a line feed; returns the number of bytes to write.
std::size_t end_line(std::size_t length) {
  char* buffer = log_state.buffer;
  if (buffer[length - 1] == '\n') {
    return length;
  }
  if (length < kTextMax) {
    buffer[length] = '\n';
    buffer[length + 1] = '\0';
    return length + 1;
  }
  buffer[length - 1] = '\n';
  return length;
}

// Writes the formatted text of the buffer. `now` is the clock's reading, for heads.
void write_line_locked(int level, double now) {
  const std::size_t length = std::strlen(log_state.buffer);
  if (length == 0) {
    return;
  }
  if (is_repeat(length)) {
    ++log_state.repeat_count;
    return;
  }
  flush_repeats();
  const std::size_t written = end_line(length);
  const std::size_t kept = std::min(length, kPreviousMax);
  if (level == kContinuation) {
    put_in_stream(kContinuationHead, sizeof(kContinuationHead) - 1);
    put_in_stream(log_state.buffer, written);
    // Kept on purpose: the text is remembered but its length is not, so a continuation line only
    // counts as a repeat where it has the length of the head before it.
    std::memcpy(previous_line(), log_state.buffer, kept + 2);
  } else {
    write_head(level, now);
    put_in_stream(log_state.buffer, written);
    std::memcpy(previous_line(), log_state.buffer, kept);
    log_state.previous_length = kept;
  }
}

void format_into_buffer(const char* format, std::va_list arguments) {
  if (format == nullptr) {
    log_state.buffer[0] = '\0';  // An empty text, which writes nothing.
    return;
  }
  static_cast<void>(std::vsnprintf(log_state.buffer, kBufferBytes, format, arguments));
  log_state.buffer[kTextMax] = '\0';
}

int write_message(int level, const char* format, std::va_list arguments) {
  const LastErrorKeeper keeper;
  const ScopedLock guard(log_state.mutex);
  // Before the text is formatted: a failing clock writes a warning, through this same buffer.
  const double now = level == kContinuation ? 0.0 : mp_getclock();
  format_into_buffer(format, arguments);
  write_line_locked(level, now);
  return 1;
}

// For the levels that always set the last level, written or not.
int write_head_message(int level, const char* format, std::va_list arguments) {
  store(log_state.last_level, level);
  return load(log_state.level) < level ? 0 : write_message(level, format, arguments);
}

// The host silenced the log with a negative level: msg() still reaches standard error, plainly.
int write_to_standard_error(int level, const char* format, std::va_list arguments) {
  if (log_state.buffer == nullptr) {
    return 0;
  }
  format_into_buffer(format, arguments);
  const std::size_t length = std::strlen(log_state.buffer);
  if (length == 0 || log_state.buffer[length - 1] != '\n') {
    const std::size_t end = std::min(length, kTextMax - 1);
    log_state.buffer[end] = '\n';
    log_state.buffer[end + 1] = '\0';
  }
  const bool named = level >= kError && level <= kTrace;
  std::fprintf(stderr, "##:##:##.## %s: %s", kLevelNames[named ? level : kContinuation],
               log_state.buffer);
  return 1;
}

void trim_end(char* text, const char* unwanted) {
  std::size_t length = std::strlen(text);
  while (length > 0 && std::strchr(unwanted, text[length - 1]) != nullptr) {
    text[--length] = '\0';
  }
}

const char* error_text(unsigned code) {
  if (code == 0) {
    return "No Error";
  }
  port::system_error_text(code, log_state.error_text, kErrorTextBytes);
  trim_end(log_state.error_text, "\n\r ");
  return log_state.error_text;
}

void write_os_error(const char* text, unsigned code) {
  const ScopedLock guard(log_state.mutex);
  if (log_state.buffer == nullptr) {
    return;
  }
  const double now = mp_getclock();
  static_cast<void>(
      std::snprintf(log_state.buffer, kBufferBytes, "%s : '%s'", given(text), error_text(code)));
  write_line_locked(kError, now);
}

}  // namespace

void forget_repeats() {
  const ScopedLock guard(log_state.mutex);
  log_state.repeat_count = 0;
  log_state.previous_length = 0;
  log_state.repeat_override.store(false, std::memory_order_relaxed);
}

}  // namespace orsin

using namespace orsin;

void msg_open(std::FILE* stream) {
  store(log_state.last_level, -1);
  log_state.base_reading = 0.0;
  log_state.base_seconds = 0.0;
  log_state.mutex.create();
  log_state.stream = stream != nullptr ? stream : stderr;
  std::free(log_state.buffer);
  log_state.buffer = static_cast<char*>(std::calloc(1, kBufferBytes));
  log_state.previous_length = 0;
  log_state.repeat_count = 0;
  // Without the buffer nothing can be formatted: the log then stays closed.
  if (log_state.buffer != nullptr) {
    store(log_state.level, stream != nullptr ? kInfo : kWarn);
  }
}

void msg_close() {
  store(log_state.level, -1);
  std::free(log_state.buffer);
  log_state.buffer = nullptr;
  log_state.stream = nullptr;
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
  if (log_state.stream == nullptr || text == nullptr) {
    return 0;
  }
  put_in_stream(text, std::strlen(text));
  put_in_stream("\n", 1);
  return 1;
}

void msg_setlevel(int level) {
  if (log_state.buffer != nullptr) {
    store(log_state.level, level);
  }
}

int msg_getlevel() {
  return load(log_state.level);
}

void msg_repeatdisplayoverride() {
  log_state.repeat_override.store(true, std::memory_order_relaxed);
}

std::FILE* msg_get_file() {
  return log_state.stream;
}

const char* os_errormsg() {
  const LastErrorKeeper keeper;
  return error_text(keeper.code());
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
  port::system_error_text(static_cast<unsigned>(code), log_state.error_text, kErrorTextBytes);
  trim_end(log_state.error_text, "\n");
  write_os_error(text, keeper.code());
}
