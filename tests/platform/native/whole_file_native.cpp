// Handles of files that are copied in one piece, over POSIX and on the same disk as transfers.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "files/io_port.h"
#include "files/whole_file_port.h"
#include "tests/platform/native/fake_access.h"
#include "tests/platform/native/fake_disk.h"
#include "tests/platform/native/posix_facts.h"
#include "tests/platform/native/transfer_script.h"

namespace orsin::port {

using namespace orsin::test;

bool read_open_facts(void* file, FileFacts& facts) noexcept {
  struct stat status;
  if (::fstat(descriptor_of(file), &status) != 0) {
    return false;
  }
  facts = facts_of(status);
  return true;
}

bool write_open_facts(void* file, const FileFacts& facts) noexcept {
  struct stat status;
  const int descriptor = descriptor_of(file);
  if (fake_access().refuses_facts || ::fstat(descriptor, &status) != 0) {
    return false;
  }
  const std::array<timespec, 2> times = times_for(facts.write_time);
  return ::fchmod(descriptor, mode_for(status, facts.attributes)) == 0 &&
         ::futimens(descriptor, times.data()) == 0;
}

bool read_on(void* file, void* buffer, std::uint32_t size, std::uint32_t& bytes) noexcept {
  return transfer_now({.is_read = true, .file = file, .buffer = buffer, .size = size}, bytes);
}

bool write_on(void* file, const void* data, std::uint32_t size, std::uint32_t& bytes) noexcept {
  return transfer_now(
      {.is_read = false, .file = file, .buffer = const_cast<void*>(data), .size = size}, bytes);
}

}  // namespace orsin::port
