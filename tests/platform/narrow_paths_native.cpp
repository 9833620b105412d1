// The calls for paths in the system's code page, which is UTF-8 here.
#include "files/file_system_port.h"

namespace orsin::port {

bool read_write_time_narrow(const char* path, std::uint64_t& time) noexcept {
  return read_write_time(path, true, time);
}

bool write_write_time_narrow(const char* path, std::uint64_t time) noexcept {
  return write_write_time(path, time);
}

bool read_attributes_narrow(const char* path, std::uint32_t& attributes) noexcept {
  return read_attributes(path, attributes);
}

bool write_attributes_narrow(const char* path, std::uint32_t attributes) noexcept {
  return write_attributes(path, attributes);
}

}  // namespace orsin::port
