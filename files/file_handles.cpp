// Files by their handles: opening, creating and measuring them. Transfers stand in
// transfer_slots.cpp, and so does closing, which ends them.
#include <cstring>

#include "base/given_text.h"
#include "base/log_port.h"
#include "base/path_buffer.h"
#include "base/system_error_text.h"
#include "files/io_port.h"
#include "files/transfer_slots.h"
#include "orsincore/io.h"
#include "orsincore/log.h"
#include "orsincore/text.h"

namespace orsin {
namespace {

bool is_valid(const void* file) {
  return file != io_invalid_handle();
}

}  // namespace

// A longer name is refused, never cut: cut, it would be another file's, which would be written over.
// Null is an empty name.
void* open_by_name(const char* name, const port::OpenMode& mode) {
  if (name != nullptr && std::strlen(name) >= kPathBytes) {
    port::set_last_system_error(port::kErrorNameTooLong);
    return io_invalid_handle();
  }
  unsigned short wide[kPathBytes];  // No path has more units than bytes.
  return port::open_file(ov_utf8_to_utf16(name, wide, kPathBytes), mode);
}

}  // namespace orsin

using namespace orsin;

void* io_open64(const char* name, int mode, bool unbuffered, bool share, bool overlapped) {
  port::OpenMode open;
  open.write = (mode & 3) != 0;
  open.read = (mode & 2) != 0 || !open.write;
  open.share_read = share;
  open.unbuffered = unbuffered;
  open.overlapped = overlapped;
  open.write_through = open.write;
  void* file = open_by_name(name, open);
  if (!is_valid(file)) {
    msgerror("IO open failed '%s' (%s)", given(name), SystemErrorText().c_str());
  }
  return file;
}

void* io_create64(const char* name, bool write_only, long long initial_size) {
  port::OpenMode open;
  open.create = true;
  open.write = true;
  open.overlapped = true;
  open.read = open.unbuffered = open.write_through = !write_only;
  void* file = open_by_name(name, open);
  // Kept on purpose: an error is reported also beside a good handle; required.
  const unsigned error = port::last_system_error();
  if (error != 0 && error != port::kErrorAlreadyExists && error != port::kErrorPathNotFound) {
    msg_os_error("IO Create File", static_cast<int>(error));
    msgcont("File: '%s'", given(name));
  }
  if (is_valid(file) && initial_size >= 1) {
    const auto size = static_cast<std::uint64_t>(initial_size);
    if (!port::set_file_size(file, 0) || !port::set_file_size(file, size)) {
      msgwarn("IO can't configure initial file size");
    } else if (!port::zero_range(file, size)) {
      msgwarn("IO failed to configure initial file size");
    }
  }
  return file;
}

long long io_get_filesize64(void* file, const char* name) {
  if (name != nullptr && std::strncmp(name, "\\\\.\\", 4) == 0) {
    char root[4] = {};
    std::strncpy(root, name + 4, 3);
    root[2] = '\\';  // "C:" becomes "C:\".
    std::uint64_t bytes = 0;
    return port::volume_capacity(root, bytes) ? static_cast<long long>(bytes) : -1;
  }
  std::uint64_t size = 0;
  return is_valid(file) && port::get_file_size(file, size) ? static_cast<long long>(size) : -1;
}

bool io_set_filesize64(void* file, unsigned long long size) {
  return port::set_file_size(file, size);
}
