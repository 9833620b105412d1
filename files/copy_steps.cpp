#include "files/copy_steps.h"

#include <cstring>
#include <new>

#include "files/directories.h"
#include "files/file_system_port.h"
#include "orsincore/files.h"
#include "orsincore/log.h"

namespace orsin {
namespace {

constexpr int kReaderBuffers = 8;
constexpr unsigned long long kReaderBufferBytes = 0x100000;
constexpr int kWriterBufferBytes = 0x1000000;

char error_text[256];

void copy_write_time(const char* source, const char* destination, bool share_source, bool warn) {
  std::uint64_t time = 0;
  if (!port::read_write_time(source, share_source, time)) {
    if (warn) {
      msgwarn("File Copy: failed to retrieve the file times '%s'\n", source);
    }
    return;
  }
  if (port::set_write_time_alone(destination, time) != port::SetTime::kDone && warn) {
    const char* reason = file_last_error_text();
    msgwarn("File Copy: failed to update the file times '%s'\n", destination);
    msgwarn("File Copy: error '%s'\n", reason);
  }
}

void copy_attributes(const char* source, const char* destination, bool warn) {
  std::uint32_t bits = 0;
  if (!port::read_attribute_bits(source, bits)) {
    if (warn) {
      msgwarn("File Copy: failed to retrieve the file attributes '%s'\n", source);
    }
    return;
  }
  if (!port::write_attribute_bits(destination, bits) && warn) {
    const char* reason = file_last_error_text();
    msgwarn("File Copy: failed to update the file attributes '%s'\n", destination);
    msgwarn("File Copy: error '%s'\n", reason);
  }
}

}  // namespace

BorrowedReader::BorrowedReader(fReadBuffer* callers) : reader_(callers) {
  if (reader_ == nullptr) {
    own_ = std::make_unique<fReadBuffer>(io_invalid_handle());
    own_->cfg_buffers(kReaderBuffers, kReaderBufferBytes, kReaderBufferBytes);
    reader_ = own_.get();
  }
}

BorrowedWriter::BorrowedWriter(fWriteBuffer* callers) : writer_(callers) {
  if (writer_ == nullptr) {
    own_ = std::make_unique<fWriteBuffer>(io_invalid_handle(), true);
    own_->set_buffer(kWriterBufferBytes, true);
    writer_ = own_.get();
  }
}

DestinationDirectory prepare_destination(const char* destination) {
  char directory[kPathBytes];
  if (!directory_part(destination, directory)) {
    return DestinationDirectory::kNotAllowed;
  }
  return ensure_directory_exists(directory) ? DestinationDirectory::kReady
                                            : DestinationDirectory::kNotMade;
}

void copy_times_and_attributes(const char* source, const char* destination, bool share_source,
                               bool warn) {
  copy_write_time(source, destination, share_source, warn);
  copy_attributes(source, destination, warn);
}

const char* file_last_error_text() {
  port::last_error_text(error_text, sizeof(error_text));
  std::size_t length = std::strlen(error_text);
  while (length > 0 && std::strchr("\r\n ", error_text[length - 1]) != nullptr) {
    error_text[--length] = '\0';
  }
  return error_text;
}

}  // namespace orsin
