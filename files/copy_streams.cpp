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
  std::unique_ptr<Stream> take() { return std::unique_ptr<Stream>(stream_.exchange(nullptr)); }

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

std::unique_ptr<fReadBuffer> new_reader() {
  std::unique_ptr<fReadBuffer> reader(new (std::nothrow) fReadBuffer(io_invalid_handle()));
  if (reader) {
    reader->cfg_buffers(kReaderBuffers, kReaderBufferBytes, kReaderBufferBytes);
  }
  return reader;
}

std::unique_ptr<CopyWriter> new_writer() {
  std::unique_ptr<CopyWriter> writer(new (std::nothrow) CopyWriter);
  if (writer && !writer->set_buffer(kWriterBufferBytes, true)) {
    writer.reset();
  }
  return writer;
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
  reader->close_file();
  kept_reader.keep(std::unique_ptr<fReadBuffer>(reader));
}

void StreamReturn::operator()(fWriteBuffer* writer) const {
  auto* own = static_cast<CopyWriter*>(writer);  // Every writer made here is one of these.
  own->rest();
  kept_writer.keep(std::unique_ptr<CopyWriter>(own));
}

void release_copy_streams() {
  kept_reader.take().reset();
  kept_writer.take().reset();
}

BorrowedReader reader_for_copy(fReadBuffer* reader) {
  if (reader != nullptr) {
    return BorrowedReader(reader);
  }
  std::unique_ptr<fReadBuffer> own = kept_reader.take();
  return BorrowedReader(BorrowedReader::Own(own ? own.release() : new_reader().release()));
}

BorrowedWriter writer_for_copy(fWriteBuffer* writer) {
  if (writer != nullptr) {
    return BorrowedWriter(writer);
  }
  std::unique_ptr<CopyWriter> own = kept_writer.take();
  return BorrowedWriter(BorrowedWriter::Own(own ? own.release() : new_writer().release()));
}

// Below the streams a longer path would be cut, and name another file.
bool open_source(fReadBuffer& reader, const char* path) {
  return reader.open_file(path, true, false, true);
}

bool create_destination(fWriteBuffer& writer, const char* path) {
  // Some systems let an administrator write to read-only files; the mark is meant for all.
  std::uint32_t attributes = 0;
  if (port::read_attributes(path, attributes) && (attributes & port::kReadOnly) != 0) {
    return false;
  }
  return writer.open_file(path, 0, true);
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
