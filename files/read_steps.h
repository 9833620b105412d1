// The buffered reader's ring: blocks are read ahead in file order and consumed in the same order.
//
// `current_` is the slot being consumed, `next_` the one expected next. A slot with pending > 0 has a
// read in flight or waiting to be consumed; pending is what the read should give. Reads are issued
// in file order, each at `read_ahead_offset_`.
//
//   consumed ... | current block | in flight | in flight | ... not read yet
//                block_start_    position_               read_ahead_offset_
//
// A block that comes shorter than asked was read while the file was shorter: those in flight behind
// it would leave a gap. They are dropped, and reading goes on where the block really ended, from the
// unit of the alignment that this lies in. A read that fails, or brings nothing new, ends the file:
// the position is the end, until another one is set.
//
// A file whose size is 0 is empty: nothing is asked of the system for it. One whose size the system
// does not tell, such as a pipe, is read block by block, short ones too, until nothing comes.
#pragma once

#include "orsincore/io.h"

namespace orsin {

// Not members: everything in an exported class is exported.
struct ReadSteps {
  using Slot = fReadBuffer::Slot;

  /// What a read gave; short where the file was cut meanwhile.
  struct Fetched {
    unsigned long long bytes = 0;
    bool is_short = false;
  };

  static void take_configuration(fReadBuffer& reader, const fReadBuffer& other);
  static void take_size(fReadBuffer& reader, long long size);
  static void begin_memory(fReadBuffer& reader, unsigned long long offset);
  static bool reads_memory(const fReadBuffer& reader);
  static void free_buffers(fReadBuffer& reader);

  /// Gives a reader without buffers a ring of such that lie behind each other, so that neighbouring
  /// blocks are one run of bytes. False when memory is short: there is no ring then.
  static bool allocate_in_one_piece(fReadBuffer& reader, int count, unsigned long long size);

  /// How many blocks, the current one included, are not read over. For a copy, whose threads work on
  /// them; it leaves 1 behind, and two slots at least to read into.
  static void keep_blocks(fReadBuffer& reader, int count) { reader.blocks_kept_ = count; }
  static int buffer_count(const fReadBuffer& reader) { return reader.buffer_count_; }

  /// Whether the next block goes where the current one is.
  static bool reads_into_current(const fReadBuffer& reader) {
    return reader.slots_[reader.next_].pending == 0;
  }

  /// The current block from its start, and where it is in the file. What lies before the cursor was
  /// there already.
  static const unsigned char* block_data(const fReadBuffer& reader) {
    return reader.slots_[reader.current_].buffer;
  }
  static unsigned long long block_position(const fReadBuffer& reader) {
    return reader.block_start_;
  }
  static unsigned long long block_bytes(const fReadBuffer& reader) { return reader.block_bytes_; }

  /// Moves to an offset outside the current block, and reads from the unit that it lies in.
  static void go_to(fReadBuffer& reader, unsigned long long offset, unsigned long long unit);

  /// Waits for what is in flight: the buffers must not be written to any more.
  static void drop_reads(fReadBuffer& reader);
  static int slot_after(const fReadBuffer& reader, int slot);

  /// Issues the next read of the file into a slot; false at the end or when it cannot start.
  static bool issue_read(fReadBuffer& reader, int index);

  /// The next block, from wherever it comes.
  static Fetched fetch(fReadBuffer& reader);
  static void read_ahead(fReadBuffer& reader);

  /// No block is current.
  static void end_file(fReadBuffer& reader);

  /// Nothing more is read. A line says so where the file should have gone on.
  static void end_reading(fReadBuffer& reader);

  struct Ring;
  struct Layout;
};

}  // namespace orsin
