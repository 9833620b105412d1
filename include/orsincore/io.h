/// @file
/// Large files: positioned asynchronous transfers, and the buffered reader and writer over them.
///
/// Offsets and sizes are bytes. Handles opened unbuffered need offsets, sizes and addresses that are
/// multiples of the drive's sector size.
#pragma once

#include "orsincore/base.h"

// ---------------------------------------------------------------------------------------------
// Positioned transfers
//
// There is no file pointer: each transfer says where. Asynchronous ones take one of 96 slots that all
// files of the process share and are named by a ticket until they are completed. The 97th waits for
// the oldest, whose ticket then counts as completed without its result having been looked at.
// Any thread.
// ---------------------------------------------------------------------------------------------

/// The handle that means "no file".
inline void* io_invalid_handle() {
  return reinterpret_cast<void*>(static_cast<std::intptr_t>(-1));
}

/// Opens an existing file.
///
/// @param mode        Bit 1: read and write; else bit 0: write; else read. Writing writes through.
/// @param unbuffered  Bypasses the system's cache.
/// @param share       Others may read meanwhile; else nobody may open it.
/// @param overlapped  Transfers run asynchronously.
/// @return The caller's, until io_close64(); the invalid handle after an error line.
/// Windows: CreateFileW.
ORSIN_API void* io_open64(const char* name, int mode, bool unbuffered, bool share, bool overlapped);

/// Opens a file for asynchronous writing, creating it if it is missing. Nobody may share it.
///
/// @param write_only    False: also for reading, unbuffered and writing through.
/// @param initial_size  From 1 on: the file is cut or extended to this size and zeroed; trouble with
///                      that is a warning.
/// @return The caller's, until io_close64(); the invalid handle, after an error line unless the
///         directory does not exist.
ORSIN_API void* io_create64(const char* name, bool write_only, long long initial_size);

/// Cancels what is in flight on the handle and closes it.
ORSIN_API void io_close64(void* file);

/// Starts a transfer. The buffer belongs to it until it is completed.
///
/// @param size    At most 0xFFFFFFFF.
/// @param ticket  Receives the transfer's ticket, never 0; may be null.
/// @return False, after an error line, when it could not start or failed at once; reading at or
///         beyond the end of the file fails.
ORSIN_API bool io_read_async64(void* file, void* buffer, long long offset, unsigned long long size,
                               int* ticket);
ORSIN_API bool io_write_async64(void* file, const void* buffer, long long offset,
                                unsigned long long size, int* ticket);

/// Collects a transfer.
///
/// @param wait  Waits until it has ended.
/// @return 1 when it has ended (also for a ticket that is not known any more; a short count counts
///         as success), 0 when it still runs, -1 after an error line when it failed.
ORSIN_API int io_complete64(void* file, int* ticket, bool wait);

/// Starts a transfer and waits for it. False when it failed.
ORSIN_API bool io_read64(void* file, void* buffer, long long offset, unsigned long long size);
ORSIN_API bool io_write64(void* file, const void* buffer, long long offset,
                          unsigned long long size);

/// Waits for every transfer of the process; failures are error lines.
///
/// @param file  Kept on purpose: ignored, all files are flushed.
ORSIN_API void io_flush64(void* file);

/// The size of a file; of the volume when the name begins with "\\.\" as in "\\.\C:". -1 on failure.
ORSIN_API long long io_get_filesize64(void* file, const char* name);

/// Cuts or extends a file. Windows: SetEndOfFile.
ORSIN_API bool io_set_filesize64(void* file, unsigned long long size);

/// The bytes asked for since the last call.
ORSIN_API void io_get_counters(unsigned long long& read, unsigned long long& written);
ORSIN_API void io_inc_counters(unsigned long long read, unsigned long long written);

// ---------------------------------------------------------------------------------------------
// Buffered reading
// ---------------------------------------------------------------------------------------------

/// Sets the defaults of all readers and writers opened later.
///
/// @param size  The default alignment of writers and of drives without a letter; 8192 below 1.
/// The flags switch features off: unbuffered writing, unbuffered reading, overlapped handles.
ORSIN_API void rwBufferConfigure(int size, bool no_unbuffered_writing, bool no_unbuffered_reading,
                                 bool no_overlapped);
ORSIN_API void rwBufferConfigGet(int& size, bool& no_unbuffered_writing,
                                 bool& no_unbuffered_reading, bool& no_overlapped);

/// Reads a file front to back through a ring of up to eight buffers, of which all but the one in use
/// are being filled; or reads a caller's memory in the same way.
///
/// One thread at a time. A failed read ends the file: the cursor is null and reads return 0 bytes.
class ORSIN_API fReadBuffer {
 public:
  fReadBuffer();

  /// @param file  The reader closes nothing that it did not open. io_invalid_handle() for none.
  explicit fReadBuffer(void* file);

  /// A copy takes the configuration only: buffers, file and position stay with the original.
  fReadBuffer(const fReadBuffer& other);
  fReadBuffer& operator=(const fReadBuffer& other);
  virtual ~fReadBuffer();

  /// Opens a file for reading, closing the one before.
  ///
  /// @param share       Others may read it meanwhile.
  /// @param preload     Starts reading the first buffer at once.
  /// @param unbuffered  Bypasses the system's cache, where the configuration allows it.
  /// @return False when it cannot be opened; get_errors() then tells, too.
  bool open_file(const char* name, bool share, bool preload, bool unbuffered);
  void close_file();

  /// @param count  At most 8. Ignored altogether when buffers exist and their count differs.
  void cfg_buffers(int count, unsigned long long buffer_size, unsigned long long first_read_size);

  /// Reads from the caller's memory, which must outlive the reading.
  void set_memory_buffer(void* memory, unsigned long long size);

  /// Allocates the ring. False after an error line; the buffers that could be had remain.
  bool ensure_buffers();

  /// Makes the next block current. Returns its bytes; 0 at the end.
  unsigned long long getNextBlock();

  /// Copies size x count bytes, or what is left. Returns the bytes.
  unsigned long long read_file(void* destination, unsigned long long size,
                               unsigned long long count);

  /// Steps over size x count bytes, or what is left. Returns the bytes.
  unsigned long long skip_file(unsigned long long size, unsigned long long count);

  /// Reads at an offset: from the current block what it holds, the rest straight into the caller's
  /// memory, in sector-sized units.
  ///
  /// @param capacity  Bytes at destination: room for the rounding.
  /// @return The bytes, rounded up to the alignment when the file was read; less when a read failed,
  ///         0 when they do not fit or the offset is not aligned.
  unsigned long long read_raw_bytes(void* destination, unsigned long long offset,
                                    unsigned long long size, unsigned long long capacity);

  /// Goes to an offset; the next reads return the bytes from there. Offsets beyond the end read
  /// nothing.
  void set_position(unsigned long long offset);

  /// Large raw reads are split into pieces of this size that run together; below 65537 they are not.
  /// Set for all readers.
  static void set_xfer_breakvalue(unsigned long long bytes);

  /// Numbers in the order of the file: 255, or all bits set, at the end of the file.
  unsigned char read_byte() {
    return cursor_ != block_end_ ? *cursor_++ : read_byte_from_next_block();
  }
  char read_char() { return static_cast<char>(read_byte()); }
  unsigned short read_word() { return read_number<unsigned short>(); }
  short read_short() { return static_cast<short>(read_number<unsigned short>()); }
  int read_int() { return static_cast<int>(read_number<unsigned int>()); }
  unsigned int read_uint() { return read_number<unsigned int>(); }
  float read_float() {
    const unsigned int bits = read_number<unsigned int>();
    float value;
    std::memcpy(&value, &bits, sizeof(value));
    return value;
  }

  /// The cursor, and the bytes left in the current block; fetches a block when it is used up. Null
  /// at the end.
  unsigned char* get_bufptr(unsigned long long* available);

  /// Byte orders: 1 is the machine's own; any other swaps.
  void set_endian(unsigned char order) { swap_ = order != host_order_; }
  [[nodiscard]] unsigned char get_endian() const { return swap_ ? 0 : host_order_; }
  [[nodiscard]] bool swap_endian() const { return swap_; }

  void enable_read_ahead() { read_ahead_ = true; }
  void disable_read_ahead() { read_ahead_ = false; }
  [[nodiscard]] unsigned long long get_alignment() const { return alignment_; }
  [[nodiscard]] bool get_errors() const { return open_failed_; }
  [[nodiscard]] unsigned long long get_file_size() const { return file_size_; }
  [[nodiscard]] unsigned char* get_buffer() const { return slots_[current_].buffer; }
  [[nodiscard]] const char* name() const { return name_; }

 private:
  friend struct read_buffer_layout;

  struct Slot {
    unsigned char* buffer;
    int ticket;                  // -1: none.
    unsigned long long pending;  // Bytes expected of the read in flight; 0: empty.
  };

  template <typename Number>
  Number read_number() {
    Number value = 0;
    if (static_cast<std::size_t>(block_end_ - cursor_) >= sizeof(Number)) {
      std::memcpy(&value, cursor_, sizeof(value));
      cursor_ += sizeof(value);
    } else {
      unsigned char bytes[sizeof(Number)];
      for (unsigned char& each : bytes) {
        each = read_byte();
      }
      std::memcpy(&value, bytes, sizeof(value));
    }
    return swap_ ? swapped(value) : value;
  }

  static unsigned short swapped(unsigned short value) {
    return static_cast<unsigned short>(value >> 8 | value << 8);
  }
  static unsigned int swapped(unsigned int value) {
    return value >> 24 | (value >> 8 & 0xFF00) | (value << 8 & 0xFF0000) | value << 24;
  }

  unsigned char read_byte_from_next_block();
  void free_buffers();
  void end_file();
  void drop_reads();
  void take_configuration(const fReadBuffer& other);
  unsigned long long request_size(unsigned long long offset, unsigned long long wanted,
                                  unsigned long long& expected) const;
  bool issue_read(int slot);
  unsigned long long complete_slot(int slot);
  unsigned long long fetch_in_flight();
  bool issue_first_reads();
  unsigned long long fetch_now();
  void read_ahead();
  unsigned long long read_split(unsigned char* destination, unsigned long long offset,
                                unsigned long long size);

  char name_[260];
  void* file_;
  bool opened_;
  unsigned long long position_;           // Just after the current block.
  unsigned long long read_ahead_offset_;  // Where the next read starts.
  unsigned long long file_size_;          // 0: empty or unknown.
  unsigned long long block_start_;
  bool read_ahead_;
  bool open_failed_;
  unsigned long long alignment_;
  unsigned long long first_read_size_;
  unsigned long long buffer_size_;
  Slot slots_[8];
  int buffer_count_;
  int current_;
  int next_;
  bool owns_buffers_;
  unsigned long long skip_;  // Bytes to step over at the start of the next block.
  unsigned long long allocated_size_;
  unsigned long long block_bytes_;
  unsigned char* cursor_;
  bool swap_;
  unsigned char host_order_;
  unsigned char* block_end_;  // Beside the cursor, so that reading a byte is one comparison.
};

// ---------------------------------------------------------------------------------------------
// Buffered writing
// ---------------------------------------------------------------------------------------------

/// Collects writes in large aligned buffers and writes whole buffers, one asynchronously while the
/// other fills; closing cuts the file to its data. Without a file it collects in memory.
///
/// One thread at a time. Failed writes are counted, not reported one by one: look at error() after
/// closing.
class ORSIN_API fWriteBuffer {
 public:
  /// @param file           A handle to write to, or io_invalid_handle(). Stays the caller's.
  /// @param double_buffer  With a file: allocates two buffers of 1 MiB at once.
  fWriteBuffer(void* file, bool double_buffer);
  fWriteBuffer(const fWriteBuffer&) = delete;
  fWriteBuffer& operator=(const fWriteBuffer&) = delete;
  virtual ~fWriteBuffer();

  /// Replaces the buffers; what they hold is written first. False after a warning when memory is
  /// short. Sizes below the alignment are raised to it.
  virtual bool set_buffer(int size, bool double_buffer);
  virtual unsigned char* get_current_buffer();

  /// Has a buffer of at least this size; what is collected stays. False when memory is short.
  virtual bool ensure_minimum_buffer_size(int size);

  /// Writes what is collected and waits for it.
  virtual void flush_buffers();

  /// Frees the buffers, with whatever they hold.
  virtual void reset_buffers();

  /// Collects in the caller's memory; when that is full the library's own takes over.
  virtual void set_memory_buffer(void* memory, int size);
  virtual unsigned long long get_buffer_used();
  virtual bool data_pending();

  /// Creates a file, closing the one before; if that had errors it is deleted, after an error line.
  ///
  /// @param initial_size  Reserves space; see io_create64().
  /// @param unbuffered    Bypasses the system's cache, where the configuration allows it.
  virtual bool open_file(const char* name, long long initial_size, bool unbuffered);

  /// Writes what is collected, cuts the file to its data and closes it.
  ///
  /// @param force  False: only starts the first write if that is all there is, or does nothing while
  ///               two writes are in flight.
  /// @return 1 when closed; else whether a write was started, and the file stays open.
  virtual int close_file(bool force);

  /// Adds size x count bytes. Returns the bytes taken, all but when memory runs out.
  virtual unsigned long long write_file(const void* data, unsigned long long size,
                                        unsigned long long count);

  /// Writes the caller's aligned memory straight, rounded up to the alignment; it must stay until
  /// the next flush. Returns size, or 0 when the write could not start.
  virtual unsigned long long add_write_buffer(const void* buffer, unsigned long long size);
  virtual unsigned long long get_file_position();

  /// Inside the current buffer exact; elsewhere what is collected is written and the position is
  /// rounded down to the alignment. Returns true.
  virtual bool set_file_position(unsigned long long position);
  virtual bool is_file_position_inside_current_buffer(unsigned long long position);

  /// The number of failed writes.
  virtual int error();

  /// Numbers in the machine's byte order, or swapped.
  void put_byte(unsigned char value) { put(value); }
  void put_short(short value) { put(static_cast<unsigned short>(value)); }
  void put_int(int value) { put(static_cast<unsigned int>(value)); }
  void put_float(float value);

  /// Byte orders: 1 is the machine's own; any other swaps.
  void set_endian(unsigned char order) { swap_ = order != host_order_; }
  [[nodiscard]] const char* name() const { return name_; }

 protected:
  friend struct write_buffer_layout;

  template <typename Number>
  void put(Number value);
  bool allocate_buffers(int size, bool double_buffer);
  bool grow_memory(unsigned long long size);
  void collect_ticket(int& ticket);
  void write_full_buffer();
  bool start_first_buffer();
  void empty_buffer();
  bool set_final_size();

  char name_[260];
  void* file_;
  bool opened_;
  unsigned long long buffer_file_position_;  // Where the current buffer goes.
  unsigned long long data_end_;              // The final size.
  int buffer_ticket_;
  int direct_ticket_;
  int errors_;
  int writes_;
  unsigned char* current_;
  unsigned char* spare_;
  unsigned char* allocation_;  // Holds both.
  int buffer_size_;
  unsigned char* memory_block_;
  unsigned char* cursor_;
  unsigned long long used_;    // High-water mark in the current buffer.
  unsigned long long offset_;  // The cursor's distance from its start.
  unsigned long long alignment_;
  unsigned char host_order_;
  bool swap_;
  __mutex_str* mutex_;
};

/// The writer's interface over a block of memory; no file is ever touched.
class ORSIN_API fMemBuffer : public fWriteBuffer {
 public:
  fMemBuffer();
  ~fMemBuffer() override;

  /// Allocates a block of this size that grows as needed; double_buffer is ignored.
  bool set_buffer(int size, bool double_buffer) override;
  unsigned char* get_current_buffer() override;
  bool ensure_minimum_buffer_size(int size) override;
  void flush_buffers() override;
  void reset_buffers() override;

  /// Writes into the caller's memory, which never grows: a write that does not fit is cut short.
  void set_memory_buffer(void* memory, int size) override;
  unsigned long long get_buffer_used() override;
  bool data_pending() override;
  bool open_file(const char* name, long long initial_size, bool unbuffered) override;
  int close_file(bool force) override;
  unsigned long long write_file(const void* data, unsigned long long size,
                                unsigned long long count) override;
  unsigned long long add_write_buffer(const void* buffer, unsigned long long size) override;
  unsigned long long get_file_position() override;

  /// False beyond what was written.
  bool set_file_position(unsigned long long position) override;

 private:
  bool grow(unsigned long long size);

  unsigned char* target_;
  unsigned long long target_size_;
  unsigned long long target_used_;
  unsigned char* target_cursor_;
  bool growable_;
};
