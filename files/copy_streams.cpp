// What all copies share; see copy_streams.h.
#include "files/copy_streams.h"

#include <atomic>
#include <new>

#include "files/copy_writer.h"
#include "files/file_system_port.h"
#include "orsincore/log.h"

namespace orsin {
namespace {

constexpr int kReaderBuffers = 8;
constexpr unsigned long long kReaderBufferBytes = 0x100000;
constexpr int kWriterBufferBytes = 0x1000000;

// A closed stream between two copies. Whoever takes it has it alone.
template <typename Stream>
class Kept {
 public:
  Stream* take() { return stream_.exchange(nullptr); }

  void keep(std::unique_ptr<Stream> stream) {
    Stream* none = nullptr;
    if (stream_.compare_exchange_strong(none, stream.get())) {
      static_cast<void>(stream.release());
    }
  }

 private:
  std::atomic<Stream*> stream_{nullptr};
};

constinit Kept<fReadBuffer> kept_reader;
constinit Kept<CopyWriter> kept_writer;

// A reader for which memory was short makes do with fewer buffers for good: the next copy shall have
// a chance of a whole one.
BorrowedReader::Own new_reader() {
  std::unique_ptr<fReadBuffer> reader(new (std::nothrow) fReadBuffer(io_invalid_handle()));
  if (!reader) {
    return nullptr;
  }
  reader->cfg_buffers(kReaderBuffers, kReaderBufferBytes, kReaderBufferBytes);
  const bool is_whole = reader->ensure_buffers();
  return {reader.release(), StreamReturn{is_whole}};
}

BorrowedWriter::Own new_writer() {
  std::unique_ptr<CopyWriter> writer(new (std::nothrow) CopyWriter);
  if (!writer || !writer->set_buffer(kWriterBufferBytes, true)) {
    return nullptr;
  }
  return BorrowedWriter::Own(writer.release());
}

void copy_write_time(const char* source, const char* destination, bool share_source, bool verbose) {
  std::uint64_t time = 0;
  if (!port::read_write_time(source, share_source, time)) {
    if (verbose) {
      msgwarn("File Copy: failed to retrieve the file times '%s'\n", source);
    }
    return;
  }
  if (!port::write_write_time(destination, time) && verbose) {
    msgwarn("File Copy: failed to update the file times '%s'\n", destination);
    msgwarn("File Copy: error '%s'\n", file_last_error_text());
  }
}

void copy_attributes(const char* source, const char* destination, bool verbose) {
  std::uint32_t attributes = 0;
  if (!port::read_attributes(source, attributes)) {
    if (verbose) {
      msgwarn("File Copy: failed to retrieve the file attributes '%s'\n", source);
    }
    return;
  }
  if (!port::write_attributes(destination, attributes) && verbose) {
    msgwarn("File Copy: failed to update the file attributes '%s'\n", destination);
    msgwarn("File Copy: error '%s'\n", file_last_error_text());
  }
}

}  // namespace

void StreamReturn::operator()(fReadBuffer* reader) const {
  std::unique_ptr<fReadBuffer> own(reader);
  own->close_file();
  if (is_whole_reader) {
    kept_reader.keep(std::move(own));
  }
}

void StreamReturn::operator()(fWriteBuffer* writer) const {
  std::unique_ptr<CopyWriter> own(static_cast<CopyWriter*>(writer));  // All made here are.
  own->rest();
  kept_writer.keep(std::move(own));
}

void release_copy_streams() {
  delete kept_reader.take();
  delete kept_writer.take();
}

BorrowedReader reader_for_copy(fReadBuffer* reader) {
  if (reader != nullptr) {
    return BorrowedReader(reader);
  }
  BorrowedReader::Own kept(kept_reader.take());
  return BorrowedReader(kept ? std::move(kept) : new_reader());
}

BorrowedWriter writer_for_copy(fWriteBuffer* writer) {
  if (writer != nullptr) {
    return BorrowedWriter(writer);
  }
  BorrowedWriter::Own kept(kept_writer.take());
  return BorrowedWriter(kept ? std::move(kept) : new_writer());
}

// Below the streams a longer path would be cut, and name another file.
bool open_source(fReadBuffer& reader, const char* path) {
  return reader.open_file(path, true, false, true);
}

bool create_destination(const BorrowedWriter& writer, const char* path) {
  // Some systems let an administrator write to read-only files; the mark is meant for all.
  std::uint32_t attributes = 0;
  if (writer.is_own() && port::read_attributes(path, attributes) &&
      (attributes & port::kReadOnly) != 0) {
    return false;
  }
  return writer->open_file(path, 0, true);
}

void abandon_destination(const BorrowedWriter& writer) {
  if (writer.is_own()) {
    static_cast<CopyWriter*>(writer.get())->abandon();
  }
}

Block current_block(fReadBuffer& reader) {
  Block block{};
  block.data = reader.get_bufptr(&block.length);
  return block;
}

void copy_file_facts(const char* source, const char* destination, bool share_source, bool verbose) {
  copy_write_time(source, destination, share_source, verbose);
  copy_attributes(source, destination, verbose);
}

}  // namespace orsin
