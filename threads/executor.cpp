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
// Started and stopped by start-up and closedown while one thread runs. What the workers share belongs to
// all who use it: the process until the stop, each worker until it ends, and each call while it lasts.
// The last one deletes it, so a worker that does not end in time never meets a queue that is gone.
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

struct Pool {
  ov_queue<smp_entry_t> ring;
  Mutex queue_mutex;
  __cond_str* work;
  __cond_str* space;
  Mutex done_mutex;
  __cond_str* done;
  __tls_key_str* part_key;
  Worker workers[kWorkersMax] = {};
  int started = 0;  // Workers that run: all of them, or the idle ones of a start that failed.
  std::atomic<int> queued = 0;
  std::atomic<int> sleepers = 0;
  std::atomic<int> owners = 1;

  explicit Pool(int count)
      : ring(kJobsPerWorker * count),
        work(mp_new_cond_block()),
        space(mp_new_cond_block()),
        done(mp_new_cond_block()),
        part_key(mp_key_create()) {
    queue_mutex.create();
    done_mutex.create();
  }
  ~Pool() {
    done_mutex.destroy();
    queue_mutex.destroy();
    mp_key_delete(part_key);
    mp_delete_cond_block(done);
    mp_delete_cond_block(space);
    mp_delete_cond_block(work);
  }
  Pool(const Pool&) = delete;
  Pool& operator=(const Pool&) = delete;

  [[nodiscard]] bool is_complete() const {
    return ring.capacity() > 0 && queue_mutex.exists() && work != nullptr && space != nullptr &&
           done_mutex.exists() && done != nullptr && part_key != nullptr;
  }
};

struct Executor {
  int configured = 1;
  std::atomic<int> active = 1;
  std::atomic<Pool*> pool = nullptr;
};

constinit Executor executor;

void let_go(Pool* pool) {
  if (pool->owners.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    delete pool;
  }
}

// Pushes parts 0 ... count-1 of a job in one go, and wakes once: all sleeping workers have something
// to do. Only a ring that is full meanwhile makes it let go of the lock.
void push_parts(Pool& pool, smp_entry_t job, int count) {
  const auto next_part = [&job] {
    const smp_entry_t part = job;
    ++job.part;
    return part;
  };
  const ScopedLock guard(pool.queue_mutex);
  for (;;) {
    const int pushed = pool.ring.push_each(count - job.part, next_part);
    pool.queued.fetch_add(pushed, std::memory_order_relaxed);
    mp_cond_broadcast(pool.work);
    if (job.part == count) {
      return;
    }
    mp_cond_wait(pool.space, pool.queue_mutex.handle());
  }
}

smp_entry_t take(Pool& pool) {
  static_cast<void>(
      spin_until([&pool] { return pool.queued.load(std::memory_order_relaxed) > 0; }, kSpinTime));
  const ScopedLock guard(pool.queue_mutex);
  smp_entry_t job = {};
  while (!pool.ring.take(job)) {
    mp_cond_wait(pool.work, pool.queue_mutex.handle());
  }
  pool.queued.fetch_sub(1, std::memory_order_relaxed);
  mp_cond_signal(pool.space);
  return job;
}

// After the last count the caller may be gone, and its counter with it.
void count_done(Pool& pool, const smp_entry_t& job) {
  if (job.done->fetch_add(1) + 1 == job.part_count && pool.sleepers.load() > 0) {
    const ScopedLock guard(pool.done_mutex);
    mp_cond_broadcast(pool.done);
  }
}

void wait_for_all(Pool& pool, const std::atomic<int>& done, int part_count) {
  if (spin_until([&] { return done.load(std::memory_order_acquire) >= part_count; }, kSpinTime)) {
    return;
  }
  const ScopedLock guard(pool.done_mutex);
  pool.sleepers.fetch_add(1);
  while (done.load() < part_count) {
    mp_cond_wait(pool.done, pool.done_mutex.handle());
  }
  pool.sleepers.fetch_sub(1);
}

void call(const smp_entry_t& job) {
  void* const* a = job.arguments;
  reinterpret_cast<JobFunction>(job.function)(a[0], a[1], a[2], a[3], a[4], a[5]);
}

// The calling worker's part; null on any other thread.
const int* own_part() {
  const Pool* pool = executor.pool.load(std::memory_order_acquire);
  return pool != nullptr ? static_cast<const int*>(mp_getspecific(pool->part_key)) : nullptr;
}

void run_worker(void* argument) {
  auto* pool = static_cast<Pool*>(argument);
  // On the stack, not the heap: a worker that could not have its cell would take every part for 0.
  int part = kBetweenJobs;
  mp_setspecific(pool->part_key, &part);
  for (smp_entry_t job = take(*pool); job.quit == 0; job = take(*pool)) {
    if (job.function != nullptr) {
      part = job.part;
      call(job);
      part = kBetweenJobs;
    }
    count_done(*pool, job);
  }
  mp_setspecific(pool->part_key, nullptr);  // The cell goes before the thread does.
  let_go(pool);
}

// Everything but the threads. Null when a piece could not be had.
Pool* make_pool(int workers) {
  auto* pool = new (std::nothrow) Pool(workers);
  if (pool != nullptr && pool->part_key == nullptr) {
    msgerror("SMP: Can't allocate thread local storage..");
  }
  if (pool == nullptr || pool->is_complete()) {
    return pool;
  }
  delete pool;
  return nullptr;
}

bool start_worker(Pool& pool, int index) {
  char name[32];
  std::snprintf(name, sizeof(name), "SMP-%d", index);
  pool.owners.fetch_add(1, std::memory_order_relaxed);
  const unsigned int thread = mp_start_thread(name, run_worker, &pool);
  if (thread == kNoThread) {
    pool.owners.fetch_sub(1, std::memory_order_relaxed);
    return false;
  }
  pool.workers[index] = {index, thread};
  ++pool.started;
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
  Pool* pool = make_pool(workers);
  if (pool == nullptr) {
    return 1;
  }
  executor.pool.store(pool, std::memory_order_release);
  for (int i = 0; i < workers; ++i) {
    if (!start_worker(*pool, i)) {
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
  Pool* pool = executor.pool.load(std::memory_order_relaxed);
  if (pool == nullptr) {
    return;
  }
  smp_entry_t quit = {};
  quit.quit = 1;
  push_parts(*pool, quit, pool->started);
  for (int i = 0; i < pool->started; ++i) {
    mp_join_thread(pool->workers[i].thread, kJoinTimeoutMs);
  }
  executor.pool.store(nullptr, std::memory_order_relaxed);
  executor.configured = 1;
  let_go(pool);
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
  Pool* pool = executor.pool.load(std::memory_order_acquire);
  pool->owners.fetch_add(1, std::memory_order_relaxed);
  push_parts(*pool, job, parts);
  wait_for_all(*pool, done, parts);
  let_go(pool);
}

int smp_id() {
  const int* part = own_part();
  return part != nullptr ? *part : 0;
}

int smp_numprocs() {
  return executor.active.load(std::memory_order_relaxed);
}

int smp_is_spawned() {
  const int* part = own_part();
  return part != nullptr && *part != kBetweenJobs ? 1 : 0;
}
