#include "examples/host/spinner.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "examples/host/console.h"
#include "examples/host/line_texts.h"
#include "orsincore/threads.h"

namespace host {

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
