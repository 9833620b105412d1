// How long the library waits for what does not come, by the clock of a simulated machine.
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <string>
#include <utility>

#include "base/library_locks.h"
#include "base/program_paths.h"
#include "orsincore/io.h"
#include "orsincore/log.h"
#include "orsincore/memory.h"
#include "orsincore/threads.h"
#include "startup/log_file.h"
#include "tests/simulation/beside.h"
#include "tests/simulation/library_session.h"
#include "tests/simulation/run.h"
#include "threads/executor.h"

namespace orsin::simulation {
namespace {

// Which steps take besides.
constexpr Nanoseconds kStepsMax = kMillisecond / 2;

std::string failure_of(void (*story)(Pass& pass)) {
  const Scenario scenario = {"waiting", story};
  return Runner(scenario).trouble();
}

template <typename Wait>
void expect_wait_of(Pass& pass, Nanoseconds expected, const Wait& wait) {
  const Nanoseconds before = pass.it.schedule.now();
  wait();
  const Nanoseconds waited = pass.it.schedule.now() - before;
  ORSIN_EXPECT(waited >= expected && waited < expected + kStepsMax, "waited %lld ns",
               static_cast<long long>(waited));
}

class LongWork : public OV_Thread {
 public:
  void Run() override { mp_timedwait(40 * kSecond); }
};

TEST(Waits, ForTheBackgroundWorkerEndAfterThirtySeconds) {
  const std::string failure = failure_of([](Pass& pass) {
    LibrarySession session;
    const Inside library;
    LongWork work;
    work.Start();
    mp_timedwait(kSecond);
    expect_wait_of(pass, 30 * kSecond, [] { OV_Thread::Destroy(); });
    ORSIN_EXPECT(session.has_warned(), "in silence");
    mp_timedwait(20 * kSecond);  // The work goes before it.
  });

  EXPECT_EQ(failure, "");
}

void work_long(void*, void*, void*, void*, void*, void*) {
  mp_timedwait(150 * kSecond);
}

// What they still use is there until they have ended, and not longer.
TEST(Waits, ForEachWorkerOfTheExecutorEndAfterAMinute) {
  const std::string failure = failure_of([](Pass& pass) {
    LibrarySession session;
    const Inside library;
    ORSIN_EXPECT(start_executor(2) == 2, "no executor");
    const Beside other(pass, [] {
      const Inside inside;
      smp_exec(reinterpret_cast<void (*)()>(work_long), nullptr, nullptr, nullptr, nullptr, nullptr,
               nullptr);
    });
    mp_timedwait(kSecond);
    expect_wait_of(pass, 120 * kSecond, [] { stop_executor(); });
    mp_timedwait(60 * kSecond);
  });

  EXPECT_EQ(failure, "");
}

// All slots are taken by transfers that take long: who wants one waits for the oldest, and says so.
TEST(Waits, ForASlotAreToldAfterASecond) {
  const std::string failure = failure_of([](Pass& pass) {
    constexpr int kSlots = 96;
    constexpr Nanoseconds kMoment = kMillisecond / 2;
    static char bytes[kSlots + 1];
    LibrarySession session;
    const Inside library;
    pass.it.transfers.pend_one_in = 1;
    pass.it.transfers.latency = 1000 * kSecond;
    pass.it.disk.put("C:\\a", Content::made_of(1, 16));
    void* file = io_open64("C:\\a", 0, false, true, true);
    for (int i = 0; i < kSlots; ++i) {
      ORSIN_EXPECT(io_read_async64(file, &bytes[i], 0, 1, nullptr), "refused");
    }
    const Beside observer(pass, [&pass, &session] {
      pass.it.schedule.sleep(kSecond - kMoment);
      ORSIN_EXPECT(!session.has_warned(), "said too early");
      pass.it.schedule.sleep(2 * kMoment);
      ORSIN_EXPECT(session.has_warned(), "not said");
    });
    ORSIN_EXPECT(io_read_async64(file, &bytes[kSlots], 0, 1, nullptr), "refused");
    io_close64(file);
  });

  EXPECT_EQ(failure, "");
}

// Closedown goes on without a lock whose owner waits for something that does not come.
TEST(Waits, ForALockOfTheLibraryEndAfterTwoSeconds) {
  const std::string failure = failure_of([](Pass& pass) {
    static LibraryMutex lock(LockRank::kDirectReads);
    const LibrarySession session;
    const Inside library;
    ORSIN_EXPECT(lock.create(), "no lock");
    const Beside owner(pass, [] {
      __mutex_str* const mutex = lock.handle();
      mp_get_mutex(mutex);
      mp_timedwait(10 * kSecond);
      mp_release_mutex(mutex);
    });
    mp_timedwait(kSecond);
    expect_wait_of(pass, 2 * kSecond, [] { const AllLibraryLocks all; });
    ORSIN_EXPECT(!lock.exists(), "asked for again");
  });

  EXPECT_EQ(failure, "");
}

TEST(Waits, ForRoomInAHeapEndAfterTenLooksInASecond) {
  const std::string failure = failure_of([](Pass& pass) {
    constexpr std::uint64_t kBytes = 64 * 1024;
    const LibrarySession session;
    const Inside library;
    _mheap* heap = mheap_initialize("Simulated", kBytes, 16, MHEAP_DISCARD, 0);
    void* held = nullptr;
    void* refused = nullptr;
    ORSIN_EXPECT(mheap_alloc_lock(heap, kBytes / 2, &held) == 1, "no block");
    expect_wait_of(pass, kSecond, [&] {
      ORSIN_EXPECT(mheap_alloc_lock(heap, kBytes * 3 / 4, &refused) < 0, "room beside it");
    });
    mheap_unlock(heap, &held);
    mheap_free(heap, &held);
    mheap_destroy(heap);
  });

  EXPECT_EQ(failure, "");
}

// A predecessor that does not let its log go.
TEST(Waits, ForALogThatSomebodyWritesEndAfterHalfASecond) {
  const std::string failure = failure_of([](Pass& pass) {
    const LibrarySession session;
    const auto open = [] {
      const Inside library;
      set_paths_and_open_log("Take", nullptr, false);
    };
    const auto close = [&pass] {
      const Inside library;
      msg_close();
      if (std::FILE* stream = std::exchange(pass.it.standard_error, nullptr)) {
        std::fclose(stream);
      }
    };
    open();
    close();
    port::OpenMode mode;
    mode.write = mode.share_read = true;
    std::shared_ptr<OpenedFile> holder;
    bool existed = false;
    ORSIN_EXPECT(pass.it.disk.open(program_paths().log_file, mode, holder, existed) == 0, "closed");

    expect_wait_of(pass, kSecond / 2, open);
    close();
  });

  EXPECT_EQ(failure, "");
}

}  // namespace
}  // namespace orsin::simulation
