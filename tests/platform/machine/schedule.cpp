#include "tests/platform/machine/schedule.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

#include "tests/platform/machine/failure.h"

namespace orsin::simulation {
namespace {

constexpr std::uint64_t kMostSteps = 3'000'000;
constexpr Nanoseconds kLongestStep = 2 * kMicrosecond;
constexpr std::uint64_t kPrime = 0x100000001B3;

}  // namespace

Schedule::Schedule(std::uint64_t seed, bool is_traced, std::uint64_t* steps)
    : random_(seed, 1), calmness_(0), steps_seen_(steps), is_traced_(is_traced) {
  constexpr std::uint64_t kCalmnesses[] = {1, 2, 4, 16, 64};
  calmness_ = random_.one_of(kCalmnesses);
  tasks_.push_back(std::make_unique<Task>());
  current_ = tasks_.front().get();
  current_->identifier = 1;
  current_->fiber = std::make_unique<Fiber>();
}

Schedule::~Schedule() = default;

int Schedule::running_count() const {
  int count = 0;
  for (const auto& task : tasks_) {
    count += task->has_ended ? 0 : 1;
  }
  return count;
}

void Schedule::step(const char* what, std::uint64_t detail) {
  note(what, detail);
  now_ += static_cast<Nanoseconds>(random_.between(1, kLongestStep));
  run_due_events();
  if (random_.one_in(calmness_)) {
    go_to(next_task());
  }
}

void Schedule::note(const char* what, std::uint64_t detail) {
  ++steps_;
  if (steps_seen_ != nullptr) {
    *steps_seen_ = steps_;
  }
  hash_ = (hash_ ^ current_->identifier) * kPrime;
  hash_ = (hash_ ^ detail) * kPrime;
  for (const char* letter = what; *letter != '\0'; ++letter) {
    hash_ = (hash_ ^ static_cast<unsigned char>(*letter)) * kPrime;
  }
  if (is_traced_) {
    std::fprintf(stderr, "%8llu %12.6f thread %-4u %s %llu\n",
                 static_cast<unsigned long long>(steps_), static_cast<double>(now_) / kSecond,
                 current_->identifier, what, static_cast<unsigned long long>(detail));
  }
  if (steps_ == kMostSteps) {
    std::fprintf(stderr, "No end after %llu steps.\n", static_cast<unsigned long long>(steps_));
    report_standstill();
  }
}

bool Schedule::wait(const void* place, const char* reason, Nanoseconds until) {
  note(reason, 0);
  Task& self = *current_;
  self.place = place;
  self.reason = reason;
  self.until = until;
  self.is_woken = false;
  go_to(next_task());
  return self.is_woken;
}

void Schedule::wake_all(const void* place) {
  for (const auto& task : tasks_) {
    if (task->place == place && place != nullptr) {
      task->place = nullptr;
      task->is_woken = true;
    }
  }
}

Nanoseconds Schedule::look_at_clock() {
  now_ += static_cast<Nanoseconds>(random_.between(1, kLongestStep));
  return now_;
}

void Schedule::sleep(Nanoseconds time) {
  static_cast<void>(wait(current_, "sleep", now_ + time));
}

void Schedule::at(Nanoseconds time, std::function<void()> event) {
  events_.emplace(time, std::move(event));
}

Task& Schedule::start(std::function<void()> run, std::function<void()> on_end) {
  auto task = std::make_unique<Task>();
  task->identifier = static_cast<unsigned>(tasks_.size()) + 1;
  task->run = std::move(run);
  task->on_end = std::move(on_end);
  task->fiber = std::make_unique<Fiber>(run_task, task.get());
  tasks_.push_back(std::move(task));
  return *tasks_.back();
}

void Schedule::run_task(void* argument) {
  Task& self = *static_cast<Task*>(argument);
  self.run();
  ++self.calls_into_machine;
  Schedule* schedule = nullptr;
  schedule = &active_schedule();
  schedule->note("end of thread", self.identifier);
  schedule->end_now(self);
  Task& next = schedule->next_task();
  schedule->current_ = &next;
  self.fiber->end_in(*next.fiber);
}

void Schedule::end_now(Task& task) {
  task.has_ended = true;
  task.place = nullptr;
  if (at_end_of_threads_ != nullptr) {
    at_end_of_threads_(task);
  }
  if (task.on_end) {
    task.on_end();
  }
}

void Schedule::go_to(Task& task) {
  if (&task == current_) {
    return;
  }
  Task& self = *current_;
  current_ = &task;
  self.fiber->go_to(*task.fiber);
}

Task& Schedule::next_task() {
  for (;;) {
    std::uint64_t ready = 0;
    for (const auto& task : tasks_) {
      if (task->place != nullptr && task->until <= now_) {
        task->place = nullptr;
      }
      ready += !task->has_ended && task->place == nullptr ? 1 : 0;
    }
    if (ready > 0) {
      std::uint64_t chosen = random_.below(ready);
      for (const auto& task : tasks_) {
        if (!task->has_ended && task->place == nullptr && chosen-- == 0) {
          return *task;
        }
      }
    }
    if (!let_time_pass()) {
      report_standstill();
    }
  }
}

// To the next moment at which somebody can run; false when there is none.
bool Schedule::let_time_pass() {
  Nanoseconds next = events_.empty() ? kNever : events_.begin()->first;
  for (const auto& task : tasks_) {
    if (!task->has_ended && task->place != nullptr && task->until < next) {
      next = task->until;
    }
  }
  if (next == kNever) {
    return false;
  }
  now_ = next > now_ ? next : now_;
  run_due_events();
  return true;
}

void Schedule::run_due_events() {
  while (!events_.empty() && events_.begin()->first <= now_) {
    const std::function<void()> event = std::move(events_.begin()->second);
    events_.erase(events_.begin());
    event();
  }
}

void Schedule::report_standstill() {
  std::fprintf(stderr, "Who waits where:\n");
  for (const auto& task : tasks_) {
    if (task->has_ended) {
      continue;
    }
    std::fprintf(stderr, "  thread %u: %s\n", task->identifier,
                 task->place != nullptr ? task->reason : "can run");
    if (task.get() != current_) {
      task->fiber->print_calls();
    }
  }
  fail("nobody can run, and nothing is due");
}

}  // namespace orsin::simulation
