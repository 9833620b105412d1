#include "examples/host/progress_line.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "examples/host/console.h"
#include "examples/host/line_texts.h"
#include "orsincore/threads.h"

namespace host {
namespace {

constexpr double kRefreshSeconds = 0.1;

}  // namespace

ProgressLine::ProgressLine(std::string doing, std::uint64_t total)
    : doing_(std::move(doing)),
      total_(total),
      started_(mp_getclock()),
      shown_(started_),
      visible_(output_is_console()) {}

ProgressLine::~ProgressLine() {
  if (visible_) {
    rewrite(mp_getclock());
    std::printf("\n");
  }
}

void ProgressLine::add(std::uint64_t bytes) {
  done_ = std::min(done_ + bytes, total_);
  const double now = mp_getclock();
  if (visible_ && now - shown_ >= kRefreshSeconds) {
    shown_ = now;
    rewrite(now);
  }
}

void ProgressLine::rewrite(double now) const {
  std::printf("\r%s", progress_text(doing_, done_, total_, now - started_).c_str());
  std::fflush(stdout);
}

}  // namespace host
