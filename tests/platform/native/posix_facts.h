// Attributes and times as POSIX has them.
//
// Attributes that it does not have live in mode bits that test files do not need: the sticky bit is
// "hidden", set-group-ID is "system". A directory is never read-only.
#pragma once

#include <sys/stat.h>

#include <array>
#include <cstdint>

#include "files/file_system_port.h"

namespace orsin::test {

constexpr std::uint64_t kTicksPerSecond = 10000000;
constexpr std::uint64_t kUnixEpochTicks = 11644473600 * kTicksPerSecond;
constexpr mode_t kHiddenBit = S_ISVTX;
constexpr mode_t kSystemBit = S_ISGID;

inline std::uint32_t attributes_of(const struct stat& status) {
  std::uint32_t attributes = 0;
  if (S_ISDIR(status.st_mode)) {
    attributes |= port::kDirectory;
  } else if ((status.st_mode & S_IWUSR) == 0) {
    attributes |= port::kReadOnly;
  }
  attributes |= (status.st_mode & kHiddenBit) != 0 ? port::kHidden : 0;
  attributes |= (status.st_mode & kSystemBit) != 0 ? port::kSystem : 0;
  return attributes;
}

inline port::FileFacts facts_of(const struct stat& status) {
  return {attributes_of(status), static_cast<std::uint64_t>(status.st_size),
          kUnixEpochTicks + static_cast<std::uint64_t>(status.st_mtim.tv_sec) * kTicksPerSecond +
              static_cast<std::uint64_t>(status.st_mtim.tv_nsec) / 100};
}

inline mode_t mode_for(const struct stat& status, std::uint32_t attributes) {
  mode_t mode = status.st_mode & 07777 & ~(kHiddenBit | kSystemBit | S_IWUSR);
  mode |= (attributes & port::kReadOnly) == 0 || S_ISDIR(status.st_mode) ? S_IWUSR : 0;
  mode |= (attributes & port::kHidden) != 0 ? kHiddenBit : 0;
  mode |= (attributes & port::kSystem) != 0 ? kSystemBit : 0;
  return mode;
}

/// The last access stays.
inline std::array<timespec, 2> times_for(std::uint64_t write_time) {
  const std::uint64_t since_epoch = write_time - kUnixEpochTicks;
  std::array<timespec, 2> times = {};
  times[0].tv_nsec = UTIME_OMIT;
  times[1].tv_sec = static_cast<time_t>(since_epoch / kTicksPerSecond);
  times[1].tv_nsec = static_cast<long>(since_epoch % kTicksPerSecond * 100);
  return times;
}

}  // namespace orsin::test
