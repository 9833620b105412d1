// What there is to know about a path: existence, kind, size, attributes, time of the last write.
#include <cstdio>
#include <limits>

#include "base/path_buffer.h"
#include "files/file_system_port.h"
#include "orsincore/files.h"
#include "orsincore/text.h"

using namespace orsin;

namespace {

constexpr unsigned long long kTicksPerSecond = 10000000;                       // 100 ns each.
constexpr unsigned long long kUnixEpochTicks = 11644473600 * kTicksPerSecond;  // 1601 to 1970.

// The system's times are signed: in the year 30828 they end.
constexpr unsigned long long kLastSecond =
    (std::numeric_limits<long long>::max() - kUnixEpochTicks) / kTicksPerSecond;

bool has_attributes(const char* path, std::uint32_t mask, std::uint32_t wanted) {
  std::uint32_t attributes = 0;
  return port::read_attributes(path, attributes) && (attributes & mask) == wanted;
}

}  // namespace

int file_exists(const char* path) {
  return has_attributes(path, port::kDirectory, 0) ? 1 : 0;
}

int file_is_directory(const char* path) {
  return has_attributes(path, port::kDirectory, port::kDirectory) ? 1 : 0;
}

bool file_in_use(const char* path) {
  std::FILE* stream = fits_path(path) ? ov_utf8_fopen(path, "rbN") : nullptr;
  if (stream == nullptr) {
    return true;
  }
  std::fclose(stream);
  return false;
}

long long file_size(const char* path) {
  port::FileFacts facts;
  return port::read_facts(path, facts) ? static_cast<long long>(facts.size_bytes) : 0;
}

int file_is_hidden(const char* dir, const char* name) {
  if (dir == nullptr || *dir == '\0') {
    return 0;
  }
  PathBuffer path;
  if (!path.append(dir)) {
    return 0;
  }
  if (name != nullptr && *name != '\0') {
    const bool has_separator = path.view().back() == '\\';
    if ((!has_separator && !path.append("\\")) || !path.append(name)) {
      return 0;
    }
  }
  return has_attributes(path.c_str(), port::kHidden, port::kHidden) ? 1 : 0;
}

int file_is_bundle(const char* /*path*/) {
  return 0;
}

bool file_set_modified_ts(const char* path, unsigned long long ts) {
  return ts <= kLastSecond &&
         port::write_write_time_shared(path, ts * kTicksPerSecond + kUnixEpochTicks);
}

unsigned long long file_get_modified_ts(const char* path) {
  port::FileFacts facts;
  if (!port::read_facts(path, facts)) {
    return 0;
  }
  return (facts.write_time - kUnixEpochTicks) / kTicksPerSecond;
}
