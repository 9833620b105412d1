// Sizes for people: two families, which round differently.
#include <cstdio>
#include <cstdlib>

#include "orsincore/files.h"

namespace {

constexpr const char* kUnits[] = {"B", "KB", "MB", "GB", "TB", "PB", "EB"};
constexpr int kUnitCount = static_cast<int>(sizeof(kUnits) / sizeof(kUnits[0]));
constexpr std::size_t kDesignationBytes = 32;

}  // namespace

bool file_size_label(float bytes, char* out, int size) {
  int unit = 0;
  // There is no unit beyond the last: larger sizes are shown as many of it.
  while (bytes >= 1024.0F && unit < kUnitCount - 1) {
    bytes *= 0.0009765625F;
    ++unit;
  }
  const auto capacity = static_cast<std::size_t>(size > 0 ? size : 0);
  const bool is_whole = bytes < 1e9F && bytes == static_cast<float>(static_cast<int>(bytes));
  if (is_whole) {
    std::snprintf(out, capacity, "%d %s", static_cast<int>(bytes), kUnits[unit]);
  } else {
    std::snprintf(out, capacity, "%.1f %s", static_cast<double>(bytes), kUnits[unit]);
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
  const double exact = static_cast<double>(bytes);
  const double megabytes = exact / 1048576.0;
  if (bytes <= 1048576) {
    std::snprintf(out, kDesignationBytes, "%.0f Kb", exact / 1024.0);
  } else if (megabytes <= 1024.0) {
    std::snprintf(out, kDesignationBytes, "%.0f Mb", megabytes);
  } else if (megabytes / 1024.0 <= 1024.0) {
    std::snprintf(out, kDesignationBytes, "%.1f Gb", megabytes / 1024.0);
  } else {
    std::snprintf(out, kDesignationBytes, "%.2f Tb", megabytes / 1048576.0);
  }
  return true;
}
