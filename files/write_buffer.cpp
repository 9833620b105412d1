// The buffered writer.
//
// `current_` fills while `spare_` is being written; a full buffer starts its write and the two
// change places. Writes always cover whole aligned units, so the file is longer than its data until
// closing (write_closing.cpp) cuts it to `data_end_`.
//
//   file:    | written ........ | current buffer: used_ bytes of data |
//                               buffer_file_position_
//
// Without a file it collects in memory; what is different then stands in write_memory.cpp.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "base/rounding.h"
#include "files/buffer_configuration.h"
#include "files/byte_count.h"
#include "files/growing_block.h"
#include "files/io_port.h"
#include "files/transfer_slots.h"
#include "files/volumes.h"
#include "files/write_steps.h"
#include "memory/slice_copy.h"
#include "orsincore/files.h"
#include "orsincore/io.h"
#include "orsincore/log.h"
#include "orsincore/memory.h"
#include "orsincore/threads.h"

namespace orsin {
namespace {

constexpr int kBufferBytesDefault = 0x100000;
constexpr unsigned char kHostOrder = 1;
constexpr int kLargeBufferBytes = 0x400000;            // More than a core keeps cached.
constexpr unsigned long long kLongRunBytes = 0x10000;  // Shorter ones are memcpy()'s.

}  // namespace

// Friends see the members; the struct has no other use.
struct WriteSteps::Layout {
  static_assert(offsetof(fWriteBuffer, name_) == 8);
  static_assert(offsetof(fWriteBuffer, file_) == 272);
  static_assert(offsetof(fWriteBuffer, opened_) == 280);
  static_assert(offsetof(fWriteBuffer, buffer_file_position_) == 288);
  static_assert(offsetof(fWriteBuffer, data_end_) == 296);
  static_assert(offsetof(fWriteBuffer, buffer_ticket_) == 304);
  static_assert(offsetof(fWriteBuffer, direct_ticket_) == 308);
  static_assert(offsetof(fWriteBuffer, errors_) == 312);
  static_assert(offsetof(fWriteBuffer, writes_) == 316);
  static_assert(offsetof(fWriteBuffer, current_) == 320);
  static_assert(offsetof(fWriteBuffer, spare_) == 328);
  static_assert(offsetof(fWriteBuffer, allocation_) == 336);
  static_assert(offsetof(fWriteBuffer, buffer_size_) == 344);
  static_assert(offsetof(fWriteBuffer, memory_block_) == 352);
  static_assert(offsetof(fWriteBuffer, cursor_) == 360);
  static_assert(offsetof(fWriteBuffer, used_) == 368);
  static_assert(offsetof(fWriteBuffer, offset_) == 376);
  static_assert(offsetof(fWriteBuffer, alignment_) == 384);
  static_assert(offsetof(fWriteBuffer, host_order_) == 392);
  static_assert(offsetof(fWriteBuffer, swap_) == 393);
  static_assert(offsetof(fWriteBuffer, mutex_) == 400);
};

}  // namespace orsin

using namespace orsin;

fWriteBuffer::fWriteBuffer(void* file, bool double_buffer)
    : name_{},
      file_(file),
      opened_(false),
      buffer_file_position_(0),
      data_end_(0),
      buffer_ticket_(-1),
      direct_ticket_(-1),
      errors_(0),
      writes_(0),
      current_(nullptr),
      spare_(nullptr),
      allocation_(nullptr),
      buffer_size_(0),
      memory_block_(nullptr),
      cursor_(nullptr),
      used_(0),
      offset_(0),
      alignment_(static_cast<unsigned long long>(buffer_configuration().default_size)),
      host_order_(kHostOrder),
      swap_(false),
      mutex_(mp_new_mutex(0, 0)),
      expects_gaps_(false),
      is_unbuffered_(false) {
  if (file_ != io_invalid_handle() && double_buffer) {
    static_cast<void>(WriteSteps::allocate_buffers(*this, kBufferBytesDefault, true));
  }
}

fWriteBuffer::~fWriteBuffer() {
  if (file_ != io_invalid_handle()) {
    fWriteBuffer::close_file(true);
  }
  fWriteBuffer::reset_buffers();
  mp_delete_mutex(mutex_);
}

bool WriteSteps::allocate_buffers(fWriteBuffer& writer, int size, bool double_buffer) {
  const auto bytes = std::max(static_cast<unsigned long long>(size), writer.alignment_);
  if (bytes > kBufferBytesMax) {
    msgwarn("WRITE BUFFER: Allocation failed (size = %d)", size);
    return false;
  }
  const unsigned long long total = (writer.alignment_ + bytes) * (double_buffer ? 2 : 1);
  writer.allocation_ = static_cast<unsigned char*>(os_alloc(total, 0));
  if (writer.allocation_ == nullptr) {
    msgwarn("WRITE BUFFER: Allocation failed (size = %d)", static_cast<int>(total));
    return false;
  }
  writer.buffer_size_ = static_cast<int>(bytes);
  writer.current_ = writer.allocation_;
  writer.spare_ = double_buffer ? writer.allocation_ + bytes : nullptr;
  empty_buffer(writer);
  return true;
}

bool fWriteBuffer::set_buffer(int size, bool double_buffer) {
  if (size == buffer_size_ && double_buffer == (spare_ != nullptr) && current_ != nullptr) {
    return true;
  }
  flush_buffers();
  reset_buffers();
  return WriteSteps::allocate_buffers(*this, std::max(size, 0), double_buffer);
}

unsigned char* fWriteBuffer::get_current_buffer() {
  WriteSteps::expect_gaps(*this);  // The caller may fill it and step over what is there.
  return current_;
}

bool fWriteBuffer::ensure_minimum_buffer_size(int size) {
  if (size <= buffer_size_) {
    return true;
  }
  if (WriteSteps::collects_in_memory(*this)) {
    return WriteSteps::grow_memory(*this, static_cast<unsigned long long>(size));
  }
  // Flushing would round the position up and leave a hole: what is collected moves instead.
  WriteSteps::collect_buffer(*this);
  unsigned char* const old_allocation = allocation_;
  unsigned char* const old_current = current_;
  unsigned char* const old_spare = spare_;
  const unsigned long long used = used_;
  const unsigned long long offset = offset_;
  const unsigned long long whole = rounded_up(static_cast<unsigned long long>(size), alignment_);
  if (whole > kBufferBytesMax ||
      !WriteSteps::allocate_buffers(*this, static_cast<int>(whole), old_spare != nullptr)) {
    allocation_ = old_allocation;
    return false;
  }
  if (old_current != nullptr) {
    std::memcpy(current_, old_current, std::max(used, offset));
  }
  used_ = used;
  offset_ = offset;
  cursor_ = current_ + offset_;
  if (old_allocation != nullptr) {
    os_free(old_allocation);
  }
  return true;
}

void fWriteBuffer::reset_buffers() {
  if (allocation_ != nullptr) {
    os_free(allocation_);
  }
  std::free(memory_block_);
  allocation_ = memory_block_ = current_ = spare_ = nullptr;
  buffer_size_ = 0;
  expects_gaps_ = false;
  WriteSteps::empty_buffer(*this);
}

unsigned long long fWriteBuffer::get_buffer_used() {
  return used_;
}

bool fWriteBuffer::data_pending() {
  return used_ > 0 || buffer_ticket_ != -1 || direct_ticket_ != -1;
}

void WriteSteps::empty_buffer(fWriteBuffer& writer) {
  writer.cursor_ = writer.current_;
  writer.used_ = writer.offset_ = 0;
  if (writer.expects_gaps_) {
    clear_behind_data(writer);
  }
}

// Plain writing leaves no gaps, and costs no clearing. The first gap is cleared when it comes: as long
// as nobody was given the buffer's address, nothing of the caller's can lie there.
void WriteSteps::expect_gaps(fWriteBuffer& writer) {
  if (!std::exchange(writer.expects_gaps_, true)) {
    clear_behind_data(writer);
  }
}

// The library's own memory: what it held in its earlier life is nobody's. A caller's is as it is.
void WriteSteps::clear_behind_data(fWriteBuffer& writer) {
  if (writer.current_ != nullptr &&
      (writer.allocation_ != nullptr || writer.memory_block_ != nullptr)) {
    std::memset(writer.current_ + writer.used_, 0,
                static_cast<unsigned long long>(writer.buffer_size_) - writer.used_);
  }
}

void WriteSteps::collect_buffer(fWriteBuffer& writer) {
  if (std::exchange(writer.buffer_ticket_, -1) != -1 && !finish_own_write(writer.buffer_write_)) {
    ++writer.errors_;
  }
}

void WriteSteps::collect_direct(fWriteBuffer& writer) {
  if (std::exchange(writer.direct_ticket_, -1) != -1 && !finish_own_write(writer.direct_write_)) {
    ++writer.errors_;
  }
}

void WriteSteps::write_and_wait(fWriteBuffer& writer, unsigned long long bytes) {
  if (!write_whole(writer.file_, writer.current_, writer.buffer_file_position_, bytes)) {
    ++writer.errors_;
  }
}

bool fWriteBuffer::open_file(const char* name, long long initial_size, bool unbuffered) {
  if (file_ != io_invalid_handle()) {
    close_file(true);
    if (error() > 0) {
      msgerror("Failed to write file '%s'.", name_);
      file_delete(name_);
    }
  }
  if (!WriteSteps::open(*this, name, initial_size, unbuffered)) {
    return false;
  }
  WriteSteps::fit_buffers_to_file(*this);
  if (current_ == nullptr) {
    static_cast<void>(set_buffer(kBufferBytesDefault, true));
  }
  WriteSteps::empty_buffer(*this);
  return true;
}

bool WriteSteps::open(fWriteBuffer& writer, const char* name, long long initial_size,
                      bool unbuffered) {
  writer.errors_ = 0;
  const bool bypass = unbuffered && buffer_configuration().unbuffered_writing;
  writer.file_ = io_create64(name, !bypass, initial_size);
  if (writer.file_ == io_invalid_handle()) {
    return false;
  }
  writer.is_unbuffered_ = bypass;
  writer.alignment_ =
      static_cast<unsigned long long>(bypass ? drive_sector_size(name) : mem_pagesize());
  std::strncpy(writer.name_, name, sizeof(writer.name_) - 1);  // And zeroes over a longer one.
  writer.opened_ = true;
  writer.buffer_file_position_ = writer.data_end_ = 0;
  writer.buffer_ticket_ = writer.direct_ticket_ = -1;
  writer.writes_ = 0;
  return true;
}

// Transfers need buffers of whole units. Those that were made for another file's alignment, or
// configured since, are made anew; what collected in memory before gives way to buffers of its own.
void WriteSteps::fit_buffers_to_file(fWriteBuffer& writer) {
  const auto size = static_cast<unsigned long long>(writer.buffer_size_);
  const bool is_placed =
      reinterpret_cast<std::uintptr_t>(writer.current_) %
          std::min(writer.alignment_, static_cast<unsigned long long>(mem_pagesize())) ==
      0;
  if (writer.memory_block_ == nullptr && is_placed && size % writer.alignment_ == 0) {
    return;
  }
  const bool is_double = writer.spare_ != nullptr;
  const unsigned long long whole = rounded_up(size, writer.alignment_);
  const bool is_own = writer.allocation_ != nullptr;
  writer.fWriteBuffer::reset_buffers();
  if (is_own && whole <= kBufferBytesMax) {
    static_cast<void>(allocate_buffers(writer, static_cast<int>(whole), is_double));
  }
}

unsigned long long fWriteBuffer::write_file(const void* data, unsigned long long size,
                                            unsigned long long count) {
  return WriteSteps::write(*this, data, byte_count(size, count, 0));
}

unsigned long long WriteSteps::write(fWriteBuffer& writer, const void* data,
                                     unsigned long long length) {
  const auto* from = static_cast<const unsigned char*>(data);
  unsigned long long left = data != nullptr ? length : 0;
  unsigned long long taken = 0;
  for (;;) {
    const auto capacity = static_cast<unsigned long long>(writer.buffer_size_);
    const unsigned long long bytes = std::min(left, capacity - writer.offset_);
    if (bytes > 0) {
      collect(writer, from + taken, bytes);
      taken += bytes;
      left -= bytes;
    }
    const bool is_full = writer.offset_ == capacity;
    if (!is_full || !make_room(writer) || left == 0) {
      return taken;
    }
  }
}

// The system reads a large buffer when its beginning has left the caches already.
void WriteSteps::collect(fWriteBuffer& writer, const unsigned char* from,
                         unsigned long long bytes) {
  if (writer.buffer_size_ >= kLargeBufferBytes && bytes >= kLongRunBytes) {
    copy_past_caches(writer.cursor_, from, bytes);
  } else {
    std::memcpy(writer.cursor_, from, bytes);
  }
  writer.cursor_ += bytes;
  writer.offset_ += bytes;
  writer.used_ = std::max(writer.used_, writer.offset_);
}

// What finds no room is an error: numbers that are put have no other way to say so.
bool WriteSteps::make_room(fWriteBuffer& writer) {
  if (collects_in_memory(writer)) {
    const bool has_grown =
        grow_memory(writer, static_cast<unsigned long long>(writer.buffer_size_) + kGrowthBytes);
    writer.errors_ += has_grown ? 0 : 1;
    return has_grown;
  }
  if (writer.buffer_size_ == 0) {  // No buffer could be had.
    ++writer.errors_;
    return false;
  }
  write_full_buffer(writer);
  return true;
}

void WriteSteps::write_full_buffer(fWriteBuffer& writer) {
  const auto bytes = static_cast<unsigned long long>(writer.buffer_size_);
  if (writer.spare_ != nullptr) {
    collect_buffer(writer);
    if (!start_own_write(writer.buffer_write_, writer.file_, writer.current_,
                         writer.buffer_file_position_, bytes, &writer.buffer_ticket_)) {
      ++writer.errors_;
    }
  } else {
    write_and_wait(writer, bytes);
  }
  begin_next_buffer(writer);
}

void WriteSteps::begin_next_buffer(fWriteBuffer& writer) {
  ++writer.writes_;
  if (writer.spare_ != nullptr) {
    std::swap(writer.current_, writer.spare_);
  }
  writer.buffer_file_position_ += static_cast<unsigned long long>(writer.buffer_size_);
  writer.data_end_ = std::max(writer.data_end_, writer.buffer_file_position_);
  empty_buffer(writer);
}

// Starts the write of a first, partly filled buffer.
//
// Kept on purpose: it goes to the start of the file, wherever set_file_position() has moved the
// buffer. Required; whoever goes elsewhere flushes before.
bool WriteSteps::start_first_buffer(fWriteBuffer& writer) {
  const unsigned long long bytes = rounded_up(writer.used_, writer.alignment_);
  writer.data_end_ = std::max(writer.data_end_, writer.used_);
  ++writer.writes_;
  const bool started = start_own_write(writer.buffer_write_, writer.file_, writer.current_, 0,
                                       bytes, &writer.buffer_ticket_);
  if (!started) {
    ++writer.errors_;
  } else if (writer.spare_ != nullptr) {
    std::swap(writer.current_, writer.spare_);
  } else {
    collect_buffer(writer);  // The one buffer is needed again.
  }
  writer.buffer_file_position_ += bytes;
  empty_buffer(writer);
  return started;
}

unsigned long long fWriteBuffer::add_write_buffer(const void* buffer, unsigned long long size) {
  if (file_ == io_invalid_handle()) {
    return 0;
  }
  if (buffer_ticket_ == -1 && writes_ == 0 && used_ > 0) {
    static_cast<void>(WriteSteps::start_first_buffer(*this));
  }
  const unsigned long long bytes = rounded_up(size, alignment_);
  if (bytes != size) {
    msgwarn("fWriteBuffer: Write buffer not aligned");
  }
  WriteSteps::collect_direct(*this);
  ++writes_;
  if (!start_own_write(direct_write_, file_, buffer, buffer_file_position_, bytes,
                       &direct_ticket_)) {
    ++errors_;
    return 0;
  }
  data_end_ = std::max(data_end_, buffer_file_position_ + size);
  buffer_file_position_ += bytes;
  return size;
}

void fWriteBuffer::flush_buffers() {
  if (file_ == io_invalid_handle()) {
    return;
  }
  WriteSteps::collect_buffer(*this);
  WriteSteps::collect_direct(*this);
  if (used_ == 0) {
    return;
  }
  // Kept on purpose: whole units are written, whatever stands behind the data. After a step back
  // out of the buffer that overwrites up to a unit less one byte of what the file holds there;
  // hosts that patch a file rewrite whole units.
  const unsigned long long bytes = rounded_up(used_, alignment_);
  ++writes_;
  WriteSteps::write_and_wait(*this, bytes);
  data_end_ = std::max(data_end_, buffer_file_position_ + used_);
  buffer_file_position_ += bytes;
  WriteSteps::empty_buffer(*this);
}

int fWriteBuffer::close_file(bool force) {
  return WriteSteps::close(*this, force).result;
}

WriteSteps::Closed WriteSteps::close(fWriteBuffer& writer, bool force) {
  // Without memory for the lock two threads cannot close at once, but one must be able to.
  if (writer.mutex_ != nullptr) {
    mp_get_mutex(writer.mutex_);
  }
  Closed closed;
  if (writer.file_ == io_invalid_handle()) {
    closed.result = 1;
  } else if (!force && writer.buffer_ticket_ != -1 && writer.direct_ticket_ != -1) {
    closed.result = 0;
  } else if (!force && writer.buffer_ticket_ == -1 && writer.writes_ == 0 && writer.used_ > 0) {
    closed.result = start_first_buffer(writer) ? 1 : 0;
  } else {
    // Where the destructor comes here, its own class's is meant.
    writer.flush_buffers();  // NOLINT(clang-analyzer-optin.cplusplus.VirtualCall)
    closed.keeps_more = !finish_file(writer);
    writer.file_ = io_invalid_handle();
    writer.opened_ = false;
  }
  if (writer.mutex_ != nullptr) {
    mp_release_mutex(writer.mutex_);
  }
  return closed;
}

unsigned long long fWriteBuffer::get_file_position() {
  return buffer_file_position_ + offset_;
}

bool fWriteBuffer::is_file_position_inside_current_buffer(unsigned long long position) {
  return position >= buffer_file_position_ &&
         position < buffer_file_position_ + static_cast<unsigned long long>(buffer_size_);
}

bool fWriteBuffer::set_file_position(unsigned long long position) {
  if (is_file_position_inside_current_buffer(position)) {
    offset_ = position - buffer_file_position_;
    cursor_ = current_ + offset_;
    if (offset_ > used_) {
      WriteSteps::expect_gaps(*this);
    }
    return true;
  }
  flush_buffers();
  if (file_ != io_invalid_handle()) {
    WriteSteps::empty_buffer(
        *this);  // Flushing leaves the cursor alone when nothing was collected.
  }
  // Kept on purpose: the bytes from the unit's start to the position are the caller's to write, as
  // only whole units can be.
  buffer_file_position_ = position / alignment_ * alignment_;
  return true;
}

int fWriteBuffer::error() {
  return errors_;
}

// Kept on purpose: the room is measured from the high-water mark, not from the cursor, and must
// exceed the number by one; near the end of the buffer the bytes go through write_file() instead.
// A cursor that set_file_position() moved past the mark may have less room than that, hence the
// second test.
template <typename Number>
void WriteSteps::put(fWriteBuffer& writer, Number value) {
  unsigned char bytes[sizeof(Number)];
  std::memcpy(bytes, &value, sizeof(value));
  if (writer.swap_) {
    std::reverse(bytes, bytes + sizeof(bytes));
  }
  const auto capacity = static_cast<unsigned long long>(writer.buffer_size_);
  if (capacity - writer.used_ < sizeof(bytes) + 1 || capacity - writer.offset_ < sizeof(bytes)) {
    writer.write_file(bytes, sizeof(bytes), 1);
    return;
  }
  std::memcpy(writer.cursor_, bytes, sizeof(bytes));
  writer.cursor_ += sizeof(bytes);
  writer.offset_ += sizeof(bytes);
  writer.used_ = std::max(writer.used_, writer.offset_);
}

void fWriteBuffer::put_byte(unsigned char value) {
  WriteSteps::put(*this, value);
}

void fWriteBuffer::put_short(short value) {
  WriteSteps::put(*this, value);
}

void fWriteBuffer::put_int(int value) {
  WriteSteps::put(*this, value);
}

void fWriteBuffer::put_float(float value) {
  WriteSteps::put(*this, value);
}
