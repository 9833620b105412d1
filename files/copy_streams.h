// What all copies share: the reader and the writers, the caller's or their own, and what is copied
// beside the data.
//
// A copy's own streams are 40 MiB of pages, which the system clears one by one as they are first
// touched: a quarter of the time of a copy that finds its file in the cache. So one reader and one
// writer stay for the next copy, until closedown.
#pragma once

#include <memory>

#include "orsincore/io.h"

namespace orsin {

/// Closes a copy's own stream and keeps it for the next copy; deletes it when one is kept already.
struct StreamReturn {
  bool is_whole_reader = true;  // One with few buffers is not kept.

  void operator()(fReadBuffer* reader) const;
  void operator()(fWriteBuffer* writer) const;
};

/// The caller's object, or one made here and returned with this.
template <typename T>
class Borrowed {
 public:
  using Own = std::unique_ptr<T, StreamReturn>;

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

/// The caller's reader, or eight buffers of 1 MiB; holds null when memory is short.
[[nodiscard]] BorrowedReader reader_for_copy(fReadBuffer* reader);

/// The caller's writer, or 16 MiB twice over; holds null when memory is short.
[[nodiscard]] BorrowedWriter writer_for_copy(fWriteBuffer* writer);

/// Deletes the streams that are kept. Closedown, when no copy runs.
void release_copy_streams();

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

/// Copies the time of the last write and the attributes. What fails is a warning, if wanted.
///
/// @param share_source  Others may have the source open for reading meanwhile.
void copy_file_facts(const char* source, const char* destination, bool share_source, bool verbose);

}  // namespace orsin
