// Jobs done in their order by a thread of their own; see job_line.h.
#include "threads/job_line.h"

namespace orsin {
namespace {

constexpr unsigned int kNoThread = 0xFFFFFFFF;
constexpr unsigned int kForever = 0xFFFFFFFF;

}  // namespace

bool JobLine::start(const char* thread_name) {
  mutex_ = mp_new_mutex(0, 0);
  changed_ = mp_new_cond_block();
  is_ending_ = false;
  if (mutex_ != nullptr && changed_ != nullptr) {
    thread_ = mp_start_thread(thread_name, run_thread, this);
    if (thread_ != kNoThread) {
      return true;
    }
  }
  release();
  return false;
}

void JobLine::release() {
  mp_delete_cond_block(changed_);
  mp_delete_mutex(mutex_);
  changed_ = nullptr;
  mutex_ = nullptr;
}

void JobLine::stop() {
  if (!is_running()) {
    return;
  }
  mp_get_mutex(mutex_);
  is_ending_ = true;
  mp_cond_signal(changed_);
  mp_release_mutex(mutex_);
  mp_join_thread(thread_, kForever);
  release();
}

void JobLine::add() {
  mp_get_mutex(mutex_);
  ++added_;
  mp_cond_signal(changed_);
  mp_release_mutex(mutex_);
}

void JobLine::wait_until_ahead(std::uint64_t jobs_max) {
  mp_get_mutex(mutex_);
  while (added_ - done_ > jobs_max) {
    mp_cond_wait(changed_, mutex_);
  }
  mp_release_mutex(mutex_);
}

void JobLine::run_thread(void* line) {
  static_cast<JobLine*>(line)->do_jobs();
}

void JobLine::do_jobs() {
  mp_get_mutex(mutex_);
  for (;;) {
    while (done_ == added_ && !is_ending_) {
      mp_cond_wait(changed_, mutex_);
    }
    if (done_ == added_) {
      break;
    }
    const std::uint64_t number = done_;
    mp_release_mutex(mutex_);
    job_(owner_, number);
    mp_get_mutex(mutex_);
    ++done_;
    mp_cond_signal(changed_);
  }
  mp_release_mutex(mutex_);
}

}  // namespace orsin
