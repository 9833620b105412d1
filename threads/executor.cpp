// The executor: a fixed pool of workers that runs one function on every processor.
//
// A call puts one job a worker into a ring and waits until all of them have run. Any worker may
// take any job: the part number, not the thread, says which piece of the work it is.
//
//   smp_exec:  push part 0 ... n-1 under one lock, wake once, wait until the call's own counter is n
//   worker:    wait for a job, run it, count it, and wake the caller after the last one
//
// Locks: `queue_mutex` before the ring's own mutex; `done_mutex` is never held together with them.
// Waiters spin a little before they sleep. `queued` mirrors the ring's count for the spinners; it
// may be stale, the locked ring decides. `sleepers` tells a worker whether anybody needs waking: a
// caller raises it before it looks at its counter for the last time, and a worker reads it after
// counting, both in one total order, so one of the two sees the other.
//
// Started and stopped by start-up and closedown while one thread runs.
#include "threads/executor.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <new>

#include "base/lock.h"
#include "base/spin_wait.h"
#include "orsincore/log.h"
#include "orsincore/processors.h"
#include "orsincore/threads.h"
#include "threads/thread_table.h"

namespace orsin {
namespace {

constexpr int kWorkersMax = 128;
constexpr int kJobsPerWorker = 3;  // So that several callers can queue without blocking.
constexpr int kQueueCapacityInitial = 64;
constexpr unsigned int kJoinTimeoutMs = 60000;
constexpr int kBetweenJobs = -1;
constexpr std::chrono::microseconds kSpinTime(50);

using JobFunction = void (*)(void*, void*, void*, void*, void*, void*);

struct smp_entry_t {
  int part;
  int quit;
  void (*function)();
  void* arguments[6];
  int part_count;
  std::atomic<int>* done;  // On the caller's stack.
};

static_assert(offsetof(smp_entry_t, part) == 0);
static_assert(offsetof(smp_entry_t, quit) == 4);
static_assert(offsetof(smp_entry_t, function) == 8);
static_assert(offsetof(smp_entry_t, arguments) == 16);
static_assert(offsetof(smp_entry_t, part_count) == 64);
static_assert(offsetof(smp_entry_t, done) == 72);

struct Worker {
  int index;
  unsigned int thread;
};

struct Executor {
  int configured = 1;
  std::atomic<int> active = 1;
  int started = 0;  // Workers that run: all of them, or the idle ones of a start that failed.
  int capacity = kQueueCapacityInitial;
  ov_queue<smp_entry_t>* ring = nullptr;
  Mutex queue_mutex;
  __cond_str* work = nullptr;
  __cond_str* space = nullptr;
  Mutex done_mutex;
  __cond_str* done = nullptr;
  __tls_key_str* part_key = nullptr;
  Worker* workers = nullptr;
  std::atomic<int> queued = 0;
  std::atomic<int> sleepers = 0;
};

constinit Executor executor;

// Pushes parts 0 ... count-1 of a job in one go, and wakes once: all sleeping workers have something
// to do. Only a ring that is full meanwhile makes it let go of the lock.
void push_parts(smp_entry_t job, int count) {
  const auto next_part = [&job] {
    const smp_entry_t part = job;
    ++job.part;
    return part;
  };
  const ScopedLock guard(executor.queue_mutex);
  for (;;) {
    const int pushed = executor.ring->push_each(count - job.part, next_part);
    executor.queued.fetch_add(pushed, std::memory_order_relaxed);
    mp_cond_broadcast(executor.work);
    if (job.part == count) {
      return;
    }
    mp_cond_wait(executor.space, executor.queue_mutex.handle());
  }
}

smp_entry_t take() {
  static_cast<void>(
      spin_until([] { return executor.queued.load(std::memory_order_relaxed) > 0; }, kSpinTime));
  const ScopedLock guard(executor.queue_mutex);
  smp_entry_t job = {};
  while (!executor.ring->take(job)) {
    mp_cond_wait(executor.work, executor.queue_mutex.handle());
  }
  executor.queued.fetch_sub(1, std::memory_order_relaxed);
  mp_cond_signal(executor.space);
  return job;
}

// After the last count the caller may be gone, and its counter with it.
void count_done(const smp_entry_t& job) {
  if (job.done->fetch_add(1) + 1 == job.part_count && executor.sleepers.load() > 0) {
    const ScopedLock guard(executor.done_mutex);
    mp_cond_broadcast(executor.done);
  }
}

void wait_for_all(const std::atomic<int>& done, int part_count) {
  if (spin_until([&] { return done.load(std::memory_order_acquire) >= part_count; }, kSpinTime)) {
    return;
  }
  const ScopedLock guard(executor.done_mutex);
  executor.sleepers.fetch_add(1);
  while (done.load() < part_count) {
    mp_cond_wait(executor.done, executor.done_mutex.handle());
  }
  executor.sleepers.fetch_sub(1);
}

void call(const smp_entry_t& job) {
  void* const* a = job.arguments;
  reinterpret_cast<JobFunction>(job.function)(a[0], a[1], a[2], a[3], a[4], a[5]);
}

void run_worker(void* /*argument*/) {
  // On the stack, not the heap: a worker that could not have its cell would take every part for 0.
  int part = kBetweenJobs;
  mp_setspecific(executor.part_key, &part);
  for (;;) {
    const smp_entry_t job = take();
    if (job.quit != 0) {
      mp_setspecific(executor.part_key, nullptr);  // The cell goes before the thread does.
      return;
    }
    if (job.function != nullptr) {
      part = job.part;
      call(job);
      part = kBetweenJobs;
    }
    count_done(job);
  }
}

// Everything but the threads. False when a piece could not be had.
bool create_queue(int workers) {
  executor.capacity = kJobsPerWorker * workers;
  executor.ring = new (std::nothrow) ov_queue<smp_entry_t>(executor.capacity);
  executor.queue_mutex.create();
  executor.work = mp_new_cond_block();
  executor.space = mp_new_cond_block();
  executor.done_mutex.create();
  executor.done = mp_new_cond_block();
  executor.workers = new (std::nothrow) Worker[static_cast<std::size_t>(workers)];
  executor.part_key = mp_key_create();
  if (executor.part_key == nullptr) {
    msgerror("SMP: Can't allocate thread local storage..");
    return false;
  }
  return executor.ring != nullptr && executor.ring->capacity() > 0 &&
         executor.queue_mutex.exists() && executor.work != nullptr && executor.space != nullptr &&
         executor.done_mutex.exists() && executor.done != nullptr && executor.workers != nullptr;
}

void delete_queue() {
  delete[] executor.workers;
  executor.workers = nullptr;
  mp_key_delete(executor.part_key);
  executor.part_key = nullptr;
  executor.done_mutex.destroy();
  executor.queue_mutex.destroy();
  mp_delete_cond_block(executor.done);
  mp_delete_cond_block(executor.space);
  mp_delete_cond_block(executor.work);
  executor.done = executor.space = executor.work = nullptr;
  delete executor.ring;
  executor.ring = nullptr;
}

bool start_worker(int index) {
  char name[32];
  std::snprintf(name, sizeof(name), "SMP-%d", index);
  const unsigned int thread = mp_start_thread(name, run_worker, nullptr);
  if (thread == kNoThread) {
    return false;
  }
  executor.workers[index] = {index, thread};
  ++executor.started;
  return true;
}

}  // namespace

int start_executor(int requested) {
  if (executor.configured > 1) {
    return executor.configured;
  }
  stop_executor();  // The idle workers of a start that failed, if there was one.
  executor.active.store(1);
  int workers = requested >= 1 ? requested : std::max(mp_get_numcpu(0), 1);
  workers = std::min(workers, kWorkersMax);
  if (workers < 2) {
    return workers;
  }
  if (!create_queue(workers)) {
    delete_queue();
    return 1;
  }
  for (int i = 0; i < workers; ++i) {
    if (!start_worker(i)) {
      // The workers that run already stay idle, and their queue with them, until the stop.
      msgerror("SMP: Can't create MP thread: %d\n", i);
      return 1;
    }
  }
  executor.configured = workers;
  executor.active.store(workers);
  return workers;
}

void stop_executor() {
  if (executor.ring == nullptr) {
    return;
  }
  smp_entry_t quit = {};
  quit.quit = 1;
  push_parts(quit, executor.started);
  for (int i = 0; i < executor.started; ++i) {
    mp_join_thread(executor.workers[i].thread, kJoinTimeoutMs);
  }
  delete_queue();
  executor.started = 0;
  executor.configured = 1;
}

}  // namespace orsin

using namespace orsin;

void smp_exec(void (*function)(), void* a1, void* a2, void* a3, void* a4, void* a5, void* a6) {
  if (function == nullptr) {
    return;
  }
  const int parts = executor.active.load(std::memory_order_relaxed);
  std::atomic<int> done = 0;
  const smp_entry_t job = {0, 0, function, {a1, a2, a3, a4, a5, a6}, parts, &done};
  if (parts < 2) {
    call(job);
    return;
  }
  push_parts(job, parts);
  wait_for_all(done, parts);
}

int smp_id() {
  if (executor.part_key == nullptr) {
    return 0;
  }
  const auto* part = static_cast<const int*>(mp_getspecific(executor.part_key));
  return part != nullptr ? *part : 0;
}

int smp_numprocs() {
  return executor.active.load(std::memory_order_relaxed);
}

int smp_is_spawned() {
  if (executor.part_key == nullptr) {
    return 0;
  }
  const auto* part = static_cast<const int*>(mp_getspecific(executor.part_key));
  return part != nullptr && *part != kBetweenJobs ? 1 : 0;
}
