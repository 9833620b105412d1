#include "examples/host/ingest/status_text.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace host::ingest {
namespace {

constexpr std::array<const char*, 5> kUnits = {"KB", "MB", "GB", "TB", "PB"};

std::string formatted(const char* format, double value) {
  char text[64];
  std::snprintf(text, sizeof(text), format, value);
  return text;
}

std::string percent_text(const Status& status) {
  const double share = status.work == 0
                           ? 1.0
                           : static_cast<double>(std::min(status.work_done, status.work)) /
                                 static_cast<double>(status.work);
  return formatted("%5.1f %%", 100 * share);
}

// A part of the whole with one unit for both.
std::string bytes_text(const Status& status) {
  const std::string whole = size_text(status.bytes);
  double divisor = 1;
  for (const char* unit : kUnits) {
    divisor *= 1000;
    if (whole.ends_with(unit)) {
      return formatted("%.1f of ", static_cast<double>(status.bytes_done) / divisor) + whole;
    }
  }
  return std::to_string(status.bytes_done) + " of " + whole;
}

std::string rates_text(const Status& status) {
  std::string text;
  for (const std::uint64_t bytes : status.written) {
    const double rate = status.seconds > 0 ? static_cast<double>(bytes) / status.seconds / 1e6 : 0;
    text += formatted("%.0f ", rate);
  }
  return text + "MB/s";
}

std::string left_text(const Status& status) {
  if (status.work_done == 0 || status.work_done >= status.work) {
    return status.work_done == 0 && status.work > 0 ? "-:-- left" : "0:00 left";
  }
  const double rest = static_cast<double>(status.work - status.work_done);
  return duration_text(status.seconds * rest / static_cast<double>(status.work_done)) + " left";
}

}  // namespace

std::string status_text(const Status& status, std::size_t width) {
  struct Piece {
    std::string text;
    int importance;  // 0 stays longest.
  };
  std::vector<Piece> pieces = {
      {percent_text(status), 0},
      {bytes_text(status), 2},
      {std::to_string(status.files_done) + " of " + std::to_string(status.files) + " files", 4},
      {rates_text(status), 3},
      {left_text(status), 1}};
  const auto length = [&pieces] {
    std::size_t total = 0;
    for (const Piece& piece : pieces) {
      total += piece.text.size() + 3;
    }
    return pieces.empty() ? 0 : total - 3;
  };
  while (!pieces.empty() && length() > width) {
    pieces.erase(std::max_element(pieces.begin(), pieces.end(), [](const Piece& a, const Piece& b) {
      return a.importance < b.importance;
    }));
  }
  std::string line;
  for (const Piece& piece : pieces) {
    line += (line.empty() ? "" : "   ") + piece.text;
  }
  return line;
}

std::string size_text(std::uint64_t bytes) {
  if (bytes < 1000) {
    return std::to_string(bytes) + " B";
  }
  auto value = static_cast<double>(bytes);
  for (const char* unit : kUnits) {
    value /= 1000;
    if (value < 999.95 || unit == kUnits.back()) {
      return formatted(value < 100 ? "%.2f " : "%.1f ", value) + unit;
    }
  }
  return {};
}

std::string duration_text(double seconds) {
  const auto whole = static_cast<std::uint64_t>(std::clamp(seconds, 0.0, 3.6e9));
  char text[40];
  if (whole < 3600) {
    std::snprintf(text, sizeof(text), "%u:%02u", static_cast<unsigned int>(whole / 60),
                  static_cast<unsigned int>(whole % 60));
  } else {
    std::snprintf(text, sizeof(text), "%u:%02u:%02u", static_cast<unsigned int>(whole / 3600),
                  static_cast<unsigned int>(whole / 60 % 60),
                  static_cast<unsigned int>(whole % 60));
  }
  return text;
}

}  // namespace host::ingest
