// Opening and measuring files for the native transfer port; transfers_native.cpp has the transfers.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>

#include "files/io_port.h"
#include "orsincore/io.h"
#include "orsincore/text.h"
#include "tests/platform/file_rules.h"
#include "tests/platform/native/open_files.h"
#include "tests/platform/native/transfer_script.h"
#include "tests/platform/system_errors.h"

namespace orsin {

namespace test {

int descriptor_of(void* file) {
  return static_cast<int>(reinterpret_cast<std::intptr_t>(file)) - 1;
}

void* file_of(int descriptor) {
  return reinterpret_cast<void*>(static_cast<std::intptr_t>(descriptor + 1));
}

namespace {

// By descriptor. Handles come and go on many threads.
std::array<std::atomic<bool>, 4096> unbuffered;

}  // namespace

bool is_unbuffered(void* file) {
  return unbuffered[static_cast<std::size_t>(descriptor_of(file)) % unbuffered.size()];
}

}  // namespace test

namespace port {

using namespace orsin::test;

namespace {

OpenFate note_open(const OpenMode& mode) {
  TransferScript& script = transfer_script();
  const std::lock_guard guard(script.mutex);
  if (script.is_watched) {
    script.opened.push_back(mode);
  }
  if (script.opens.empty()) {
    return {};
  }
  const OpenFate fate = script.opens.front();
  script.opens.pop_front();
  return fate;
}

bool is_size_question_refused_locked() {
  int& left = transfer_script().size_questions_refused;
  const bool is_refused = left > 0;
  left -= is_refused ? 1 : 0;
  return is_refused;
}

// Why a file may not be given this size; 0 when it may.
std::uint32_t note_size(std::uint64_t size) {
  TransferScript& script = transfer_script();
  const std::lock_guard guard(script.mutex);
  if (script.is_watched) {
    script.sizes.push_back(size);
  }
  if (script.size_refusals == 0) {
    return 0;
  }
  --script.size_refusals;
  return script.size_error;
}

}  // namespace

namespace {

// The descriptor; -1 with the system's error. POSIX opens directories, and lets the superuser write to what
// is marked read-only. What was opened neither to be read nor to be written is neither.
int open_shared(const char* path, const OpenMode& mode) {
  struct stat status;
  if (::stat(path, &status) == 0 &&
      platform::is_closed_to(mode, S_ISDIR(status.st_mode), (status.st_mode & S_IWUSR) == 0)) {
    errno = static_cast<int>(platform::kErrorAccessDenied);
    return -1;
  }
  const int read_access = mode.read ? O_RDONLY : O_PATH;
  const int access = mode.write ? (mode.read ? O_RDWR : O_WRONLY) : read_access;
  const int descriptor = ::open(path, access | (mode.create ? O_CREAT : 0), 0666);
  if (descriptor >= 0 && !open_files().add(descriptor, mode)) {
    ::close(descriptor);
    errno = static_cast<int>(kErrorSharingViolation);
    return -1;
  }
  return descriptor;
}

}  // namespace

void* open_file(const unsigned short* name, const OpenMode& mode) noexcept {
  const OpenFate fate = note_open(mode);
  char path[1024];
  ov_utf16_to_utf8(name, path, sizeof(path));
  std::replace(path, path + std::strlen(path), '\\', '/');
  const bool was_there = mode.create && ::access(path, F_OK) == 0;
  const int descriptor = fate.is_refused ? -1 : open_shared(path, mode);
  if (descriptor >= 0 || fate.is_refused) {
    const std::uint32_t found = was_there ? kErrorAlreadyExists : 0;
    errno = static_cast<int>(fate.error != 0 ? fate.error : found);
  }
  if (descriptor < 0) {
    return io_invalid_handle();
  }
  unbuffered[static_cast<std::size_t>(descriptor) % unbuffered.size()] = mode.unbuffered;
  return file_of(descriptor);
}

void close_file(void* file) noexcept {
  const int last_error = errno;
  open_files().remove(descriptor_of(file));
  ::close(descriptor_of(file));
  errno = last_error;
}

bool get_file_size(void* file, std::uint64_t& size) noexcept {
  {
    const std::lock_guard guard(transfer_script().mutex);
    if (is_size_question_refused_locked()) {
      return false;
    }
  }
  struct stat status = {};
  if (::fstat(descriptor_of(file), &status) != 0) {
    return false;
  }
  size = static_cast<std::uint64_t>(status.st_size);
  return true;
}

bool set_file_size(void* file, std::uint64_t size) noexcept {
  const std::uint32_t error = note_size(size);
  if (error != 0) {
    errno = static_cast<int>(error);
    return false;
  }
  return ::ftruncate(descriptor_of(file), static_cast<off_t>(size)) == 0;
}

bool zero_range(void* /*file*/, std::uint64_t /*size*/) noexcept {
  const std::lock_guard guard(transfer_script().mutex);
  errno = static_cast<int>(transfer_script().zeroing_error);
  return transfer_script().zeroing_error == 0;
}

bool volume_capacity(const char* root, std::uint64_t& bytes) noexcept {
  const std::lock_guard guard(transfer_script().mutex);
  transfer_script().volume_root = root;
  bytes = std::uint64_t{1} << 40;
  return !is_size_question_refused_locked();
}

}  // namespace port
}  // namespace orsin
