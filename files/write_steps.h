// What writing through a buffer is made of: shared by the writer and the copies' own.
#pragma once

#include "orsincore/io.h"

namespace orsin {

constexpr unsigned long long kBufferBytesMax = 0x7FFFFFFF;  // A buffer's size is an int.

// Not members: everything in an exported class is exported.
struct WriteSteps {
  /// Opens a file, whatever the buffers are.
  static bool open(fWriteBuffer& writer, const char* name, long long initial_size, bool unbuffered);

  static unsigned long long write(fWriteBuffer& writer, const void* data,
                                  unsigned long long length);

  /// Empties a full buffer, or makes it larger. False when nothing more can be taken.
  static bool make_room(fWriteBuffer& writer);
  static void collect(fWriteBuffer& writer, const unsigned char* from, unsigned long long bytes);

  /// The writer's other mode: no file is open.
  static bool collects_in_memory(const fWriteBuffer& writer);

  static void fit_buffers_to_file(fWriteBuffer& writer);
  static void expect_gaps(fWriteBuffer& writer);
  static void clear_behind_data(fWriteBuffer& writer);
  static bool allocate_buffers(fWriteBuffer& writer, int size, bool double_buffer);
  static void empty_buffer(fWriteBuffer& writer);
  static bool grow_memory(fWriteBuffer& writer, unsigned long long size);
  static void collect_buffer(fWriteBuffer& writer);
  static void collect_direct(fWriteBuffer& writer);
  static void write_and_wait(fWriteBuffer& writer, unsigned long long bytes);
  static void write_full_buffer(fWriteBuffer& writer);

  /// A full buffer is written or on its way: counts it, and goes on behind it, in the spare one if
  /// there is one.
  static void begin_next_buffer(fWriteBuffer& writer);

  static bool start_first_buffer(fWriteBuffer& writer);

  struct Closed {
    int result = 1;           // As close_file() gives it.
    bool keeps_more = false;  // The file has more than its data, and could not be cut.
  };
  static Closed close(fWriteBuffer& writer, bool force);

  /// Cuts the file to its data and closes it, if it was opened by name. Counts an error where data is
  /// missing. False where more than the data stays.
  static bool finish_file(fWriteBuffer& writer);
  template <typename Number>
  static void put(fWriteBuffer& writer, Number value);

  struct Layout;
};

}  // namespace orsin
