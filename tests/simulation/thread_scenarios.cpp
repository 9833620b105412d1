// Executor, background worker and streams, from start to stop, with others at work beside them.
#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "orsincore/files.h"
#include "orsincore/io.h"
#include "orsincore/threads.h"
#include "tests/simulation/library_session.h"
#include "tests/simulation/scenario.h"
#include "threads/executor.h"

namespace orsin::simulation {
namespace {

// Runs beside the scenario until it is let go; what it does is the host's own.
class Beside {
 public:
  Beside(Pass& pass, std::function<void()> work) : it_(pass.it), work_(std::move(work)) {
    it_.schedule.start(
        [this] {
          work_();
          is_over_ = true;
          it_.schedule.wake_all(this);
        },
        nullptr);
  }
  ~Beside() {
    while (!is_over_) {
      static_cast<void>(it_.schedule.wait(this, "a scenario's thread"));
    }
  }
  Beside(const Beside&) = delete;
  Beside& operator=(const Beside&) = delete;

 private:
  Machine& it_;
  std::function<void()> work_;
  bool is_over_ = false;
};

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

// A reader that jumps about, while the host keeps many transfers of its own in flight.
void read_beside_others(Pass& pass) {
  constexpr char kFile[] = "C:\\media\\frames.raw";
  static constexpr char kOthers[] = "C:\\media\\other.raw";
  constexpr std::uint64_t kSize = 300000;
  static constexpr std::uint32_t kPiece = 4096;
  const Content content = Content::made_of(7, kSize);
  pass.it.disk.put(kFile, Content::made_of(7, kSize));
  pass.it.disk.put(kOthers, Content::made_of(8, kSize));
  LibrarySession session;
  const Beside others(pass, [] {
    const Inside library;
    void* file = io_open64(kOthers, 0, false, true, true);
    if (file == io_invalid_handle()) {
      return;
    }
    static unsigned char pieces[64][kPiece];
    for (int i = 0; i < 64; ++i) {
      int ticket = 0;
      const long long offset = static_cast<long long>(kPiece) * (i % 8);
      static_cast<void>(io_read_async64(file, pieces[i], offset, kPiece, &ticket));
    }
    io_close64(file);
  });
  const Inside library;
  fReadBuffer reader(io_invalid_handle());
  reader.cfg_buffers(static_cast<int>(pass.choice.between(1, 8)), 1 << pass.choice.between(12, 16),
                     1 << pass.choice.between(12, 16));
  bool all_right = reader.open_file(kFile, true, pass.choice.one_in(2), pass.choice.one_in(2));
  for (int i = 0; all_right && i < 12; ++i) {
    const std::uint64_t position = pass.choice.below(kSize);
    const std::uint64_t wanted = pass.choice.between(1, 40000);
    static unsigned char read[40000];
    static unsigned char expected[40000];
    reader.set_position(position);
    const std::uint64_t bytes = reader.read_file(read, 1, wanted);
    const std::uint64_t there = std::min(wanted, kSize - position);
    ORSIN_EXPECT(bytes <= there, "more bytes were read than there are");
    content.read(position, expected, bytes);
    ORSIN_EXPECT(std::memcmp(read, expected, bytes) == 0, "bytes of another place were read");
    all_right = bytes == there;
  }
  pass.expect_success(all_right, "reading", 0);
  ORSIN_EXPECT(all_right || session.has_complained(), "a read failed, and no line says so");
}

}  // namespace orsin::simulation
