// The transfer port over POSIX files. Transfers complete at once, as they do on Windows for data in
// the cache; tests that need slow or failing ones run under Wine.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>

#include "files/io_port.h"
#include "orsincore/io.h"
#include "orsincore/text.h"
#include "tests/native/fake_disk.h"

namespace orsin::test {

FakeDisk& fake_disk() {
  static FakeDisk disk;
  return disk;
}

}  // namespace orsin::test

namespace orsin {

namespace port {
namespace {

struct Record {
  std::int64_t bytes;  // Negative: failed.
  std::int64_t is_running;
};

int descriptor_of(void* file) {
  return static_cast<int>(reinterpret_cast<std::intptr_t>(file)) - 1;
}

void* file_of(int descriptor) {
  return reinterpret_cast<void*>(static_cast<std::intptr_t>(descriptor + 1));
}

void store(TransferRecord& record, const Record& value) {
  std::memcpy(record.storage, &value, sizeof(value));
}

Record load(const TransferRecord& record) {
  Record value;
  std::memcpy(&value, record.storage, sizeof(value));
  return value;
}

TransferStart finished(TransferRecord& record, std::int64_t bytes, bool is_read,
                       std::uint32_t size) {
  store(record, {bytes, 0});
  if (bytes < 0) {
    return {false, 0, static_cast<std::uint32_t>(errno)};
  }
  if (is_read && bytes == 0 && size != 0) {
    errno = static_cast<int>(kErrorEndOfFile);
    return {false, 0, kErrorEndOfFile};
  }
  return {true, static_cast<std::uint32_t>(bytes), 0};
}

// Takes a transfer's bytes off what the disk still does; false, with the error, when it does not.
bool disk_takes(std::uint64_t& left, std::uint32_t size, int error) {
  if (left == test::FakeDisk::kNoLimit) {
    return true;
  }
  if (size > left) {
    errno = error;
    return false;
  }
  left -= size;
  return true;
}

}  // namespace

void* create_event() noexcept {
  return file_of(0);
}
void close_event(void* /*event*/) noexcept {}
void reset_event(void* /*event*/) noexcept {}

EventWait wait_for_event(void* /*event*/, std::uint32_t /*timeout_ms*/) noexcept {
  return EventWait::kSignalled;
}

void arm_record(TransferRecord& record) noexcept {
  store(record, {0, 1});
}

TransferStart start_read(void* file, void* buffer, std::uint64_t offset, std::uint32_t size,
                         TransferRecord& record, void* /*event*/) noexcept {
  test::FakeDisk& disk = test::fake_disk();
  if (!disk_takes(disk.readable_bytes, size, disk.read_error)) {
    return finished(record, -1, true, size);
  }
  const auto bytes = ::pread(descriptor_of(file), buffer, size, static_cast<off_t>(offset));
  return finished(record, bytes, true, size);
}

TransferStart start_write(void* file, const void* buffer, std::uint64_t offset, std::uint32_t size,
                          TransferRecord& record, void* /*event*/) noexcept {
  test::FakeDisk& disk = test::fake_disk();
  if (!disk_takes(disk.writable_bytes, size, disk.write_error)) {
    return finished(record, -1, false, size);
  }
  const auto bytes = ::pwrite(descriptor_of(file), buffer, size, static_cast<off_t>(offset));
  return finished(record, bytes, false, size);
}

bool is_complete(const TransferRecord& record) noexcept {
  return load(record).is_running == 0;
}

bool transfer_result(void* /*file*/, TransferRecord& record, std::uint32_t& bytes) noexcept {
  const Record result = load(record);
  bytes = static_cast<std::uint32_t>(result.bytes);
  return result.is_running == 0 && result.bytes >= 0;
}

void cancel_transfers(void* /*file*/) noexcept {}

void* open_file(const unsigned short* name, const OpenMode& mode) noexcept {
  char path[1024];
  ov_utf16_to_utf8(name, path, sizeof(path));
  std::replace(path, path + std::strlen(path), '\\', '/');
  const int access = mode.write ? (mode.read ? O_RDWR : O_WRONLY) : O_RDONLY;
  errno = 0;
  const int descriptor = ::open(path, access | (mode.create ? O_CREAT : 0), 0666);
  if (descriptor < 0) {
    return io_invalid_handle();
  }
  errno = 0;
  return file_of(descriptor);
}

void close_file(void* file) noexcept {
  ::close(descriptor_of(file));
}

bool get_file_size(void* file, std::uint64_t& size) noexcept {
  struct stat status = {};
  if (::fstat(descriptor_of(file), &status) != 0) {
    return false;
  }
  size = static_cast<std::uint64_t>(status.st_size);
  return true;
}

bool set_file_size(void* file, std::uint64_t size) noexcept {
  return ::ftruncate(descriptor_of(file), static_cast<off_t>(size)) == 0;
}

bool zero_range(void* /*file*/, std::uint64_t /*size*/) noexcept {
  return true;
}

bool volume_capacity(const char* /*root*/, std::uint64_t& bytes) noexcept {
  bytes = 1ULL << 40;
  return true;
}

}  // namespace port
}  // namespace orsin
