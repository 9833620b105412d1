#include "examples/host/ingest/console_status.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include "examples/host/console.h"
#include "orsincore/threads.h"

namespace host::ingest {
namespace {

constexpr double kRefreshSeconds = 0.1;
constexpr double kPlainSeconds = 10;

}  // namespace

ConsoleStatus::ConsoleStatus(bool is_plain)
    : is_plain_(is_plain), is_console_(!is_plain && output_is_console()), shown_(mp_getclock()) {}

void ConsoleStatus::show(const Status& status) {
  const double now = mp_getclock();
  if (now - shown_ < (is_plain_ ? kPlainSeconds : kRefreshSeconds)) {
    return;
  }
  shown_ = now;
  if (is_plain_) {
    std::printf("%s\n", status_text(status, std::string::npos).c_str());
    std::fflush(stdout);
  } else if (is_console_) {
    // The last column stays free: a full line would begin the next one.
    const std::string line = status_text(status, std::max<std::size_t>(console_width(), 2) - 1);
    const std::size_t rest = length_ > line.size() ? length_ - line.size() : 0;
    std::printf("\r%s%s", line.c_str(), std::string(rest, ' ').c_str());
    std::fflush(stdout);
    length_ = line.size();
  }
}

void ConsoleStatus::end() {
  if (length_ > 0) {
    std::printf("\n");
    length_ = 0;
  }
}

}  // namespace host::ingest
