// The background worker: one thread that runs objects in the order in which they were started.
//
//   Start      puts a run command into the ring, and drops it when the ring is full
//   the worker takes commands one by one; a quit command ends it
//   Flush      puts an object of its own behind everything else and waits until that has run
//   Destroy    puts the quit command behind everything else and waits for the thread
//
// Unlike Start(), the latter two wait for room in a full ring: a flush that is dropped would never
// return, and a quit that is dropped would leave the worker behind.
//
// The worker's state belongs to all who are using it: the process until Destroy(), the thread until
// it ends, and each call while it lasts. The last one deletes it. So Destroy() may overlap with
// other calls, and a worker that does not end in time never meets a queue that is gone.
//
// Locks: the mutex of `Background` guards the pointer to the worker and is held while a worker is
// started. A worker's own mutex guards its flags; its ring's mutex comes after it. None is held
// during a Run() or a wait for the thread.
#include "threads/background_worker.h"

#include <atomic>
#include <cstddef>
#include <new>

#include "base/library_locks.h"
#include "threads/deadline.h"
#include "threads/thread_table.h"

namespace orsin {
namespace {

constexpr int kCommandsMax = 64;
constexpr std::uint32_t kQuitTimeoutMs = 30000;

static_assert(offsetof(ov_run_cmd, code) == 0);
static_assert(offsetof(ov_run_cmd, object) == 8);
static_assert(sizeof(ov_run_cmd) == 16);

struct Worker {
  // Constant once the thread runs.
  unsigned int thread = kNoThread;
  __cond_str* work = nullptr;      // Something was queued.
  __cond_str* progress = nullptr;  // A command is done, or the worker has ended.

  ov_queue<ov_run_cmd> queue{kCommandsMax};
  Mutex mutex;
  bool is_running ORSIN_GUARDED_BY(mutex) = false;
  bool is_stopping ORSIN_GUARDED_BY(mutex) = false;  // The quit command is queued: nothing follows.

  std::atomic<int> owners = 1;
  std::atomic<int> watchers = 0;  // Who waits for progress. Raised before the ring is looked at.
  std::atomic<bool> is_abandoned = false;

  Worker() {
    mutex.create();
    work = mp_new_cond_block();
    progress = mp_new_cond_block();
  }
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;
  ~Worker() {
    mp_delete_cond_block(progress);
    mp_delete_cond_block(work);
    mutex.destroy();
  }

  [[nodiscard]] bool is_complete() const {
    return mutex.exists() && work != nullptr && progress != nullptr && queue.capacity() > 0;
  }
};

struct Background {
  LibraryMutex mutex{LockRank::kBackgroundWorker};
  std::atomic<Worker*> worker = nullptr;  // Written under the mutex.
};

constinit Background background;

void let_go(Worker* worker) {
  if (worker->owners.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    delete worker;
  }
}

// The worker, for as long as this lives; null when there is none.
class WorkerInUse {
 public:
  WorkerInUse() {
    const ScopedLock guard(background.mutex);
    worker_ = background.worker.load(std::memory_order_relaxed);
    if (worker_ != nullptr) {
      worker_->owners.fetch_add(1, std::memory_order_relaxed);
    }
  }
  ~WorkerInUse() {
    if (worker_ != nullptr) {
      // The analyzer does not see that this one is counted among the owners.
      let_go(worker_);  // NOLINT(clang-analyzer-cplusplus.NewDelete)
    }
  }
  WorkerInUse(const WorkerInUse&) = delete;
  WorkerInUse& operator=(const WorkerInUse&) = delete;

  [[nodiscard]] Worker* get() const { return worker_; }

 private:
  Worker* worker_;
};

// ---------------------------------------------------------------------------------------------
// The thread
// ---------------------------------------------------------------------------------------------

// Waits for a command. False when nobody cares any more.
bool take(Worker& worker, ov_run_cmd& command) {
  while (!worker.is_abandoned.load()) {
    if (worker.queue.take(command)) {
      return true;
    }
    const ScopedLock guard(worker.mutex);
    while (worker.queue.count() == 0 && !worker.is_abandoned.load()) {
      mp_cond_wait(worker.work, worker.mutex.handle());
    }
  }
  return false;
}

void report_progress(Worker& worker) {
  if (worker.watchers.load() > 0) {
    const ScopedLock guard(worker.mutex);
    mp_cond_broadcast(worker.progress);
  }
}

void run_worker(void* argument) {
  auto* worker = static_cast<Worker*>(argument);
  ov_run_cmd command = {};
  while (take(*worker, command) && command.code != kQuitCommand) {
    if (command.code == kRunCommand && command.object != nullptr) {
      command.object->Run();
    }
    report_progress(*worker);
  }
  {
    const ScopedLock guard(worker->mutex);
    worker->is_running = false;
    mp_cond_broadcast(worker->progress);
  }
  let_go(worker);
}

// ---------------------------------------------------------------------------------------------
// Those who queue
// ---------------------------------------------------------------------------------------------

// A full ring drops the command; so does a worker that is about to end.
void queue_command(Worker& worker, const ov_run_cmd& command) {
  const ScopedLock guard(worker.mutex);
  if (!worker.is_stopping && worker.queue.push(command)) {
    mp_cond_signal(worker.work);
  }
}

// Waits for room; false when the worker ends or the time is over first.
bool queue_when_there_is_room_locked(Worker& worker, const ov_run_cmd& command,
                                     const Deadline& deadline) ORSIN_REQUIRES(worker.mutex) {
  while (!worker.is_stopping) {
    if (worker.queue.push(command)) {
      mp_cond_signal(worker.work);
      return true;
    }
    if (!deadline.wait(worker.progress, worker.mutex)) {
      return false;
    }
  }
  return false;
}

class OV_TFlush : public OV_Thread {
 public:
  void Run() override { done_.store(1); }
  [[nodiscard]] bool is_done() const { return done_.load() != 0; }

 private:
  std::atomic<int> done_ = 0;
};

void flush(Worker& worker) {
  OV_TFlush flushed;
  const ScopedLock guard(worker.mutex);
  worker.watchers.fetch_add(1);
  // A worker that is about to end takes nothing more, but still runs what it has.
  queue_when_there_is_room_locked(worker, {kRunCommand, &flushed}, Deadline());
  while (!flushed.is_done() && worker.is_running) {
    mp_cond_wait(worker.progress, worker.mutex.handle());
  }
  worker.watchers.fetch_sub(1);
}

// True for the one call that is to end the worker.
bool queue_quit(Worker& worker, const Deadline& deadline) {
  const ScopedLock guard(worker.mutex);
  if (worker.is_stopping) {
    return false;
  }
  worker.watchers.fetch_add(1);
  const bool is_queued = queue_when_there_is_room_locked(worker, {kQuitCommand, nullptr}, deadline);
  worker.watchers.fetch_sub(1);
  const bool is_ours = is_queued || !worker.is_stopping;  // Not when another call was faster.
  worker.is_stopping = true;
  return is_ours;
}

void start_background_worker() {
  if (background.worker.load(std::memory_order_acquire) != nullptr || !background.mutex.create()) {
    return;
  }
  const ScopedLock guard(background.mutex);
  if (background.worker.load(std::memory_order_relaxed) != nullptr) {
    return;
  }
  auto* worker = new (std::nothrow) Worker;
  if (worker == nullptr || !worker->is_complete()) {
    delete worker;
    return;
  }
  // The flag is up before the thread runs: a Destroy() that comes first must not miss it.
  {
    const ScopedLock running(worker->mutex);
    worker->is_running = true;
  }
  worker->owners.store(2, std::memory_order_relaxed);  // The process and the thread.
  worker->thread = mp_start_thread("OV_Worker", run_worker, worker);
  if (worker->thread == kNoThread) {
    delete worker;
    return;
  }
  background.worker.store(worker, std::memory_order_release);
}

}  // namespace

void stop_background_worker(std::uint32_t timeout_ms) {
  const WorkerInUse in_use;
  Worker* worker = in_use.get();
  const Deadline deadline(timeout_ms);
  if (worker == nullptr || !queue_quit(*worker, deadline)) {
    return;
  }
  if (mp_join_thread(worker->thread, deadline.left_ms()) == 0) {
    const ScopedLock guard(worker->mutex);
    worker->is_abandoned.store(true);  // What it would still find in its ring may be gone by then.
    mp_cond_signal(worker->work);
  }
  {
    const ScopedLock guard(background.mutex);
    background.worker.store(nullptr, std::memory_order_relaxed);
  }
  let_go(worker);
}

// Its own mutex may have been ended with it, so it is left where it is.
void forget_background_worker() {
  background.worker.store(nullptr, std::memory_order_relaxed);
}

}  // namespace orsin

using namespace orsin;

OV_Thread::OV_Thread() {
  start_background_worker();
}

OV_Thread::OV_Thread(const OV_Thread& /*other*/) {}

OV_Thread& OV_Thread::operator=(const OV_Thread& /*other*/) = default;

OV_Thread::~OV_Thread() = default;

void OV_Thread::Start() {
  const WorkerInUse worker;
  if (worker.get() != nullptr) {
    queue_command(*worker.get(), {kRunCommand, this});
  }
}

void OV_Thread::Run() {}

void OV_Thread::Flush() {
  const WorkerInUse worker;
  if (worker.get() != nullptr) {
    flush(*worker.get());
  }
}

void OV_Thread::Destroy() {
  stop_background_worker(kQuitTimeoutMs);
}
