// The buffered reader.
//
// The ring: `current_` is the slot being consumed, `next_` the one expected next. A slot with
// pending > 0 has a read in flight or waiting to be consumed; pending is what the read should give.
// Reads are issued in file order, each at `read_ahead_offset_`, and consumed in the same order.
//
//   consumed ... | current block | in flight | in flight | ... not read yet
//                block_start_    position_               read_ahead_offset_
//
// A file of size 0 is empty: nothing is asked of the system for it. A read that fails ends the
// file: what is in flight behind it is dropped and the position is the end, until another one is
// set.
//
// A reader is one thread's. Reads past the ring stand in direct_reads.cpp.
#include <algorithm>
#include <cstring>

#include "base/rounding.h"
#include "files/buffer_configuration.h"
#include "files/byte_count.h"
#include "files/direct_reads.h"
#include "files/transfer_slots.h"
#include "files/volumes.h"
#include "orsincore/io.h"
#include "orsincore/log.h"
#include "orsincore/memory.h"

namespace orsin {
namespace {

constexpr int kBuffersMax = 8;
constexpr unsigned long long kBufferBytesDefault = 0x100000;
constexpr unsigned char kHostOrder = 1;

}  // namespace

// What reading is made of. Not members: everything in an exported class is exported.
struct ReadSteps {
  using Slot = fReadBuffer::Slot;

  static void take_configuration(fReadBuffer& reader, const fReadBuffer& other);
  static void drop_reads(fReadBuffer& reader);
  static int slot_after(const fReadBuffer& reader, int slot);
  static void begin_memory(fReadBuffer& reader, unsigned long long offset);
  static bool reads_memory(const fReadBuffer& reader);
  static void free_buffers(fReadBuffer& reader);
  static unsigned long long request_size(const fReadBuffer& reader, unsigned long long offset,
                                         unsigned long long wanted, unsigned long long& expected);
  static bool issue_read(fReadBuffer& reader, int index);
  static unsigned long long complete_slot(fReadBuffer& reader, int index);
  static void end_file(fReadBuffer& reader);
  static void end_reading(fReadBuffer& reader);
  static unsigned long long fetch_in_flight(fReadBuffer& reader);
  static bool issue_first_reads(fReadBuffer& reader);
  static unsigned long long fetch_now(fReadBuffer& reader);
  static void read_ahead(fReadBuffer& reader);

  static_assert(offsetof(fReadBuffer, name_) == 8);
  static_assert(offsetof(fReadBuffer, file_) == 272);
  static_assert(offsetof(fReadBuffer, opened_) == 280);
  static_assert(offsetof(fReadBuffer, position_) == 288);
  static_assert(offsetof(fReadBuffer, read_ahead_offset_) == 296);
  static_assert(offsetof(fReadBuffer, file_size_) == 304);
  static_assert(offsetof(fReadBuffer, block_start_) == 312);
  static_assert(offsetof(fReadBuffer, read_ahead_) == 320);
  static_assert(offsetof(fReadBuffer, open_failed_) == 321);
  static_assert(offsetof(fReadBuffer, alignment_) == 328);
  static_assert(offsetof(fReadBuffer, first_read_size_) == 336);
  static_assert(offsetof(fReadBuffer, buffer_size_) == 344);
  static_assert(offsetof(fReadBuffer, slots_) == 352);
  static_assert(offsetof(fReadBuffer, buffer_count_) == 352 + 8 * 24);
  static_assert(offsetof(fReadBuffer, current_) == 548);
  static_assert(offsetof(fReadBuffer, next_) == 552);
  static_assert(offsetof(fReadBuffer, owns_buffers_) == 556);
  static_assert(offsetof(fReadBuffer, skip_) == 560);
  static_assert(offsetof(fReadBuffer, allocated_size_) == 568);
  static_assert(offsetof(fReadBuffer, block_bytes_) == 576);
  static_assert(offsetof(fReadBuffer, cursor_) == 584);
  static_assert(offsetof(fReadBuffer, swap_) == 592);
  static_assert(offsetof(fReadBuffer, host_order_) == 593);
};

}  // namespace orsin

using namespace orsin;

fReadBuffer::fReadBuffer() : fReadBuffer(io_invalid_handle()) {}

fReadBuffer::fReadBuffer(void* file)
    : name_{},
      file_(file),
      opened_(false),
      position_(0),
      read_ahead_offset_(0),
      file_size_(0),
      block_start_(0),
      read_ahead_(true),
      open_failed_(false),
      alignment_(static_cast<unsigned long long>(mem_pagesize())),
      first_read_size_(kBufferBytesDefault),
      buffer_size_(kBufferBytesDefault),
      slots_{},
      buffer_count_(1),
      current_(0),
      next_(0),
      owns_buffers_(false),
      skip_(0),
      allocated_size_(0),
      block_bytes_(0),
      cursor_(nullptr),
      swap_(false),
      host_order_(kHostOrder),
      block_end_(nullptr),
      reads_{} {
  count_reader(1);
  for (Slot& slot : slots_) {
    slot.ticket = -1;
  }
  if (file_ != io_invalid_handle()) {
    file_size_ = static_cast<unsigned long long>(std::max(io_get_filesize64(file_, nullptr), 0LL));
    open_failed_ = file_size_ == 0;
  }
}

fReadBuffer::fReadBuffer(const fReadBuffer& other) : fReadBuffer(io_invalid_handle()) {
  ReadSteps::take_configuration(*this, other);
}

fReadBuffer& fReadBuffer::operator=(const fReadBuffer& other) {
  if (this != &other) {
    close_file();
    ReadSteps::free_buffers(*this);
    ReadSteps::take_configuration(*this, other);
  }
  return *this;
}

fReadBuffer::~fReadBuffer() {
  close_file();
  ReadSteps::drop_reads(*this);
  ReadSteps::free_buffers(*this);
  count_reader(-1);
}

void ReadSteps::take_configuration(fReadBuffer& reader, const fReadBuffer& other) {
  reader.read_ahead_ = other.read_ahead_;
  reader.first_read_size_ = other.first_read_size_;
  reader.buffer_size_ = other.buffer_size_;
  reader.buffer_count_ = other.buffer_count_;
  reader.swap_ = other.swap_;
}

bool fReadBuffer::open_file(const char* name, bool share, bool preload, bool unbuffered) {
  close_file();
  const BufferConfiguration& configuration = buffer_configuration();
  const bool bypass = unbuffered && configuration.unbuffered_reading;
  file_ = io_open64(name, 0, bypass, share, configuration.overlapped);
  open_failed_ = file_ == io_invalid_handle();
  if (open_failed_) {
    return false;
  }
  file_size_ = static_cast<unsigned long long>(std::max(io_get_filesize64(file_, name), 0LL));
  std::strncpy(name_, name, sizeof(name_) - 1);
  opened_ = true;
  alignment_ = static_cast<unsigned long long>(bypass ? drive_sector_size(name) : mem_pagesize());
  position_ = read_ahead_offset_ = block_start_ = skip_ = 0;
  current_ = 0;
  next_ = ReadSteps::slot_after(*this, 0);
  ReadSteps::end_file(*this);
  if (preload && ensure_buffers()) {
    next_ = 0;
    static_cast<void>(ReadSteps::issue_read(*this, 0));
  }
  return true;
}

void fReadBuffer::close_file() {
  ReadSteps::drop_reads(*this);
  if (opened_) {
    io_close64(file_);
    file_ = io_invalid_handle();
    opened_ = false;
    ReadSteps::end_file(*this);
  }
}

// Waits for what is in flight: the buffers must not be written to any more.
void ReadSteps::drop_reads(fReadBuffer& reader) {
  for (int i = 0; i < kBuffersMax; ++i) {
    Slot& slot = reader.slots_[i];
    if (slot.ticket != -1) {
      std::uint64_t bytes = 0;
      static_cast<void>(finish_own(reader.reads_[i], bytes));
    }
    slot.ticket = -1;
    slot.pending = 0;
  }
}

void fReadBuffer::cfg_buffers(int count, unsigned long long buffer_size,
                              unsigned long long first_read_size) {
  const int wanted = std::clamp(count, 1, kBuffersMax);
  if (owns_buffers_ && wanted != buffer_count_) {
    return;
  }
  if (!owns_buffers_) {
    buffer_count_ = wanted;
    next_ = ReadSteps::slot_after(*this, current_);
  }
  buffer_size_ = std::max(buffer_size, alignment_);
  first_read_size_ = std::max(first_read_size, alignment_);
}

int ReadSteps::slot_after(const fReadBuffer& reader, int slot) {
  return reader.buffer_count_ > 1 ? (slot + 1) % reader.buffer_count_ : 0;
}

void fReadBuffer::set_memory_buffer(void* memory, unsigned long long size) {
  close_file();
  ReadSteps::free_buffers(*this);
  file_ = io_invalid_handle();
  slots_[0].buffer = static_cast<unsigned char*>(memory);
  current_ = 0;
  block_start_ = skip_ = 0;
  file_size_ = position_ = read_ahead_offset_ = memory != nullptr ? size : 0;
  ReadSteps::begin_memory(*this, 0);
}

// The caller's bytes are one block, from which reading goes on at an offset.
void ReadSteps::begin_memory(fReadBuffer& reader, unsigned long long offset) {
  reader.block_bytes_ = reader.file_size_;
  reader.block_end_ = reader.slots_[0].buffer + reader.block_bytes_;
  reader.cursor_ = reader.slots_[0].buffer + std::min(offset, reader.block_bytes_);
}

bool ReadSteps::reads_memory(const fReadBuffer& reader) {
  return reader.file_ == io_invalid_handle() && !reader.owns_buffers_ &&
         reader.slots_[0].buffer != nullptr;
}

void ReadSteps::free_buffers(fReadBuffer& reader) {
  for (Slot& slot : reader.slots_) {
    if (reader.owns_buffers_ && slot.buffer != nullptr) {
      os_free(slot.buffer);
    }
    slot.buffer = nullptr;
  }
  reader.owns_buffers_ = false;
  reader.allocated_size_ = 0;
  end_file(reader);
}

bool fReadBuffer::ensure_buffers() {
  if (ReadSteps::reads_memory(*this) ||
      (owns_buffers_ && allocated_size_ != 0 && allocated_size_ >= buffer_size_)) {
    return true;
  }
  ReadSteps::drop_reads(*this);
  read_ahead_offset_ = position_;
  ReadSteps::free_buffers(*this);
  buffer_size_ = rounded_up(buffer_size_, alignment_);
  for (int i = 0; i < buffer_count_; ++i) {
    slots_[i] = {static_cast<unsigned char*>(os_alloc(buffer_size_, 0)), -1, 0};
    if (slots_[i].buffer == nullptr) {
      msgerror("FileBuffer: Failed to allocate buffer space (%.2fKb/%d)",
               static_cast<double>(buffer_size_) / 1024.0, i);
      buffer_count_ = i;
      owns_buffers_ = i > 0;
      return false;
    }
  }
  owns_buffers_ = buffer_count_ > 0;  // None after a failure: the next cfg_buffers() may ask again.
  allocated_size_ = buffer_size_;
  current_ = 0;
  next_ = ReadSteps::slot_after(*this, 0);
  return owns_buffers_;
}

// Bytes to ask for, a multiple of the alignment, and the bytes of the file in them.
unsigned long long ReadSteps::request_size(const fReadBuffer& reader, unsigned long long offset,
                                           unsigned long long wanted,
                                           unsigned long long& expected) {
  const unsigned long long left = offset < reader.file_size_ ? reader.file_size_ - offset : 0;
  expected = std::min(wanted, left);
  return std::min(wanted, rounded_up(left, reader.alignment_));
}

// Issues the next read of the file into a slot; false at the end or when it cannot start.
bool ReadSteps::issue_read(fReadBuffer& reader, int index) {
  Slot& slot = reader.slots_[index];
  unsigned long long expected = 0;
  const unsigned long long size =
      request_size(reader, reader.read_ahead_offset_, reader.buffer_size_, expected);
  if (size == 0 || !start_own_read(reader.reads_[index], reader.file_, slot.buffer,
                                   reader.read_ahead_offset_, size, &slot.ticket)) {
    return false;
  }
  slot.pending = expected;
  reader.read_ahead_offset_ += size;
  return true;
}

// Waits for a slot's read. Returns its bytes, which are fewer than expected when the file was cut
// meanwhile; 0 when it failed.
unsigned long long ReadSteps::complete_slot(fReadBuffer& reader, int index) {
  Slot& slot = reader.slots_[index];
  std::uint64_t bytes = 0;
  const bool succeeded = finish_own(reader.reads_[index], bytes);
  const unsigned long long expected = slot.pending;
  slot.ticket = -1;
  slot.pending = 0;
  return succeeded ? std::min<unsigned long long>(bytes, expected) : 0;
}

void ReadSteps::end_file(fReadBuffer& reader) {
  reader.block_bytes_ = 0;
  reader.cursor_ = reader.block_end_ = nullptr;
}

// The blocks behind a failed one must not pass for it.
void ReadSteps::end_reading(fReadBuffer& reader) {
  drop_reads(reader);
  reader.position_ = reader.read_ahead_offset_ = reader.file_size_;
  end_file(reader);
}

unsigned long long ReadSteps::fetch_in_flight(fReadBuffer& reader) {
  const int after_next = slot_after(reader, reader.next_);
  if (reader.read_ahead_ && after_next != reader.next_ && reader.slots_[after_next].pending == 0) {
    static_cast<void>(issue_read(reader, after_next));
  }
  const unsigned long long bytes = complete_slot(reader, reader.next_);
  reader.current_ = reader.next_;
  reader.next_ = after_next;
  return bytes;
}

// At the beginning of a file all buffers are set going at once.
bool ReadSteps::issue_first_reads(fReadBuffer& reader) {
  if (reader.buffer_count_ < 2 || reader.position_ != 0 ||
      reader.first_read_size_ != reader.buffer_size_) {
    return false;
  }
  int issued = 0;
  while (issued < reader.buffer_count_ && issue_read(reader, issued)) {
    ++issued;
  }
  if (issued == 0) {
    return false;
  }
  reader.next_ = 0;
  return true;
}

unsigned long long ReadSteps::fetch_now(fReadBuffer& reader) {
  const unsigned long long wanted =
      reader.position_ == 0
          ? std::min(rounded_up(reader.first_read_size_, reader.alignment_), reader.buffer_size_)
          : reader.buffer_size_;
  unsigned long long expected = 0;
  const unsigned long long size = request_size(reader, reader.position_, wanted, expected);
  Slot& slot = reader.slots_[reader.current_];
  slot.pending = expected;
  if (size == 0 || !start_own_read(reader.reads_[reader.current_], reader.file_, slot.buffer,
                                   reader.position_, size, &slot.ticket)) {
    slot.pending = 0;
    return 0;
  }
  reader.read_ahead_offset_ = reader.position_ + size;
  reader.next_ = slot_after(reader, reader.current_);
  return complete_slot(reader, reader.current_);
}

void ReadSteps::read_ahead(fReadBuffer& reader) {
  if (!reader.read_ahead_ || reader.buffer_count_ < 2) {
    return;
  }
  for (int i = 0; i < reader.buffer_count_ - 1; ++i) {
    const int index = (reader.next_ + i) % reader.buffer_count_;
    if (reader.slots_[index].pending == 0 && !issue_read(reader, index)) {
      return;
    }
  }
}

unsigned long long fReadBuffer::getNextBlock() {
  if (file_ == io_invalid_handle() || !ensure_buffers()) {
    ReadSteps::end_file(*this);
    return 0;
  }
  unsigned long long bytes = 0;
  if (slots_[next_].pending > 0 || ReadSteps::issue_first_reads(*this)) {
    bytes = ReadSteps::fetch_in_flight(*this);
  } else {
    bytes = ReadSteps::fetch_now(*this);
  }
  if (bytes == 0) {
    ReadSteps::end_reading(*this);
    return 0;
  }
  block_start_ = position_;
  position_ += bytes;
  block_bytes_ = bytes;
  block_end_ = slots_[current_].buffer + bytes;
  cursor_ = slots_[current_].buffer + std::min(skip_, bytes);
  skip_ = 0;
  ReadSteps::read_ahead(*this);
  return bytes;
}

unsigned char* fReadBuffer::get_bufptr(unsigned long long* available) {
  if (cursor_ == block_end_) {
    getNextBlock();
  }
  if (available != nullptr) {
    *available = static_cast<unsigned long long>(block_end_ - cursor_);
  }
  return cursor_;
}

unsigned long long fReadBuffer::read_file(void* destination, unsigned long long size,
                                          unsigned long long count) {
  const unsigned long long wanted = destination != nullptr ? byte_count(size, count, 0) : 0;
  auto* to = static_cast<unsigned char*>(destination);
  unsigned long long done = 0;
  while (done < wanted) {
    unsigned long long available = 0;
    const unsigned char* from = get_bufptr(&available);
    if (from == nullptr || available == 0) {
      break;
    }
    const unsigned long long bytes = std::min(available, wanted - done);
    std::memcpy(to + done, from, bytes);
    cursor_ += bytes;
    done += bytes;
  }
  return done;
}

unsigned long long fReadBuffer::skip_file(unsigned long long size, unsigned long long count) {
  const unsigned long long wanted = byte_count(size, count, kAllBytes);
  unsigned long long done = 0;
  while (done < wanted) {
    unsigned long long available = 0;
    if (get_bufptr(&available) == nullptr || available == 0) {
      break;
    }
    const unsigned long long bytes = std::min(available, wanted - done);
    cursor_ += bytes;
    done += bytes;
  }
  return done;
}

void fReadBuffer::set_position(unsigned long long offset) {
  if (block_bytes_ > 0 && offset >= block_start_ && offset <= block_start_ + block_bytes_) {
    cursor_ = slots_[current_].buffer + (offset - block_start_);
    return;
  }
  if (file_ == io_invalid_handle()) {
    if (ReadSteps::reads_memory(*this)) {
      ReadSteps::begin_memory(*this, offset);
    }
    return;
  }
  ReadSteps::drop_reads(*this);
  ReadSteps::end_file(*this);
  position_ = offset / alignment_ * alignment_;
  read_ahead_offset_ = position_;
  skip_ = offset - position_;
  current_ = 0;
  next_ = ReadSteps::slot_after(*this, 0);
}

unsigned char fReadBuffer::read_byte_from_next_block() {
  constexpr unsigned char kEndOfFile = 255;
  getNextBlock();
  return cursor_ != block_end_ ? *cursor_++ : kEndOfFile;
}

// A number that lies in two blocks, or that the file's end cuts off: then false.
bool fReadBuffer::read_across_blocks(void* number, std::size_t size) {
  auto* to = static_cast<unsigned char*>(number);
  for (std::size_t i = 0; i < size; ++i) {
    if (cursor_ == block_end_) {
      getNextBlock();
    }
    if (cursor_ == block_end_) {
      return false;
    }
    to[i] = *cursor_++;
  }
  return true;
}
