// The port of new files over POSIX.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <string>

#include "base/new_file_port.h"
#include "tests/platform/native/fake_new_files.h"

namespace orsin::port {
namespace {

std::string native(const char* path) {
  std::string result = path;
  std::replace(result.begin(), result.end(), '\\', '/');
  return result;
}

}  // namespace

Creation create_new_file(const char* path) noexcept {
  const std::string name = native(path);
  if (test::FullDisk::is_full) {
    return symlink("/dev/full", name.c_str()) == 0 ? Creation::kCreated : Creation::kRefused;
  }
  const int file = open(name.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
  if (file < 0) {
    return errno == EEXIST ? Creation::kExists : Creation::kRefused;
  }
  close(file);
  return Creation::kCreated;
}

bool rename_new_file(const char* from, const char* to) noexcept {
  return std::rename(native(from).c_str(), native(to).c_str()) == 0;
}

void remove_new_file(const char* path) noexcept {
  const int error = errno;
  unlink(native(path).c_str());
  errno = error;
}

}  // namespace orsin::port
