// What all copies share: the reader and the writers, the caller's or their own, and what is copied
// beside the data. A copy's own streams go with it.
#pragma once

#include <memory>

#include "orsincore/io.h"

namespace orsin {

constexpr unsigned long long kCopyBlockBytes = 0x100000;
constexpr unsigned long long kWriteBytesMax = 4 * kCopyBlockBytes;  // Larger writes gain nothing.

/// The caller's object, or one made here that goes with this.
template <typename T>
class Borrowed {
 public:
  using Own = std::unique_ptr<T>;

  explicit Borrowed(T* borrowed) : object_(borrowed) {}
  explicit Borrowed(Own own) : object_(own.get()), own_(std::move(own)) {}

  [[nodiscard]] T* get() const { return object_; }
  [[nodiscard]] bool is_own() const { return own_ != nullptr; }
  T* operator->() const { return object_; }

 private:
  T* object_;
  Own own_;
};

using BorrowedReader = Borrowed<fReadBuffer>;
using BorrowedWriter = Borrowed<fWriteBuffer>;

class CopyWriter;

/// The caller's reader, or eight buffers of 1 MiB, in one piece if it can be had; holds null when
/// memory is short.
[[nodiscard]] BorrowedReader reader_for_copy(fReadBuffer* reader);

/// The caller's writer, or one that writes the source's blocks where they lie; holds null when memory
/// is short.
[[nodiscard]] BorrowedWriter writer_for_copy(fWriteBuffer* writer);

/// A copy's own writer as what it is; null for a caller's.
[[nodiscard]] CopyWriter* own_writer(const BorrowedWriter& writer);

/// Opens a source as every copy does: others may read it, nobody may change it meanwhile.
[[nodiscard]] bool open_source(fReadBuffer& reader, const char* path);

/// Opens a destination as every copy does: unshared, what it held is replaced as data comes. A writer
/// made here refuses a read-only file; a caller's is asked all the same, as it may clear the mark, or
/// keep the data elsewhere.
[[nodiscard]] bool create_destination(const BorrowedWriter& writer, const char* path);

/// Closes the file of a writer made here as it is: nothing is written, nothing cut. A caller's
/// writer is left alone.
void abandon_destination(const BorrowedWriter& writer);

/// One run of bytes of the source; null at its end. Valid until the reader moves on.
struct Block {
  unsigned char* data;
  unsigned long long length;

  [[nodiscard]] bool is_end() const { return data == nullptr || length == 0; }
};

/// What the reader stands at, fetching when its block is used up.
[[nodiscard]] Block current_block(fReadBuffer& reader);

/// Copies what is left of a source through a copy's own writer, which is left to be closed. False when
/// a write failed; `bytes` grows by what was handed to it.
[[nodiscard]] bool copy_to_own_writer(fReadBuffer& reader, fWriteBuffer& writer,
                                      unsigned long long& bytes);

/// Copies the time of the last write and the attributes. What fails is a warning, if wanted.
///
/// @param share_source  Others may have the source open for reading meanwhile.
void copy_file_facts(const char* source, const char* destination, bool share_source, bool verbose);

}  // namespace orsin
