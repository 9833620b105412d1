// Short texts for sizes: "1.5 KB".
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
