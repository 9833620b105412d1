// Executor and background worker, from start to stop, with others at work beside them.
#include <memory>
#include <new>
#include <vector>

#include "orsincore/threads.h"
#include "tests/simulation/beside.h"
#include "tests/simulation/library_session.h"
#include "tests/simulation/scenario.h"
#include "threads/executor.h"

namespace orsin::simulation {
namespace {

void count_part(void* parts, void*, void*, void*, void*, void*) {
  const int part = smp_numprocs() > 1 ? smp_id() : 0;
  ++static_cast<int*>(parts)[part];
}

// Every part of every call is done exactly once.
void execute(int calls) {
  const Inside library;
  for (int call = 0; call < calls; ++call) {
    int parts[8] = {};
    smp_exec(reinterpret_cast<void (*)()>(count_part), parts, nullptr, nullptr, nullptr, nullptr,
             nullptr);
    const int count = smp_numprocs() > 1 ? smp_numprocs() : 1;
    for (int part = 0; part < count; ++part) {
      ORSIN_EXPECT(parts[part] == 1, "part %d of %d was done %d times", part, count, parts[part]);
    }
  }
}

class CountedWork : public OV_Thread {
 public:
  explicit CountedWork(std::vector<int>& order, int number) : order_(order), number_(number) {}
  void Run() override {
    const Outside outside;
    order_.push_back(number_);
  }

 private:
  std::vector<int>& order_;
  int number_;
};

}  // namespace

void run_executor(Pass& pass) {
  const int wanted = static_cast<int>(pass.choice.between(1, 6));
  const int calls = static_cast<int>(pass.choice.between(1, 6));
  const LibrarySession session;
  {
    const Inside library;
    const int workers = start_executor(wanted);
    pass.expect_success(workers == wanted, "executor", workers);
  }
  {
    const Beside other(pass, [calls] { execute(calls); });
    execute(calls);
  }
  const Inside library;
  stop_executor();
}

void run_worker(Pass& pass) {
  const int count = static_cast<int>(pass.choice.between(1, 20));
  const LibrarySession session;
  std::vector<int> order;
  order.reserve(64);
  std::vector<std::unique_ptr<CountedWork>> works;
  {
    const Inside library;
    for (int i = 0; i < count; ++i) {
      std::unique_ptr<CountedWork> work;
      { work.reset(new (std::nothrow) CountedWork(order, i)); }
      if (work) {
        work->Start();
        const Outside outside;
        works.push_back(std::move(work));
      }
    }
    OV_Thread::Flush();
    const auto done = static_cast<long long>(order.size());
    pass.expect_success(done == count, "background work", done);
    for (std::size_t i = 1; i < order.size(); ++i) {
      ORSIN_EXPECT(order[i] > order[i - 1], "background work was done out of order");
    }
    OV_Thread::Destroy();
    works.clear();
  }
}

}  // namespace orsin::simulation
