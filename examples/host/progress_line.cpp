#include "examples/host/progress_line.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "examples/host/console.h"
#include "orsincore/threads.h"

namespace host {
namespace {

constexpr double kRefreshSeconds = 0.1;

}  // namespace

std::string progress_text(std::uint64_t done, std::uint64_t total, double seconds) {
  const double share = total == 0 ? 1.0 : static_cast<double>(done) / static_cast<double>(total);
  const double speed = seconds > 0.0 ? static_cast<double>(done) / seconds : 0.0;
  const double left = speed > 0.0 && done < total ? static_cast<double>(total - done) / speed : 0.0;
  const auto whole = static_cast<unsigned long long>(std::llround(left));

  char text[96];
  std::snprintf(text, sizeof(text), "%5.1f %%  %8.1f MB/s  %3llu:%02llu left", share * 100.0,
                speed / 1e6, whole / 60, whole % 60);
  return text;
}

ProgressLine::ProgressLine(std::uint64_t total)
    : total_(total), started_(mp_getclock()), shown_(started_), visible_(output_is_console()) {}

ProgressLine::~ProgressLine() {
  if (visible_) {
    std::printf("\r%s\n", progress_text(done_, total_, mp_getclock() - started_).c_str());
  }
}

void ProgressLine::add(std::uint64_t bytes) {
  done_ = std::min(done_ + bytes, total_);
  const double now = mp_getclock();
  if (visible_ && now - shown_ >= kRefreshSeconds) {
    shown_ = now;
    std::printf("\r%s", progress_text(done_, total_, now - started_).c_str());
    std::fflush(stdout);
  }
}

}  // namespace host
