// What all copies share; see copy_streams.h.
#include "files/copy_streams.h"

#include <new>

#include "files/file_system_port.h"
#include "orsincore/log.h"

namespace orsin {
namespace {

constexpr int kReaderBuffers = 8;
constexpr unsigned long long kReaderBufferBytes = 0x100000;
constexpr int kWriterBufferBytes = 0x1000000;

// Every writer made here is one of these.
class CopyWriter final : public fWriteBuffer {
 public:
  CopyWriter() : fWriteBuffer(io_invalid_handle(), true) {}

  void abandon() {
    if (file_ != io_invalid_handle()) {
      io_close64(file_);
    }
    file_ = io_invalid_handle();
    opened_ = false;
  }
};

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

BorrowedReader reader_for_copy(fReadBuffer* reader) {
  if (reader != nullptr) {
    return BorrowedReader(reader);
  }
  std::unique_ptr<fReadBuffer> own(new (std::nothrow) fReadBuffer(io_invalid_handle()));
  if (own) {
    own->cfg_buffers(kReaderBuffers, kReaderBufferBytes, kReaderBufferBytes);
  }
  return BorrowedReader(std::move(own));
}

BorrowedWriter writer_for_copy(fWriteBuffer* writer) {
  if (writer != nullptr) {
    return BorrowedWriter(writer);
  }
  std::unique_ptr<fWriteBuffer> own(new (std::nothrow) CopyWriter);
  if (own && !own->set_buffer(kWriterBufferBytes, true)) {
    own.reset();
  }
  return BorrowedWriter(std::move(own));
}

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
