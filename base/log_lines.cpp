// Writes, stamps and folds the lines of the log; see the header for the layout.
#include "base/log_lines.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "base/given_text.h"
#include "base/log_port.h"
#include "base/log_time.h"

namespace orsin {
namespace {

constexpr std::size_t kLevelNameBytes = 5;
constexpr const char* kLevelNames[] = {"ERROR", "WARN ", "INFO ", "DEBUG", "TRACE", "     "};
constexpr char kContinuationHead[] = "                 : ";
constexpr std::size_t kPreviousMax = 256;  // Longer lines are never folded.

}  // namespace

bool LogLines::open(std::FILE* stream) {
  close();
  stream_ = stream;
  buffer_ = static_cast<char*>(std::calloc(1, kBufferBytes));
  base_reading_ = 0.0;
  previous_length_ = 0;
  repeat_count_ = 0;
  return is_open();
}

void LogLines::close() {
  std::free(buffer_);
  buffer_ = nullptr;
  stream_ = nullptr;
}

void LogLines::format(const char* format, std::va_list arguments) {
  if (format == nullptr) {
    buffer_[0] = '\0';  // An empty text, which writes nothing.
    return;
  }
  static_cast<void>(std::vsnprintf(buffer_, kBufferBytes, format, arguments));
  buffer_[kTextMax] = '\0';
}

void LogLines::format_reason(const char* text, const char* reason) {
  static_cast<void>(std::snprintf(buffer_, kBufferBytes, "%s : '%s'", given(text), reason));
}

// The log never reports its own failures: what the stream refuses is lost.
void LogLines::put_in_stream(const char* bytes, std::size_t count) {
  static_cast<void>(std::fwrite(bytes, 1, count, stream_));
}

// The wall clock is read once; from then on the counter alone advances the printed time, so that
// it never jumps with the system's clock or daylight saving.
double LogLines::seconds_since_midnight(double now) {
  if (base_reading_ == 0.0 || base_reading_ > now) {
    base_seconds_ = port::local_time_of_day();
    base_reading_ = now;
  }
  return now - base_reading_ + base_seconds_;
}

// Put together apart from the stream: an unbuffered stream would write it in pieces.
void LogLines::write_head(int level, double now) {
  char head[] = "00:00:00.00 LEVEL: ";
  write_log_time(split_time_of_day(seconds_since_midnight(now)), head);
  std::memcpy(head + kLogTimeBytes + 1, kLevelNames[level], kLevelNameBytes);
  put_in_stream(head, sizeof(head) - 1);
}

bool LogLines::is_repeat(std::size_t length) {
  return length < kPreviousMax && length == previous_length_ &&
         std::memcmp(buffer_, previous_line(), length) == 0 &&
         !repeat_override_.load(std::memory_order_relaxed);
}

void LogLines::flush_repeats() {
  if (repeat_count_ == 0) {
    return;
  }
  // Kept on purpose: a line repeated once is dropped silently; naming it would cost as much room as
  // the line.
  if (repeat_count_ > 1) {
    char text[64];
    const int length =
        std::snprintf(text, sizeof(text), "               # : Repeated %d times\n", repeat_count_);
    put_in_stream(text, static_cast<std::size_t>(length));
  }
  repeat_count_ = 0;
  // Kept on purpose: the override ends here and nowhere else. Set while nothing is pending, it
  // disables folding until a later count is flushed.
  repeat_override_.store(false, std::memory_order_relaxed);
}

// Ends the text in the buffer with a line feed; returns the number of bytes to write.
std::size_t LogLines::end_line(std::size_t length) {
  if (buffer_[length - 1] == '\n') {
    return length;
  }
  if (length < kTextMax) {
    buffer_[length] = '\n';
    buffer_[length + 1] = '\0';
    return length + 1;
  }
  buffer_[length - 1] = '\n';
  return length;
}

void LogLines::write(int level, double now) {
  const std::size_t length = std::strlen(buffer_);
  if (length == 0) {
    return;
  }
  if (is_repeat(length)) {
    ++repeat_count_;
    return;
  }
  flush_repeats();
  const std::size_t written = end_line(length);
  const std::size_t kept = std::min(length, kPreviousMax);
  if (level == kContinuation) {
    put_in_stream(kContinuationHead, sizeof(kContinuationHead) - 1);
    put_in_stream(buffer_, written);
    // Kept on purpose: the text is remembered but its length is not, so a continuation line only
    // counts as a repeat where it has the length of the head before it.
    std::memcpy(previous_line(), buffer_, kept + 2);
  } else {
    write_head(level, now);
    put_in_stream(buffer_, written);
    std::memcpy(previous_line(), buffer_, kept);
    previous_length_ = kept;
  }
}

void LogLines::write_to_standard_error(int level) {
  const std::size_t length = std::strlen(buffer_);
  if (length == 0 || buffer_[length - 1] != '\n') {
    const std::size_t end = std::min(length, kTextMax - 1);
    buffer_[end] = '\n';
    buffer_[end + 1] = '\0';
  }
  const bool named = level >= kError && level <= kTrace;
  std::fprintf(stderr, "##:##:##.## %s: %s", kLevelNames[named ? level : kContinuation], buffer_);
}

void LogLines::write_as_it_is(const char* text) {
  put_in_stream(text, std::strlen(text));
  put_in_stream("\n", 1);
}

void LogLines::forget_repeats() {
  repeat_count_ = 0;
  previous_length_ = 0;
  repeat_override_.store(false, std::memory_order_relaxed);
}

}  // namespace orsin
