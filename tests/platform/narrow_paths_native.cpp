// The calls for paths in the system's code page. No name outside ASCII is the same in UTF-8 and in a
// code page of one byte a character, so none is found.
#include <algorithm>
#include <string_view>

#include "base/log_port.h"
#include "files/file_system_port.h"
#include "tests/platform/system_errors.h"

namespace orsin::port {
namespace {

bool is_found(std::string_view path) {
  const bool is_ascii = std::all_of(path.begin(), path.end(),
                                    [](char c) { return static_cast<signed char>(c) >= 0; });
  if (!is_ascii) {
    set_last_system_error(platform::kErrorFileNotFound);
  }
  return is_ascii;
}

}  // namespace

bool read_write_time_narrow(const char* path, std::uint64_t& time) noexcept {
  return is_found(path) && read_write_time(path, true, time);
}

bool write_write_time_narrow(const char* path, std::uint64_t time) noexcept {
  return is_found(path) && write_write_time(path, time);
}

bool read_attributes_narrow(const char* path, std::uint32_t& attributes) noexcept {
  return is_found(path) && read_attributes(path, attributes);
}

bool write_attributes_narrow(const char* path, std::uint32_t attributes) noexcept {
  return is_found(path) && write_attributes(path, attributes);
}

}  // namespace orsin::port
