// Copying a file that fits into one buffer; see small_copy.h.
#include "files/small_copy.h"

#include <cstdint>
#include <new>

#include "base/log_port.h"
#include "files/io_port.h"
#include "files/transfer_slots.h"
#include "files/whole_file_port.h"
#include "orsincore/io.h"

namespace orsin {
namespace {

constexpr std::uint32_t kBufferBytes = 0x100000;  // What large copies read at a time.

class OpenFile {
 public:
  OpenFile(const char* path, const port::OpenMode& mode) : file_(open_by_name(path, mode)) {}
  ~OpenFile() {
    if (is_open()) {
      port::close_file(file_);
    }
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  [[nodiscard]] bool is_open() const { return file_ != io_invalid_handle(); }
  [[nodiscard]] void* get() const { return file_; }

 private:
  void* file_;
};

bool read_whole(void* file, unsigned char* buffer, std::uint32_t size) {
  std::uint32_t done = 0;
  std::uint32_t count = 0;
  while (done < size && port::read_on(file, buffer + done, size - done, count) && count > 0) {
    done += count;
  }
  return done == size;
}

bool write_at_once(void* file, const unsigned char* data, std::uint32_t size) {
  std::uint32_t count = 0;
  return port::write_on(file, data, size, count) && count == size;
}

// Whether a file that was there before may be written over; `size` is what it held.
bool may_replace(void* file, std::uint64_t& size) {
  port::FileFacts old;
  // Some systems let an administrator write to read-only files; the mark is meant for all.
  if (!port::read_open_facts(file, old) || (old.attributes & port::kReadOnly) != 0) {
    return false;
  }
  size = old.size_bytes;
  return true;
}

}  // namespace

SmallCopy::Result SmallCopy::copy(const char* source, const char* destination,
                                  unsigned long long& bytes) {
  port::OpenMode mode;
  mode.read = mode.share_read = true;
  const OpenFile file(source, mode);
  return file.is_open() ? copy_opened(file.get(), destination, bytes) : Result::kNotDone;
}

SmallCopy::Result SmallCopy::copy_opened(void* source, const char* destination,
                                         unsigned long long& bytes) {
  port::FileFacts facts;
  if (!port::read_open_facts(source, facts) || facts.size_bytes == 0 ||
      facts.size_bytes > kBufferBytes) {
    return Result::kNotDone;
  }
  if (!buffer_) {
    buffer_.reset(new (std::nothrow) unsigned char[kBufferBytes]);
  }
  const auto size = static_cast<std::uint32_t>(facts.size_bytes);
  if (!buffer_ || !read_whole(source, buffer_.get(), size)) {
    return Result::kNotDone;
  }

  port::OpenMode mode;
  mode.create = mode.write = mode.write_through = true;
  const OpenFile file(destination, mode);
  std::uint64_t old_size = 0;
  const bool was_there = port::last_system_error() == port::kErrorAlreadyExists;
  if (!file.is_open() || (was_there && !may_replace(file.get(), old_size)) ||
      !write_at_once(file.get(), buffer_.get(), size) ||
      (old_size > size && !port::set_file_size(file.get(), size))) {
    return Result::kNotDone;
  }
  bytes += size;
  io_inc_counters(size, size);
  return port::write_open_facts(file.get(), facts) ? Result::kCopied : Result::kDataCopied;
}

}  // namespace orsin
