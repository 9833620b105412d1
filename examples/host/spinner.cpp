#include "examples/host/spinner.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "examples/host/console.h"
#include "examples/host/elapsed_line.h"
#include "orsincore/threads.h"

namespace host {

std::string spinner_text(const std::string& what, unsigned int turn, double seconds) {
  constexpr char kPositions[] = {'|', '/', '-', '\\'};
  return kPositions[turn % std::size(kPositions)] + (" " + what + " " + elapsed_text(seconds));
}

Spinner::Spinner(std::string what)
    : what_(std::move(what)), started_(mp_getclock()), visible_(output_is_console()) {}

Spinner::~Spinner() {
  if (shown_width_ > 0) {
    std::printf("\r%*s\r", static_cast<int>(shown_width_), "");
    std::fflush(stdout);
  }
}

void Spinner::turn() {
  if (!visible_) {
    return;
  }
  const std::string text = spinner_text(what_, turns_++, mp_getclock() - started_);
  std::printf("\r%s", text.c_str());
  std::fflush(stdout);
  shown_width_ = std::max(shown_width_, text.size());
}

}  // namespace host
