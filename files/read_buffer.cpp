// The buffered reader.
//
// A reader is one thread's. Its ring stands in read_ring.cpp, reads past the ring in
// direct_reads.cpp.
#include <algorithm>
#include <cstring>

#include "base/rounding.h"
#include "files/buffer_configuration.h"
#include "files/byte_count.h"
#include "files/direct_reads.h"
#include "files/read_steps.h"
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

// A friend sees the members; the struct has no other use.
struct ReadSteps::Layout {
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
      reads_{},
      size_is_unknown_(false),
      is_unbuffered_(false),
      is_in_one_piece_(false),
      blocks_kept_(1) {
  prepare_direct_reads();
  for (Slot& slot : slots_) {
    slot.ticket = -1;
  }
  if (file_ != io_invalid_handle()) {
    ReadSteps::take_size(*this, io_get_filesize64(file_, nullptr));
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
}

void ReadSteps::take_configuration(fReadBuffer& reader, const fReadBuffer& other) {
  reader.read_ahead_ = other.read_ahead_;
  reader.first_read_size_ = other.first_read_size_;
  reader.buffer_size_ = other.buffer_size_;
  reader.buffer_count_ = other.buffer_count_;
  reader.swap_ = other.swap_;
}

void ReadSteps::take_size(fReadBuffer& reader, long long size) {
  reader.size_is_unknown_ = size < 0;
  reader.file_size_ = static_cast<unsigned long long>(std::max(size, 0LL));
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
  ReadSteps::take_size(*this, io_get_filesize64(file_, name));
  std::strncpy(name_, name, sizeof(name_) - 1);
  opened_ = true;
  is_unbuffered_ = bypass;
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

void fReadBuffer::set_memory_buffer(void* memory, unsigned long long size) {
  close_file();
  ReadSteps::free_buffers(*this);
  file_ = io_invalid_handle();
  slots_[0].buffer = static_cast<unsigned char*>(memory);
  current_ = 0;
  block_start_ = skip_ = 0;
  size_is_unknown_ = false;
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
    const bool is_whole = !reader.is_in_one_piece_ || &slot == reader.slots_;
    if (reader.owns_buffers_ && is_whole && slot.buffer != nullptr) {
      os_free(slot.buffer);
    }
    slot.buffer = nullptr;
  }
  reader.owns_buffers_ = reader.is_in_one_piece_ = false;
  reader.allocated_size_ = 0;
  end_file(reader);
}

bool ReadSteps::allocate_in_one_piece(fReadBuffer& reader, int count, unsigned long long size) {
  auto* piece =
      static_cast<unsigned char*>(os_alloc(static_cast<unsigned long long>(count) * size, 0));
  if (piece == nullptr) {
    return false;
  }
  for (int i = 0; i < count; ++i) {
    reader.slots_[i] = {piece + static_cast<unsigned long long>(i) * size, -1, 0};
  }
  reader.owns_buffers_ = reader.is_in_one_piece_ = true;
  reader.buffer_count_ = count;
  reader.buffer_size_ = reader.first_read_size_ = reader.allocated_size_ = size;
  reader.current_ = 0;
  reader.next_ = slot_after(reader, 0);
  return true;
}

bool fReadBuffer::ensure_buffers() {
  if (ReadSteps::reads_memory(*this)) {
    return true;
  }
  // Also sizes that were asked for since, and the alignment may be another file's.
  buffer_size_ = rounded_up(buffer_size_, alignment_);
  first_read_size_ = rounded_up(first_read_size_, alignment_);
  const unsigned long long size = std::max(buffer_size_, first_read_size_);
  if (owns_buffers_ && allocated_size_ != 0 && allocated_size_ >= size) {
    return true;
  }
  ReadSteps::drop_reads(*this);
  read_ahead_offset_ = position_;
  ReadSteps::free_buffers(*this);
  for (int i = 0; i < buffer_count_; ++i) {
    slots_[i] = {static_cast<unsigned char*>(os_alloc(size, 0)), -1, 0};
    if (slots_[i].buffer == nullptr) {
      msgerror("FileBuffer: Failed to allocate buffer space (%.2fKb/%d)",
               static_cast<double>(size) / 1024.0, i);
      buffer_count_ = i;
      owns_buffers_ = i > 0;
      return false;
    }
  }
  owns_buffers_ = buffer_count_ > 0;  // None after a failure: the next cfg_buffers() may ask again.
  allocated_size_ = size;
  current_ = 0;
  next_ = ReadSteps::slot_after(*this, 0);
  return owns_buffers_;
}

unsigned long long fReadBuffer::getNextBlock() {
  if (file_ == io_invalid_handle() || !ensure_buffers()) {
    ReadSteps::end_file(*this);
    return 0;
  }
  const ReadSteps::Fetched fetched = ReadSteps::fetch(*this);
  const unsigned long long bytes = fetched.bytes;
  if (bytes <= skip_) {
    ReadSteps::end_reading(*this);
    return 0;
  }
  block_start_ = position_;
  position_ += bytes;
  block_bytes_ = bytes;
  block_end_ = slots_[current_].buffer + bytes;
  cursor_ = slots_[current_].buffer + skip_;
  skip_ = 0;
  if (fetched.is_short) {
    // Whole pages, so that a copy's other drive can take what follows past its cache, too.
    const auto page = static_cast<unsigned long long>(mem_pagesize());
    ReadSteps::go_to(*this, position_, rounded_up(alignment_, page));
  }
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
  ReadSteps::go_to(*this, offset, alignment_);
  ReadSteps::end_file(*this);
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
