// The lines of the log: formatting area, heads with the time of day, folding of repeats, the stream.
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
// Nothing here is locked but the override: message_log.cpp holds the log's mutex.
#pragma once

#include <atomic>
#include <cstdarg>
#include <cstddef>
#include <cstdio>

namespace orsin {

enum LogLevel : int { kError, kWarn, kInfo, kDebug, kTrace, kContinuation };

class LogLines {
 public:
  static constexpr std::size_t kBufferBytes = 8192;
  static constexpr std::size_t kTextMax = kBufferBytes - 1;

  constexpr LogLines() = default;
  LogLines(const LogLines&) = delete;
  LogLines& operator=(const LogLines&) = delete;

  /// Takes the block and forgets what an earlier log knew. False, and closed, without memory.
  /// @param stream  Not owned.
  bool open(std::FILE* stream);
  void close();

  [[nodiscard]] bool is_open() const { return buffer_ != nullptr; }
  [[nodiscard]] std::FILE* stream() const { return stream_; }

  /// Formats into the block, cut to 8191 characters. A null format is an empty text.
  void format(const char* format, std::va_list arguments);
  void format_reason(const char* text, const char* reason);

  /// Writes the formatted text as a line, or counts it as a repeat; an empty text is none.
  /// @param now  The clock's reading, for heads.
  void write(int level, double now);

  /// Writes the formatted text to standard error, without time, folding or the stream.
  void write_to_standard_error(int level);

  /// Writes a text and a line feed as they are.
  void write_as_it_is(const char* text);

  /// The next repeats are written instead of counted, until a count is flushed. Any thread.
  void override_folding() { repeat_override_.store(true, std::memory_order_relaxed); }

  /// Forgets the line before, its count of repeats and the override, as before the first line.
  void forget_repeats();

 private:
  void put_in_stream(const char* bytes, std::size_t count);
  [[nodiscard]] double seconds_since_midnight(double now);
  void write_head(int level, double now);
  [[nodiscard]] char* previous_line() { return buffer_ + kPreviousOffset; }
  [[nodiscard]] bool is_repeat(std::size_t length);
  void flush_repeats();
  [[nodiscard]] std::size_t end_line(std::size_t length);

  static constexpr std::size_t kPreviousOffset = 4096;

  std::FILE* stream_ = nullptr;
  char* buffer_ = nullptr;
  std::size_t previous_length_ = 0;
  int repeat_count_ = 0;
  std::atomic<bool> repeat_override_ = false;
  double base_reading_ = 0.0;  // The clock when the wall clock was read.
  double base_seconds_ = 0.0;  // The local time of day then.
};

}  // namespace orsin
