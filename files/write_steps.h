// What writing through a buffer is made of: shared by the writer and the copies' own.
#pragma once

#include "orsincore/io.h"

namespace orsin {

// Not members: everything in an exported class is exported.
struct WriteSteps {
  /// Empties a full buffer, or makes it larger. False when nothing more can be taken.
  using MakeRoom = bool (*)(fWriteBuffer& writer);

  /// fWriteBuffer::write_file(), with a say in what becomes of full buffers.
  static unsigned long long write(fWriteBuffer& writer, const void* data, unsigned long long length,
                                  MakeRoom make_room);
  static bool make_room(fWriteBuffer& writer);
  static void collect(fWriteBuffer& writer, const unsigned char* from, unsigned long long bytes);

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
  static void finish_file(fWriteBuffer& writer);
  static void cut_by_name(fWriteBuffer& writer);
  template <typename Number>
  static void put(fWriteBuffer& writer, Number value);

  struct Layout;
};

}  // namespace orsin
