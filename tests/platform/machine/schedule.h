// The threads' turn: exactly one runs, and at every step the seed decides who goes on.
//
// Below the locks, waits and sleeps of a simulated machine. Time is the schedule's own: a step takes a
// little of it, and where nobody can run it jumps to the next moment at which somebody can. So nothing
// really sleeps, and a run with the same seed makes the same steps. Where nobody can run and nothing is
// due, the run has failed, and it is printed who waits where.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tests/platform/machine/fiber.h"
#include "tests/platform/machine/random.h"

namespace orsin::simulation {

using Nanoseconds = std::int64_t;
constexpr Nanoseconds kMicrosecond = 1'000;
constexpr Nanoseconds kMillisecond = 1'000'000;
constexpr Nanoseconds kSecond = 1'000'000'000;
constexpr Nanoseconds kNever = INT64_MAX;

/// One simulated thread.
struct Task {
  unsigned identifier = 0;
  std::unique_ptr<Fiber> fiber;
  std::function<void()> run;
  std::function<void()> on_end;

  bool has_ended = false;
  const void* place = nullptr;  // Where it waits; null while it can run.
  const char* reason = "";      // What it waits for.
  Nanoseconds until = kNever;
  bool is_woken = false;

  int calls_into_machine = 0;  // What it allocates there is not the library's.
  int calls_into_library = 0;
  std::map<const void*, void*> values;  // By key.
};

class Schedule;

/// The running machine's.
[[nodiscard]] Schedule& active_schedule();

class Schedule {
 public:
  Schedule(std::uint64_t seed, bool is_traced, std::uint64_t* steps);
  ~Schedule();
  Schedule(const Schedule&) = delete;
  Schedule& operator=(const Schedule&) = delete;

  [[nodiscard]] Task& current() { return *current_; }
  [[nodiscard]] Nanoseconds now() const { return now_; }
  [[nodiscard]] std::uint64_t steps() const { return steps_; }
  [[nodiscard]] std::uint64_t hash() const { return hash_; }
  [[nodiscard]] int running_count() const;  ///< Threads that have not ended, this one included.

  /// A step: something happens, and maybe another thread goes on from here.
  void step(const char* what, std::uint64_t detail = 0);

  /// As step(), and nobody else goes on.
  void note(const char* what, std::uint64_t detail = 0);

  [[nodiscard]] bool is_traced() const { return is_traced_; }

  /// Waits at a place until woken; false when the time is over first.
  bool wait(const void* place, const char* reason, Nanoseconds until = kNever);
  void wake_all(const void* place);

  /// The clock was looked at: the next look sees a later time.
  Nanoseconds look_at_clock();
  void sleep(Nanoseconds time);

  /// Has the machine do something at a later time; not before `now`.
  void at(Nanoseconds time, std::function<void()> event);

  /// A new thread, which begins when its turn comes.
  Task& start(std::function<void()> run, std::function<void()> on_end);

  /// The thread never runs again, wherever it stands.
  void end_now(Task& task);

  /// Done at the end of every thread.
  void at_end_of_threads(void (*done)(const Task& task)) { at_end_of_threads_ = done; }

 private:
  [[noreturn]] static void run_task(void* task);
  [[noreturn]] void report_standstill();
  [[nodiscard]] Task& next_task();
  void run_due_events();
  bool let_time_pass();
  void go_to(Task& task);

  Random random_;
  std::uint64_t calmness_;  // One step in so many changes the turn.
  Nanoseconds now_ = kSecond;
  std::uint64_t steps_ = 0;
  std::uint64_t* steps_seen_;
  std::uint64_t hash_ = 0xCBF29CE484222325;
  bool is_traced_;
  void (*at_end_of_threads_)(const Task& task) = nullptr;
  std::vector<std::unique_ptr<Task>> tasks_;
  Task* current_;
  std::multimap<Nanoseconds, std::function<void()>> events_;
};

}  // namespace orsin::simulation
