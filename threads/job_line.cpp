// Jobs done in their order by a thread of their own; see job_line.h.
#include "threads/job_line.h"

#include "base/wait_time.h"

namespace orsin {

bool JobLine::start(const char* thread_name) {
  changed_ = mp_new_cond_block();
  if (mutex_.create() && changed_ != nullptr) {
    thread_ = mp_start_thread(thread_name, do_jobs, this);
  }
  if (!is_running()) {
    release();
  }
  return is_running();
}

void JobLine::release() {
  mp_delete_cond_block(changed_);
  changed_ = nullptr;
  mutex_.destroy();
  thread_ = kNoThread;
}

void JobLine::stop() {
  if (!is_running()) {
    return;
  }
  {
    const ScopedLock guard(mutex_);
    is_ending_ = true;
    mp_cond_signal(changed_);
  }
  mp_join_thread(thread_, kForeverMs);
  release();
}

void JobLine::add() {
  const ScopedLock guard(mutex_);
  ++added_;
  mp_cond_signal(changed_);
}

void JobLine::wait_until_ahead(std::uint64_t jobs_max) {
  const ScopedLock guard(mutex_);
  while (added_ - done_ > jobs_max) {
    mp_cond_wait(changed_, mutex_.handle());
  }
}

void JobLine::do_jobs(void* line) {
  auto& self = *static_cast<JobLine*>(line);
  std::uint64_t number = 0;
  while (self.take_job(number)) {
    self.job_(self.owner_, number);
    self.finish_job();
  }
}

// False when the line ends: then everything added is done.
bool JobLine::take_job(std::uint64_t& number) {
  const ScopedLock guard(mutex_);
  while (done_ == added_ && !is_ending_) {
    mp_cond_wait(changed_, mutex_.handle());
  }
  if (done_ == added_) {
    is_ending_ = false;  // The line may start again.
    return false;
  }
  number = done_;
  return true;
}

void JobLine::finish_job() {
  const ScopedLock guard(mutex_);
  ++done_;
  mp_cond_signal(changed_);
}

}  // namespace orsin
