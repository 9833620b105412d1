#include "examples/host/elapsed_line.h"

#include <cstdio>

#include "examples/host/console.h"
#include "examples/host/line_texts.h"

namespace host {
namespace {

constexpr long long kRefreshNs = 100000000;
constexpr unsigned int kNoThread = 0xFFFFFFFF;
constexpr unsigned int kForever = 0xFFFFFFFF;

}  // namespace

ElapsedLine::ElapsedLine() : started_(mp_getclock()), visible_(output_is_console()) {
  if (visible_) {
    mutex_ = mp_new_mutex(0, 0);
    ended_ = mp_new_cond_block();
    thread_ = mp_start_thread("Elapsed", run, this);
    visible_ = thread_ != kNoThread;
  }
}

ElapsedLine::~ElapsedLine() {
  if (visible_) {
    mp_get_mutex(mutex_);
    done_ = true;
    mp_cond_signal(ended_);
    mp_release_mutex(mutex_);
    mp_join_thread(thread_, kForever);
    std::printf("\n");
  }
  mp_delete_cond_block(ended_);
  mp_delete_mutex(mutex_);
}

double ElapsedLine::seconds() const {
  return mp_getclock() - started_;
}

void ElapsedLine::run(void* line) {
  static_cast<ElapsedLine*>(line)->rewrite_until_done();
}

void ElapsedLine::rewrite_until_done() {
  mp_get_mutex(mutex_);
  while (!done_) {
    std::printf("\r%s", elapsed_text(seconds()).c_str());
    std::fflush(stdout);
    mp_cond_timedwait(ended_, mutex_, kRefreshNs);
  }
  mp_release_mutex(mutex_);
}

}  // namespace host
