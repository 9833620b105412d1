// smp_exec() against the Windows thread pool, oneTBB and a thread a part, each with as many workers as
// the call has parts: the number behind the row's name.
//
//   BackToBack   empty parts, one call after the other: the price of a fork and join. Good with two
//                workers: 8 times as fast as the thread pool. With more workers than processors all
//                of them have to have their turn; good: ahead of a thread a part, level with oneTBB.
//   AfterAGap    the same after 2 ms without work, when the workers sleep; only the call is timed.
//                Good: at most 0.8 of oneTBB's time.
//   MemoryBound  32 MiB summed, a piece a part: the executor must not be in the way. Good: within 5%
//                of the fastest.
//
// Linked with the library's objects rather than the DLL, so that the workers start without the rest
// of start-up. oneTBB is Debian's, built for Windows; it runs parts on the calling thread too.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <numeric>
#include <thread>
#include <vector>

#include "base/clock.h"
#include "base/win/windows.h"
#include "orsincore/threads.h"
#include "threads/executor.h"

#ifdef ORSIN_RIVAL_TBB
#include <tbb/global_control.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>
#endif

namespace {

constexpr int kGapMs = 2;

using Part = void (*)(int part, void* argument);

class SmpExec {
 public:
  explicit SmpExec(int parts) {
    orsin::start_clock();
    orsin::start_executor(parts);
  }
  ~SmpExec() { orsin::stop_executor(); }
  SmpExec(const SmpExec&) = delete;
  SmpExec& operator=(const SmpExec&) = delete;

  void run(Part part, void* argument) {
    smp_exec(reinterpret_cast<void (*)()>(&call), reinterpret_cast<void*>(part), argument, nullptr,
             nullptr, nullptr, nullptr);
  }

 private:
  static void call(void* part, void* argument, void*, void*, void*, void*) {
    reinterpret_cast<Part>(part)(smp_id(), argument);
  }
};

class WindowsPool {
 public:
  explicit WindowsPool(int parts) : work_(static_cast<std::size_t>(parts)) {
    InitializeThreadpoolEnvironment(&environment_);
    pool_ = CreateThreadpool(nullptr);
    SetThreadpoolThreadMinimum(pool_, static_cast<DWORD>(parts));
    SetThreadpoolThreadMaximum(pool_, static_cast<DWORD>(parts));
    SetThreadpoolCallbackPool(&environment_, pool_);
    for (Work& work : work_) {
      work = {static_cast<int>(&work - work_.data()), nullptr, nullptr, nullptr};
      work.work = CreateThreadpoolWork(call, &work, &environment_);
    }
  }
  ~WindowsPool() {
    for (Work& work : work_) {
      CloseThreadpoolWork(work.work);
    }
    CloseThreadpool(pool_);
  }
  WindowsPool(const WindowsPool&) = delete;
  WindowsPool& operator=(const WindowsPool&) = delete;

  void run(Part part, void* argument) {
    for (Work& work : work_) {
      work.run = part;
      work.argument = argument;
      SubmitThreadpoolWork(work.work);
    }
    for (Work& work : work_) {
      WaitForThreadpoolWorkCallbacks(work.work, FALSE);
    }
  }

 private:
  struct Work {
    int part;
    Part run;
    void* argument;
    PTP_WORK work;
  };
  static void CALLBACK call(PTP_CALLBACK_INSTANCE, void* context, PTP_WORK) {
    const auto* work = static_cast<const Work*>(context);
    work->run(work->part, work->argument);
  }

  TP_CALLBACK_ENVIRON environment_;
  PTP_POOL pool_ = nullptr;
  std::vector<Work> work_;
};

// Started for the call and joined after it.
class ThreadAPart {
 public:
  explicit ThreadAPart(int parts) : threads_(static_cast<std::size_t>(parts)) {}
  void run(Part part, void* argument) {
    int number = 0;
    for (std::thread& thread : threads_) {
      thread = std::thread(part, number++, argument);
    }
    for (std::thread& thread : threads_) {
      thread.join();
    }
  }

 private:
  std::vector<std::thread> threads_;
};

#ifdef ORSIN_RIVAL_TBB
class OneTbb {
 public:
  explicit OneTbb(int parts)
      : parts_(parts),
        threads_(tbb::global_control::max_allowed_parallelism, static_cast<std::size_t>(parts)),
        arena_(parts) {}
  void run(Part part, void* argument) {
    arena_.execute([=, this] {
      tbb::parallel_for(
          0, parts_, [=](int i) { part(i, argument); }, tbb::simple_partitioner());
    });
  }

 private:
  int parts_;
  tbb::global_control threads_;
  tbb::task_arena arena_;  // By itself it would be as wide as the machine.
};
#endif

// Registers the job for every rival, with each of these numbers of workers.
#ifdef ORSIN_RIVAL_TBB
#define ORSIN_RACE(job, ...)                        \
  BENCHMARK_TEMPLATE(job, SmpExec) __VA_ARGS__;     \
  BENCHMARK_TEMPLATE(job, WindowsPool) __VA_ARGS__; \
  BENCHMARK_TEMPLATE(job, ThreadAPart) __VA_ARGS__; \
  BENCHMARK_TEMPLATE(job, OneTbb) __VA_ARGS__
#else
#define ORSIN_RACE(job, ...)                        \
  BENCHMARK_TEMPLATE(job, SmpExec) __VA_ARGS__;     \
  BENCHMARK_TEMPLATE(job, WindowsPool) __VA_ARGS__; \
  BENCHMARK_TEMPLATE(job, ThreadAPart) __VA_ARGS__
#endif

int parts_of(const benchmark::State& state) {
  return static_cast<int>(state.range(0));
}

void do_nothing(int /*part*/, void* /*argument*/) {}

template <typename Pool>
void BackToBack(benchmark::State& state) {
  Pool pool(parts_of(state));
  for (auto _ : state) {
    pool.run(do_nothing, nullptr);
  }
  state.SetItemsProcessed(state.iterations());
}
ORSIN_RACE(BackToBack, ->Arg(2)->Arg(8)->Arg(32)->Arg(128)->UseRealTime());

template <typename Pool>
void AfterAGap(benchmark::State& state) {
  using Clock = std::chrono::steady_clock;
  Pool pool(parts_of(state));
  for (auto _ : state) {
    Sleep(kGapMs);
    const auto start = Clock::now();
    pool.run(do_nothing, nullptr);
    state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
  }
  state.SetItemsProcessed(state.iterations());
}
ORSIN_RACE(AfterAGap, ->Arg(2)->UseManualTime()->Iterations(500));

struct Numbers {
  explicit Numbers(int parts) : sums(static_cast<std::size_t>(parts)) {}
  std::vector<std::uint64_t> numbers = std::vector<std::uint64_t>(4 << 20, 1);
  std::vector<std::uint64_t> sums;  // Of each part's piece.
};

void sum_piece(int part, void* argument) {
  auto* the = static_cast<Numbers*>(argument);
  const auto piece = static_cast<std::ptrdiff_t>(the->numbers.size() / the->sums.size());
  const auto begin = the->numbers.begin() + part * piece;
  the->sums[static_cast<std::size_t>(part)] =
      std::accumulate(begin, begin + piece, std::uint64_t{0});
}

template <typename Pool>
void MemoryBound(benchmark::State& state) {
  Pool pool(parts_of(state));
  const auto numbers = std::make_unique<Numbers>(parts_of(state));
  for (auto _ : state) {
    pool.run(sum_piece, numbers.get());
    benchmark::DoNotOptimize(numbers->sums.data());
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(numbers->numbers.size() *
                                                                         sizeof(std::uint64_t)));
}
ORSIN_RACE(MemoryBound, ->Arg(2)->Arg(32)->UseRealTime());

}  // namespace
