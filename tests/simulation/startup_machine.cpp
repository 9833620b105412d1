// What start-up and its report find on a simulated machine.
#include <cstdio>

#include "files/io_port.h"
#include "startup/startup_port.h"
#include "tests/simulation/machine.h"

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

bool computer_name(char* name, std::size_t size) noexcept {
  std::snprintf(name, size, "STUDIO");
  return true;
}

bool system_product_version(Version& version) noexcept {
  version = {{10, 0, 19045, 1}};
  return true;
}

SystemVersion system_version() noexcept {
  return {10, 0, 19045, ""};
}

bool registered(const char* /*value_name*/, char* /*text*/, std::size_t /*size*/) noexcept {
  return false;
}

}  // namespace orsin::port
