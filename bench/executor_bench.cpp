// smp_exec() with two workers against the Windows thread pool and oneTBB with two threads.
//
//   BackToBack   empty jobs, one call after the other: the price of a fork and join. Good: 8 times
//   as
//                fast as the thread pool.
//   AfterAGap    the same after 2 ms without work, when the workers sleep; only the call is timed.
//                Good: at most 0.8 of oneTBB's time.
//   MemoryBound  two halves of 32 MiB summed: the executor must not be in the way. Good: within 5%
//   of
//                the fastest.
//
// Linked with the library's objects rather than the DLL, so that the workers start without the rest
// of start-up. oneTBB is Debian's, built for Windows; it runs a part on the calling thread too.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <numeric>
#include <vector>

#include "base/clock.h"
#include "base/win/windows.h"
#include "orsincore/threads.h"
#include "threads/executor.h"

#ifdef ORSIN_RIVAL_TBB
#include <tbb/global_control.h>
#include <tbb/parallel_for.h>
#endif

namespace {

constexpr int kParts = 2;
constexpr int kGapMs = 2;

using Part = void (*)(int part, void* argument);

class SmpExec {
 public:
  SmpExec() {
    orsin::start_clock();
    orsin::start_executor(kParts);
  }
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
  WindowsPool() {
    InitializeThreadpoolEnvironment(&environment_);
    pool_ = CreateThreadpool(nullptr);
    SetThreadpoolThreadMinimum(pool_, kParts);
    SetThreadpoolThreadMaximum(pool_, kParts);
    SetThreadpoolCallbackPool(&environment_, pool_);
    for (int i = 0; i < kParts; ++i) {
      work_[i] = {i, nullptr, nullptr, nullptr};
      work_[i].work = CreateThreadpoolWork(call, &work_[i], &environment_);
    }
  }
  ~WindowsPool() {
    for (Work& work : work_) {
      CloseThreadpoolWork(work.work);
    }
    CloseThreadpool(pool_);
  }
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
  Work work_[kParts];
};

#ifdef ORSIN_RIVAL_TBB
class OneTbb {
 public:
  void run(Part part, void* argument) {
    tbb::parallel_for(
        0, kParts, [=](int i) { part(i, argument); }, tbb::simple_partitioner());
  }

 private:
  tbb::global_control two_threads_{tbb::global_control::max_allowed_parallelism, kParts};
};
#endif

void do_nothing(int /*part*/, void* /*argument*/) {}

template <typename Pool>
void BackToBack(benchmark::State& state) {
  Pool pool;
  for (auto _ : state) {
    pool.run(do_nothing, nullptr);
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK_TEMPLATE(BackToBack, SmpExec)->UseRealTime();
BENCHMARK_TEMPLATE(BackToBack, WindowsPool)->UseRealTime();
#ifdef ORSIN_RIVAL_TBB
BENCHMARK_TEMPLATE(BackToBack, OneTbb)->UseRealTime();
#endif

template <typename Pool>
void AfterAGap(benchmark::State& state) {
  using Clock = std::chrono::steady_clock;
  Pool pool;
  for (auto _ : state) {
    Sleep(kGapMs);
    const auto start = Clock::now();
    pool.run(do_nothing, nullptr);
    state.SetIterationTime(std::chrono::duration<double>(Clock::now() - start).count());
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK_TEMPLATE(AfterAGap, SmpExec)->UseManualTime()->Iterations(500);
BENCHMARK_TEMPLATE(AfterAGap, WindowsPool)->UseManualTime()->Iterations(500);
#ifdef ORSIN_RIVAL_TBB
BENCHMARK_TEMPLATE(AfterAGap, OneTbb)->UseManualTime()->Iterations(500);
#endif

struct Halves {
  std::vector<std::uint64_t> numbers = std::vector<std::uint64_t>(4 << 20, 1);
  std::uint64_t sums[kParts] = {};
};

void sum_half(int part, void* argument) {
  auto* halves = static_cast<Halves*>(argument);
  const auto half = static_cast<std::ptrdiff_t>(halves->numbers.size() / kParts);
  const auto begin = halves->numbers.begin() + part * half;
  halves->sums[part] = std::accumulate(begin, begin + half, std::uint64_t{0});
}

template <typename Pool>
void MemoryBound(benchmark::State& state) {
  Pool pool;
  const auto halves = std::make_unique<Halves>();
  for (auto _ : state) {
    pool.run(sum_half, halves.get());
    benchmark::DoNotOptimize(halves->sums);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(halves->numbers.size() *
                                                                         sizeof(std::uint64_t)));
}
BENCHMARK_TEMPLATE(MemoryBound, SmpExec)->UseRealTime();
BENCHMARK_TEMPLATE(MemoryBound, WindowsPool)->UseRealTime();
#ifdef ORSIN_RIVAL_TBB
BENCHMARK_TEMPLATE(MemoryBound, OneTbb)->UseRealTime();
#endif

}  // namespace
