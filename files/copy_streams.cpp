// What all copies share; see copy_streams.h.
#include "files/copy_streams.h"

#include <new>

#include "base/log_port.h"
#include "base/system_error_text.h"
#include "files/copy_writer.h"
#include "files/file_system_port.h"
#include "files/read_steps.h"
#include "files/source_blocks.h"
#include "orsincore/log.h"

namespace orsin {
namespace {

constexpr int kReaderBuffers = 8;

// Unlike os_errormsg(), empty for no error.
SystemErrorText file_last_error_text() {
  return SystemErrorText(port::last_system_error(), "");
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
    msgwarn("File Copy: error '%s'\n", file_last_error_text().c_str());
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
    msgwarn("File Copy: error '%s'\n", file_last_error_text().c_str());
  }
}

}  // namespace

BorrowedReader reader_for_copy(fReadBuffer* reader) {
  if (reader != nullptr) {
    return BorrowedReader(reader);
  }
  BorrowedReader::Own own(new (std::nothrow) fReadBuffer(io_invalid_handle()));
  if (own && !ReadSteps::allocate_in_one_piece(*own, kReaderBuffers, kCopyBlockBytes)) {
    own->cfg_buffers(kReaderBuffers, kCopyBlockBytes, kCopyBlockBytes);
    static_cast<void>(own->ensure_buffers());  // As many as can be had.
  }
  return BorrowedReader(std::move(own));
}

BorrowedWriter writer_for_copy(fWriteBuffer* writer) {
  if (writer != nullptr) {
    return BorrowedWriter(writer);
  }
  return BorrowedWriter(BorrowedWriter::Own(new (std::nothrow) CopyWriter));
}

CopyWriter* own_writer(const BorrowedWriter& writer) {
  return writer.is_own() ? static_cast<CopyWriter*>(writer.get()) : nullptr;
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
  if (CopyWriter* own = own_writer(writer)) {
    own->abandon();
  }
}

Block current_block(fReadBuffer& reader) {
  Block block{};
  block.data = reader.get_bufptr(&block.length);
  return block;
}

bool copy_to_own_writer(fReadBuffer& reader, fWriteBuffer& writer, unsigned long long& bytes) {
  SourceBlocks blocks(reader);
  blocks.add_worker(static_cast<CopyWriter&>(writer), "Copy", kWriteBytesMax);
  for (;;) {
    const Block block = blocks.current();
    if (block.is_end()) {
      break;
    }
    blocks.hand_over();
    if (writer.error() > 0) {
      return false;
    }
    bytes += block.length;
    blocks.advance();
  }
  blocks.finish();
  return writer.error() <= 0;
}

void copy_file_facts(const char* source, const char* destination, bool share_source, bool verbose) {
  copy_write_time(source, destination, share_source, verbose);
  copy_attributes(source, destination, verbose);
}

}  // namespace orsin
