/// @file
/// Large files: positioned asynchronous transfers, and the buffered reader and writer over them.
///
/// Offsets and sizes are bytes. Handles opened unbuffered need offsets, sizes and addresses that are
/// multiples of the drive's sector size.
///
/// A null name opens nothing, null memory holds nothing and takes nothing: such calls return what
/// they return at the end of the data, or for a file that is not there.
#pragma once

#include "orsincore/base.h"

namespace orsin {
struct ReadSteps;  // The library's own: what the classes below are made of.
struct WriteSteps;
struct MemorySteps;

/// The library's own: a transfer of a stream, and what became of it.
struct OwnTransfer {
  int slot = 0;
  bool is_over = true;     // What follows is known; else it runs, or waits to be collected.
  unsigned int error = 0;  // The system's; 0: none.
  unsigned int bytes = 0;  // Transferred.
  unsigned long long size = 0;
};
}  // namespace orsin

// ---------------------------------------------------------------------------------------------
// Positioned transfers
//
// There is no file pointer: each transfer says where. Asynchronous ones take one of 96 slots that
// all files of the process share and are named by a ticket until they are completed. The 97th waits
// for the oldest, with the warning "IO64: Slot timeout..." for each second that passes; the
// oldest's ticket then counts as completed without its result having been looked at.
//
// Any thread may call any of these, also on one handle at once; only a handle's last call must be
// its io_close64(). Names are UTF-8 of at most 259 bytes; a longer one is refused with the system's
// "too long". Error lines end with the system's own text where the system refused.
// ---------------------------------------------------------------------------------------------

/// The handle that means "no file": -1, the system's own INVALID_HANDLE_VALUE.
inline void* io_invalid_handle() {
  return reinterpret_cast<void*>(static_cast<std::intptr_t>(-1));
}

/// Opens an existing file.
///
/// @param mode        Bit 1: read and write; else bit 0: write; else read. Writing writes through
///                    to the device.
/// @param unbuffered  Bypasses the system's cache: offsets, sizes and addresses of transfers must
///                    be multiples of the drive's sector size.
/// @param share       Others may read meanwhile; else nobody may open it.
/// @param overlapped  Transfers run asynchronously; else each start waits until its transfer ends.
/// @return The handle, the caller's until io_close64(); the invalid handle after the error line
///         "IO open failed '<name>' (<reason>)".
/// Windows: CreateFileW.
ORSIN_API void* io_open64(const char* name, int mode, bool unbuffered, bool share, bool overlapped);

/// Opens a file for asynchronous writing, creating it if it is missing; what an existing one holds
/// stays. Nobody may share it.
///
/// @param write_only    True: for writing, through the cache. False: also for reading, unbuffered
///                      and written through.
/// @param initial_size  Bytes. From 1 on, the file is emptied, extended to this size and zeroed;
///                      where that fails, a warning says so and the file is open all the same. On
///                      Windows zeroing may take as long as writing so many bytes.
/// @return The handle, the caller's until io_close64(); the invalid handle after the error line
///         "IO Create File", or in silence when the directory does not exist.
/// Windows: CreateFileW, FileEndOfFileInfo, FSCTL_SET_ZERO_DATA.
ORSIN_API void* io_create64(const char* name, bool write_only, long long initial_size);

/// Cancels what is in flight on the handle, whichever thread started it, and closes it. Tickets of
/// its transfers count as completed. The invalid handle is ignored.
///
/// Windows: CancelIoEx, CloseHandle.
ORSIN_API void io_close64(void* file);

/// Starts reading. The buffer belongs to the transfer until it is completed, flushed or closed.
///
/// The thread that starts a transfer stays until it has ended: the system cancels what a thread that
/// ends has running, which then fails.
///
/// @param offset  Bytes from the start of the file.
/// @param size    Bytes; passed on as a 32-bit count. Counted as read from now on.
/// @param ticket  Receives the transfer's ticket, which is positive; may be null. Not changed when
///                the start fails.
/// @return False, after an error line, when the transfer could not start or failed at once. Reading
///         at or beyond the end of the file fails ("IO read beyond EOF.."); reading across it is a
///         short read, which succeeds.
/// Windows: ReadFile with an OVERLAPPED.
ORSIN_API bool io_read_async64(void* file, void* buffer, long long offset, unsigned long long size,
                               int* ticket);

/// Starts writing; as io_read_async64(), but a short write at once fails, too. Windows: WriteFile.
ORSIN_API bool io_write_async64(void* file, const void* buffer, long long offset,
                                unsigned long long size, int* ticket);

/// Collects a transfer.
///
/// @param file    The handle that the transfer was started on.
/// @param ticket  What the start gave; not changed. A transfer is collected once.
/// @param wait    Waits until it has ended; completion routines of the thread may run meanwhile.
/// @return 1 when it has ended (also for a ticket that is not known any more; a short count counts
///         as success), 0 when it still runs, -1 after an "IO completion error" line when it
///         failed. Windows: WaitForSingleObjectEx, GetOverlappedResult.
ORSIN_API int io_complete64(void* file, int* ticket, bool wait);

/// Starts a transfer and waits for it. False, after an error line, when it failed.
ORSIN_API bool io_read64(void* file, void* buffer, long long offset, unsigned long long size);
/// The same for a write.
ORSIN_API bool io_write64(void* file, const void* buffer, long long offset,
                          unsigned long long size);

/// Waits for every transfer of the process and forgets all tickets; no transfer starts meanwhile.
/// One that failed or fell short is an "IO flush error" line.
///
/// @param file  Kept on purpose: ignored, all files are flushed.
ORSIN_API void io_flush64(void* file);

/// The size of a file in bytes, or of a volume.
///
/// @param file  Not looked at for a volume.
/// @param name  May be null. One that begins with `\\.\`, as in `\\.\C:`, asks for the capacity of
///              that volume.
/// @return -1, in silence, for the invalid handle and when the system does not tell.
/// Windows: GetFileSizeEx, GetDiskFreeSpaceA.
ORSIN_API long long io_get_filesize64(void* file, const char* name);

/// Cuts or extends a file to so many bytes. False, in silence, when the system refuses; then the
/// last error says why. Windows: SetFileInformationByHandle, FileEndOfFileInfo.
ORSIN_API bool io_set_filesize64(void* file, unsigned long long size);

/// The bytes that transfers were started for since the last call, also those that failed.
ORSIN_API void io_get_counters(unsigned long long& read, unsigned long long& written);

/// Adds to the counters, for bytes that went other ways.
ORSIN_API void io_inc_counters(unsigned long long read, unsigned long long written);

// ---------------------------------------------------------------------------------------------
// Buffered reading
// ---------------------------------------------------------------------------------------------

/// Sets the defaults of all readers and writers opened later. The flags switch features off, which
/// are all on at first. Not while another thread opens files.
///
/// @param size                   Bytes: the alignment of new writers, and the sector size of drives
///                               that do not tell theirs. 8192 at first, and for anything below 1.
/// @param no_unbuffered_writing  Writers go through the system's cache, whatever open_file() says.
/// @param no_unbuffered_reading  Readers, too.
/// @param no_overlapped          Readers open synchronous handles.
ORSIN_API void rwBufferConfigure(int size, bool no_unbuffered_writing, bool no_unbuffered_reading,
                                 bool no_overlapped);

/// The defaults as rwBufferConfigure() takes them.
ORSIN_API void rwBufferConfigGet(int& size, bool& no_unbuffered_writing,
                                 bool& no_unbuffered_reading, bool& no_overlapped);

/// Reads a file front to back through a ring of up to eight buffers, of which all but the one in
/// use are being filled; or reads a caller's memory in the same way.
///
/// One thread at a time. A failed read, which the transfers log, ends the file: the cursor is null
/// and reads return 0 bytes, until set_position() or open_file(). So does the end of a file that was
/// cut since it was opened; either leaves the error line "FileBuffer: '<name>' ended at <bytes> of
/// <bytes> bytes". Bytes never come from another place than the position says. The layout and the one
/// virtual function, the destructor, are fixed: plug-ins derive from it.
class ORSIN_API fReadBuffer {
 public:
  /// Has nothing to read until open_file() or set_memory_buffer().
  fReadBuffer();

  /// Reads a handle that stays its owner's; get_errors() is true when its file is empty.
  ///
  /// @param file  Overlapped, with nothing but this reader's transfers in flight.
  ///              io_invalid_handle() for none.
  explicit fReadBuffer(void* file);

  /// A copy takes the configuration only: buffers, file and position stay with the original.
  fReadBuffer(const fReadBuffer& other);
  fReadBuffer& operator=(const fReadBuffer& other);  ///< The same; what was open is closed first.

  /// Waits for what is in flight, closes the file that open_file() opened and frees the buffers.
  virtual ~fReadBuffer();

  /// Opens a file for reading, closing the one before.
  ///
  /// @param name        UTF-8, at most 259 bytes.
  /// @param share       Others may read it meanwhile; else nobody may open it.
  /// @param preload     Allocates the buffers and starts reading the first one at once.
  /// @param unbuffered  Bypasses the system's cache, where the configuration allows it; alignment
  ///                    is then the drive's sector size, else the page size.
  /// @return False, after an error line, when it cannot be opened; get_errors() then tells, too.
  ///         True also when preloading could not start: the first read tries again.
  bool open_file(const char* name, bool share, bool preload, bool unbuffered);

  /// Waits for what is in flight and closes the file; the buffers stay.
  void close_file();

  /// Shapes the ring; one buffer of 1 MiB at first. Larger buffers of the same count replace
  /// existing ones at the next block.
  ///
  /// @param count            1 to 8, else the nearer of the two. Ignored altogether when buffers
  ///                         exist and their count differs.
  /// @param buffer_size      Bytes; rounded up to the alignment of the file that is read.
  /// @param first_read_size  Bytes of the first read, rounded up as well. The same as buffer_size:
  ///                         all buffers are filled at once at the start of the file.
  void cfg_buffers(int count, unsigned long long buffer_size, unsigned long long first_read_size);

  /// Reads from the caller's memory, which must outlive the reading; the file before is closed.
  void set_memory_buffer(void* memory, unsigned long long size);

  /// Allocates the ring, which the first read does, too. False after the error line "FileBuffer:
  /// Failed to allocate buffer space (<KiB>Kb/<index>)"; the count is then what could be had.
  bool ensure_buffers();

  /// Makes the next block current, whatever is left of this one, and reads ahead behind it. Returns
  /// its bytes; 0 at the end and after a failure.
  unsigned long long getNextBlock();

  /// Copies size x count bytes, or what is left; none when the product has more than 64 bits.
  /// Returns the bytes.
  unsigned long long read_file(void* destination, unsigned long long size,
                               unsigned long long count);

  /// Steps over size x count bytes, or what is left. Returns the bytes.
  unsigned long long skip_file(unsigned long long size, unsigned long long count);

  /// Reads at an offset: from the current block what it holds, the rest straight into the caller's
  /// memory, in whole units of the alignment. The position of the other reads does not move.
  ///
  /// @param destination  Aligned, for an unbuffered file.
  /// @param offset       Bytes from the start of the file; aligned unless it lies in the block.
  /// @param size         Bytes.
  /// @param capacity     Bytes at destination: room for the rounding. Kept on purpose: not looked
  ///                     at when the block holds all of it.
  /// @return The bytes, rounded up to the alignment when the file was read, also across its end;
  ///         only those of the block when the read failed or could not be aligned; 0 when they do
  ///         not fit.
  unsigned long long read_raw_bytes(void* destination, unsigned long long offset,
                                    unsigned long long size, unsigned long long capacity);

  /// Goes to an offset; the next reads return the bytes from there. Inside the current block this
  /// is only a step, elsewhere what was read ahead is dropped. Offsets beyond the end read nothing.
  void set_position(unsigned long long offset);

  /// Raw reads of more than twice this size are split into pieces of it, rounded down to the
  /// alignment on unbuffered files, ten of which run together, of one reader at a time; below 65537 bytes, as at first,
  /// they are not. For all readers.
  static void set_xfer_breakvalue(unsigned long long bytes);

  /// Numbers one after the other, in the byte order of set_endian(). All bits are set at the end of
  /// the file, also in a number that the end cuts off.
  unsigned char read_byte() {
    return cursor_ != block_end_ ? *cursor_++ : read_byte_from_next_block();
  }
  /// As read_byte(), signed.
  char read_char() { return static_cast<char>(read_byte()); }
  /// Two bytes.
  unsigned short read_word() { return read_number<unsigned short>(); }
  /// Two bytes, signed.
  short read_short() { return static_cast<short>(read_number<unsigned short>()); }
  /// Four bytes, signed.
  int read_int() { return static_cast<int>(read_number<unsigned int>()); }
  /// Four bytes.
  unsigned int read_uint() { return read_number<unsigned int>(); }
  /// Four bytes as an IEEE 754 number.
  float read_float() {
    const unsigned int bits = read_number<unsigned int>();
    float value;
    std::memcpy(&value, &bits, sizeof(value));
    return value;
  }

  /// The cursor, and the bytes left in the current block; fetches a block when it is used up. Null
  /// and 0 at the end; `available` may be null. Valid until the next call; skip_file() steps over
  /// what was used.
  unsigned char* get_bufptr(unsigned long long* available);

  /// Byte orders: 1 is the machine's own; any other swaps.
  void set_endian(unsigned char order) { swap_ = order != host_order_; }
  /// 1 for the machine's own byte order, else 0.
  [[nodiscard]] unsigned char get_endian() const { return swap_ ? 0 : host_order_; }
  /// Whether numbers are turned round.
  [[nodiscard]] bool swap_endian() const { return swap_; }

  /// Reading ahead keeps all buffers but the current one filled; on at first.
  void enable_read_ahead() { read_ahead_ = true; }
  /// From now on a buffer is read when it is needed.
  void disable_read_ahead() { read_ahead_ = false; }

  /// Bytes: what offsets and sizes of raw reads are rounded to.
  [[nodiscard]] unsigned long long get_alignment() const { return alignment_; }

  /// Whether the last open failed.
  [[nodiscard]] bool get_errors() const { return open_failed_; }

  /// Bytes, as of the opening; 0 also where the system does not tell: such a file is read block by
  /// block, as far as there is something.
  [[nodiscard]] unsigned long long get_file_size() const { return file_size_; }

  /// The buffer being consumed; null before there is one.
  [[nodiscard]] unsigned char* get_buffer() const { return slots_[current_].buffer; }

  /// The name last opened.
  [[nodiscard]] const char* name() const { return name_; }

 private:
  friend struct orsin::ReadSteps;

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
    } else if (!read_across_blocks(&value, sizeof(value))) {
      return static_cast<Number>(-1);
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
  bool read_across_blocks(void* number, std::size_t size);

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
  unsigned char* block_end_;     // Beside the cursor, so that reading a byte is one comparison.
  orsin::OwnTransfer reads_[8];  // Of the slots.
  bool size_is_unknown_;
  bool is_unbuffered_;
  bool is_in_one_piece_;  // The first slot's buffer holds the others'.
  int blocks_kept_;  // Not read over: the current block, and those before it that a copy works on.
};

// ---------------------------------------------------------------------------------------------
// Buffered writing
// ---------------------------------------------------------------------------------------------

/// Collects writes in large aligned buffers and writes whole buffers, one asynchronously while the
/// other fills; closing cuts the file to its data. Without a file it collects in memory, which
/// grows.
///
/// One thread at a time. Failed writes are logged by the transfers and counted, not reported one by
/// one: look at error() after closing. The layout and the order of the virtual functions are fixed:
/// plug-ins derive from it and call through the table.
class ORSIN_API fWriteBuffer {
 public:
  /// @param file           A handle from io_create64() to write to, or io_invalid_handle(). Stays
  ///                       its owner's, but closing cuts its file to what was written.
  /// @param double_buffer  With a file: allocates two buffers of 1 MiB at once. The warning "WRITE
  ///                       BUFFER: Allocation failed (size = <bytes>)" when memory is short.
  fWriteBuffer(void* file, bool double_buffer);
  fWriteBuffer(const fWriteBuffer&) = delete;
  fWriteBuffer& operator=(const fWriteBuffer&) = delete;

  /// Closes the file as close_file(true) does and frees the buffers.
  virtual ~fWriteBuffer();

  /// Replaces the buffers, unless they are of this shape already; what they hold is written first.
  ///
  /// @param size           Bytes of each; raised to the alignment. With an unbuffered file it must
  ///                       be a multiple of it.
  /// @param double_buffer  Two of them, so that one fills while the other is written.
  /// @return False, after the warning "WRITE BUFFER: Allocation failed (size = <bytes>)", when
  ///         memory is short: then there is no buffer, and write_file() takes nothing.
  virtual bool set_buffer(int size, bool double_buffer);

  /// The buffer being filled, from its start; null when there is none. Callers may fill it and step
  /// over that with set_file_position(); what they do not fill is zero.
  virtual unsigned char* get_current_buffer();

  /// Has a buffer of at least so many bytes, rounded up to the alignment of a file; what lies up to
  /// the position stays, in other memory. False when
  /// memory is short: then everything is as before.
  virtual bool ensure_minimum_buffer_size(int size);

  /// Waits for what is in flight and writes what is collected, rounded up to the alignment. The
  /// position is then the end of that unit. Nothing without a file.
  ///
  /// Kept on purpose: the rounding also overwrites what a file holds behind a patch, up to the end
  /// of its unit.
  virtual void flush_buffers();

  /// Frees the buffers, with whatever they hold.
  virtual void reset_buffers();

  /// Collects in the caller's memory, which must outlive the writing; what was collected is written
  /// first. When it is full, the library's own memory takes over, with a copy of it.
  virtual void set_memory_buffer(void* memory, int size);

  /// Bytes in the current buffer: the highest position ever written to.
  virtual unsigned long long get_buffer_used();

  /// Whether something is collected or in flight.
  virtual bool data_pending();

  /// Creates a file, or opens an existing one to write over it, closing the one before; if that had
  /// errors it is deleted, after the error line "Failed to write file '<name>'.".
  ///
  /// @param name          UTF-8, at most 259 bytes.
  /// @param initial_size  Bytes to reserve; see io_create64().
  /// @param unbuffered    Bypasses the system's cache, where the configuration allows it.
  /// @return False when it cannot be created; see io_create64() for what is logged. The count of
  ///         errors starts at 0 again.
  virtual bool open_file(const char* name, long long initial_size, bool unbuffered);

  /// Writes what is collected, cuts the file to its data and closes it. May be called by two
  /// threads at once.
  ///
  /// A file that cannot be cut is cut once more by its name, for two seconds while somebody else has
  /// it open; if that fails, too, it keeps the surplus of its last unit and the error line
  /// "Writebuffer set FileSize" says why. Kept on purpose: that is no failed write, all the data is
  /// there. A file that turns out shorter than its data is one.
  ///
  /// @param force  False: does nothing while two writes are in flight, and only starts the first
  ///               write if nothing was written before.
  /// @return 1 when closed; else 1 or 0 as a first write was started or not, 0 while two are in
  ///         flight, and the file stays open.
  virtual int close_file(bool force);

  /// Adds size x count bytes. A full buffer is written, without waiting for it if there are two.
  ///
  /// @return The bytes taken: all of them, but where there is no buffer or memory runs out; none when
  ///         the product has more than 64 bits.
  virtual unsigned long long write_file(const void* data, unsigned long long size,
                                        unsigned long long count);

  /// Writes the caller's aligned memory straight at the position of the current buffer, which moves
  /// on by the size rounded up to the alignment.
  ///
  /// Kept on purpose: what is collected is not written first, but for the very first buffer, which
  /// goes to the start of the file. Flush before, elsewhere.
  ///
  /// @param buffer  Holds the rounded size and stays until the next flush, close or direct write.
  /// @param size    Bytes; a warning when they are not aligned.
  /// @return size; 0 without a file, or when the write could not start, which counts as an error.
  virtual unsigned long long add_write_buffer(const void* buffer, unsigned long long size);

  /// Where the next byte goes, from the start of the file or of the memory.
  virtual unsigned long long get_file_position();

  /// Goes to a position. Inside the current buffer it only steps: what lies there, zero unless
  /// something was put there, is written, over what the file held. Elsewhere what is collected is
  /// written.
  ///
  /// Kept on purpose: a position outside the buffer is rounded down to the alignment; see
  /// get_file_position().
  ///
  /// @return True.
  virtual bool set_file_position(unsigned long long position);
  /// Whether set_file_position() would stay within the current buffer.
  virtual bool is_file_position_inside_current_buffer(unsigned long long position);

  /// The number of failed writes since the file was opened. A write that ended short is one: so do
  /// some file systems say that the disk is full. Bytes for which there was no buffer are another.
  virtual int error();

  /// Numbers in the byte order of set_endian(), through write_file() where the buffer ends.
  void put_byte(unsigned char value);
  void put_short(short value);  ///< Two bytes.
  void put_int(int value);      ///< Four bytes.
  void put_float(float value);  ///< Four bytes, IEEE 754.

  /// Byte orders: 1 is the machine's own; any other swaps.
  void set_endian(unsigned char order) { swap_ = order != host_order_; }

  /// The name last opened.
  [[nodiscard]] const char* name() const { return name_; }

  /// @cond the layout is fixed, but nobody's business
 protected:
  friend struct orsin::WriteSteps;

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
  orsin::OwnTransfer buffer_write_;  // Of buffer_ticket_.
  orsin::OwnTransfer direct_write_;  // Of direct_ticket_.
  bool expects_gaps_;                // The buffer is not only written from its start on.
  bool is_unbuffered_;
  /// @endcond
};

/// The writer's interface over a block of memory; no file is ever touched. One thread at a time.
class ORSIN_API fMemBuffer : public fWriteBuffer {
 public:
  fMemBuffer();
  ~fMemBuffer() override;

  /// Allocates an empty block of so many bytes that grows as needed; double_buffer is ignored.
  /// False when memory is short.
  bool set_buffer(int size, bool double_buffer) override;

  /// The block, from its start; null when there is none. It may move when it grows.
  unsigned char* get_current_buffer() override;

  /// False when the memory is the caller's and too small, or memory is short.
  bool ensure_minimum_buffer_size(int size) override;

  /// Does nothing.
  void flush_buffers() override;

  /// Forgets what was written; the next block is the library's own.
  void reset_buffers() override;

  /// Writes into the caller's memory, which never grows: a write that does not fit is cut short.
  void set_memory_buffer(void* memory, int size) override;

  /// Bytes: the highest position ever written to.
  unsigned long long get_buffer_used() override;

  /// False.
  bool data_pending() override;

  /// Does nothing. True.
  bool open_file(const char* name, long long initial_size, bool unbuffered) override;

  /// Does nothing. 1.
  int close_file(bool force) override;

  /// Adds size x count bytes; the block grows by 128 KiB at a time. Returns the bytes taken: fewer
  /// when the memory is the caller's and full, or memory is short; none when the product has more
  /// than 64 bits.
  unsigned long long write_file(const void* data, unsigned long long size,
                                unsigned long long count) override;

  /// Does nothing. 0.
  unsigned long long add_write_buffer(const void* buffer, unsigned long long size) override;

  /// Where the next byte goes, from the start of the block.
  unsigned long long get_file_position() override;

  /// False beyond what was written; the position then stays.
  bool set_file_position(unsigned long long position) override;

 private:
  friend struct orsin::MemorySteps;

  unsigned char* target_;
  unsigned long long target_size_;
  unsigned long long target_used_;
  unsigned char* target_cursor_;
  bool growable_;
};
