#include "examples/host/line_texts.h"

#include <cmath>
#include <cstdio>
#include <iterator>

namespace host {
namespace {

constexpr std::uint64_t kSecondsPerMinute = 60;

}  // namespace

std::string progress_text(const std::string& doing, std::uint64_t done, std::uint64_t total,
                          double seconds) {
  const double share = total == 0 ? 1.0 : static_cast<double>(done) / static_cast<double>(total);
  const double speed = seconds > 0.0 ? static_cast<double>(done) / seconds : 0.0;
  const double left = speed > 0.0 && done < total ? static_cast<double>(total - done) / speed : 0.0;
  const auto whole = static_cast<std::uint64_t>(std::llround(left));

  char text[96];
  std::snprintf(text, sizeof(text), "%5.1f %%  %8.1f MB/s  %3u:%02u left", share * 100.0,
                speed / 1e6, static_cast<unsigned int>(whole / kSecondsPerMinute),
                static_cast<unsigned int>(whole % kSecondsPerMinute));
  return doing + "  " + text;
}

std::string elapsed_text(double seconds) {
  const auto whole = static_cast<std::uint64_t>(seconds);
  char text[32];
  std::snprintf(text, sizeof(text), "%u:%02u", static_cast<unsigned int>(whole / kSecondsPerMinute),
                static_cast<unsigned int>(whole % kSecondsPerMinute));
  return text;
}

std::string spinner_text(const std::string& what, unsigned int turn, double seconds) {
  constexpr char kPositions[] = {'|', '/', '-', '\\'};
  return kPositions[turn % std::size(kPositions)] + (" " + what + " " + elapsed_text(seconds));
}

}  // namespace host
