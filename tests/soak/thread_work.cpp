// The executor from two threads at once, the background worker, and threads that come and go.
#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "orsincore/memory.h"
#include "orsincore/threads.h"
#include "tests/soak/site.h"

namespace orsin::soak {
namespace {

class ExecutorWork : public Work {
 public:
  explicit ExecutorWork(std::uint64_t seed) : Work("executor", seed), from_(kBytes), to_(kBytes) {}

  void step() override {
    for (int i = 0; i < 20; ++i) {
      add_up();
    }
    copy();
    mp_timedwait(kPauseNs);
  }

 private:
  static constexpr std::size_t kBytes = 2 << 20;
  static constexpr long long kPauseNs = 2'000'000;

  static void add_part(std::atomic<long long>* sum, const int* count) {
    for (int i = smp_id(); i < *count; i += smp_numprocs()) {
      *sum += i;
    }
  }

  void add_up() {
    std::atomic<long long> sum = 0;
    int count = static_cast<int>(dice_.below(5000));
    smp_exec(reinterpret_cast<void (*)()>(
                 static_cast<void (*)(void*, void*, void*, void*, void*, void*)>(
                     [](void* a, void* b, void*, void*, void*, void*) {
                       add_part(static_cast<std::atomic<long long>*>(a), static_cast<int*>(b));
                     })),
             &sum, &count, nullptr, nullptr, nullptr, nullptr);
    const long long expected = static_cast<long long>(count) * (count - 1) / 2;
    if (expect(sum == expected, "smp_exec left parts out")) {
      count_done();
    }
  }

  void copy() {
    const std::size_t size = dice_.below(kBytes);
    fill_pattern(++number_, from_.data(), size);
    memcpy_mt(to_.data(), from_.data(), size);
    if (expect(std::memcmp(to_.data(), from_.data(), size) == 0, "memcpy_mt copied other bytes")) {
      count_done();
    }
  }

  std::vector<unsigned char> from_;
  std::vector<unsigned char> to_;
  std::uint64_t number_ = 0;
};

class BackgroundWork : public Work {
 public:
  explicit BackgroundWork(std::uint64_t seed) : Work("worker", seed) {}

  void step() override {
    constexpr std::size_t kWaitingMax = 64;
    std::array<Job, kWaitingMax> jobs;
    const std::size_t count = 1 + dice_.below(kWaitingMax);
    for (std::size_t i = 0; i < count; ++i) {
      jobs[i].counter = &ran_;
      jobs[i].Start();
    }
    OV_Thread::Flush();
    started_ += count;
    if (expect(ran_ == started_, "the worker ran " + std::to_string(ran_) + " of " +
                                     std::to_string(started_) + " jobs")) {
      count_done(count);
    }
    if (dice_.once_in(100)) {
      OV_Thread::Destroy();
      const Job next;  // Starts a new worker: at each rest there is one.
    }
    mp_timedwait(1'000'000);
  }

 private:
  struct Job : OV_Thread {
    void Run() override { ++*counter; }
    std::atomic<std::uint64_t>* counter = nullptr;
  };

  std::atomic<std::uint64_t> ran_ = 0;
  std::uint64_t started_ = 0;
};

class ThreadWork : public Work {
 public:
  explicit ThreadWork(std::uint64_t seed) : Work("threads", seed) {}

  void step() override {
    std::array<unsigned int, 4> threads = {};
    std::atomic<int> ran = 0;
    for (unsigned int& thread : threads) {
      thread = mp_start_thread("Visitor", visit, &ran);
    }
    for (const unsigned int thread : threads) {
      expect(mp_join_thread(thread, 60'000) == 1, "a thread does not end");
    }
    if (expect(ran == static_cast<int>(threads.size()), "a thread did not run, or had no name")) {
      count_done(threads.size());
    }
    if (dice_.once_in(2)) {
      leave_one_alone();
    }
    mp_timedwait(5'000'000);
  }

 private:
  static void visit(void* argument) {
    __tls_key_str* const key = mp_key_create();
    mp_setspecific(key, argument);
    auto* const ran = static_cast<std::atomic<int>*>(mp_getspecific(key));
    mp_key_delete(key);
    if (std::strcmp(mp_get_thread_name(), "Visitor") == 0) {
      ++*ran;
    }
  }

  // A thread that nobody joins; it is waited for by what it does last.
  void leave_one_alone() {
    left_ = false;
    mp_detach_thread(static_cast<int>(mp_start_thread(
        "Loner", [](void* self) { static_cast<ThreadWork*>(self)->left_ = true; }, this)));
    while (!left_) {
      mp_yield();
    }
    count_done();
  }

  std::atomic<bool> left_ = false;
};

}  // namespace

Works thread_works(std::uint64_t seed) {
  Works works;
  works.push_back(std::make_unique<ExecutorWork>(seed));
  works.push_back(std::make_unique<ExecutorWork>(seed + 1));
  works.push_back(std::make_unique<BackgroundWork>(seed + 2));
  works.push_back(std::make_unique<ThreadWork>(seed + 3));
  return works;
}

}  // namespace orsin::soak
