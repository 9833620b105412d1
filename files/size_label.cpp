// Short texts for sizes: "1.5 KB" of files, "1.5 Gb" of volumes.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "orsincore/files.h"

namespace {

constexpr const char* kUnits[] = {"B", "KB", "MB", "GB", "TB", "PB", "EB"};
constexpr int kLastUnit = 6;

std::size_t room(int size) {
  return size > 0 ? static_cast<std::size_t>(size) : 0;
}

}  // namespace

bool file_size_label(float bytes, char* out, int size) {
  if (out == nullptr) {
    return false;
  }
  // Values of 1024 EB and more stay in the last unit there is.
  int unit = 0;
  while (bytes >= 1024.0F && unit < kLastUnit) {
    bytes *= 0.0009765625F;
    ++unit;
  }
  constexpr auto kIntLimit = -static_cast<float>(std::numeric_limits<int>::min());
  const bool is_whole = std::fabs(bytes) < kIntLimit && std::trunc(bytes) == bytes;
  if (is_whole) {
    std::snprintf(out, room(size), "%d %s", static_cast<int>(bytes), kUnits[unit]);
  } else {
    std::snprintf(out, room(size), "%.1f %s", static_cast<double>(bytes), kUnits[unit]);
  }
  return true;
}

bool file_size_label(const char* text, char* out, int size) {
  if (text == nullptr || *text == '\0') {
    return false;
  }
  return file_size_label(static_cast<float>(std::atof(text)), out, size);
}

bool ov_byte_size_designation(unsigned long long bytes, char* out) {
  if (out == nullptr) {
    return false;
  }
  constexpr std::size_t kTextBytes = 32;
  constexpr double kFactor = 1024;
  const double kilobytes = static_cast<double>(bytes) / kFactor;
  const double megabytes = kilobytes / kFactor;
  const double gigabytes = megabytes / kFactor;
  // Each unit reaches up to 1024 of it, so that a whole one of the next still reads "1024 Kb".
  if (kilobytes <= kFactor) {
    std::snprintf(out, kTextBytes, "%.0f Kb", kilobytes);
  } else if (megabytes <= kFactor) {
    std::snprintf(out, kTextBytes, "%.0f Mb", megabytes);
  } else if (gigabytes <= kFactor) {
    std::snprintf(out, kTextBytes, "%.1f Gb", gigabytes);
  } else {
    std::snprintf(out, kTextBytes, "%.2f Tb", gigabytes / kFactor);
  }
  return true;
}
