// What start-up finds of folders and files on a simulated machine.
#include <cstdio>

#include "files/io_port.h"
#include "startup/startup_port.h"
#include "tests/platform/machine/machine.h"

namespace orsin::port {

using namespace orsin::simulation;

bool common_application_data(char* path, std::size_t size) noexcept {
  Call call("common folder");
  std::snprintf(path, size, "C:\\ProgramData");
  return !call.is_refused({kErrorAccessDenied});
}

bool is_file_written(const char* path) noexcept {
  Call call("is file written");
  const auto node = machine().disk.find(path);
  return node != nullptr && !may_open(*node, {.read = true, .share_read = true});
}

bool copy_file(const char* from, const char* to) noexcept {
  Call call("copy file");
  const auto source = machine().disk.find(from);
  if (call.is_refused({kErrorAccessDenied, kErrorSharingViolation, kErrorDiskFull}) || !source) {
    return false;
  }
  OpenMode mode;
  mode.write = mode.create = true;
  std::shared_ptr<OpenedFile> file;
  bool existed = false;
  if (!call.answer(machine().disk.open(to, mode, file, existed))) {
    return false;
  }
  const std::string bytes = source->content.text();
  static_cast<void>(Disk::resize(*file->node, 0));
  return call.answer(Disk::write(*file->node, 0, bytes.data(), bytes.size()));
}

void redirect_standard_error(std::FILE* stream) noexcept {
  machine().standard_error = stream;
}

}  // namespace orsin::port
