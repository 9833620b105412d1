#include "threads/background_worker.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "orsincore/threads.h"
#include "tests/support/log_capture.h"
#include "tests/support/new_refusal.h"
#include "tests/support/virtual_table.h"
#include "tests/threads/gate.h"
#include "threads/thread_table.h"

namespace orsin {
namespace {

using test::Gate;
using test::Lines;
using test::LogCapture;

constexpr int kCommandsMax = 64;

// What ran, in order.
class Journal {
 public:
  void add(const std::string& entry) {
    const std::lock_guard guard(mutex_);
    entries_.push_back(entry);
  }
  [[nodiscard]] Lines entries() const {
    const std::lock_guard guard(mutex_);
    return entries_;
  }

 private:
  mutable std::mutex mutex_;
  Lines entries_;
};

class Entry : public OV_Thread {
 public:
  Entry(Journal& journal, std::string name) : journal_(&journal), name_(std::move(name)) {}
  void Run() override { journal_->add(name_ + " on " + mp_get_thread_name()); }

 private:
  Journal* journal_;
  std::string name_;
};

class Counter : public OV_Thread {
 public:
  void Run() override { runs_.fetch_add(1); }
  [[nodiscard]] int runs() const { return runs_.load(); }

 private:
  std::atomic<int> runs_ = 0;
};

// Holds the worker until it is let go.
class Blocker : public OV_Thread {
 public:
  void Run() override {
    entered_.open();
    released_.wait();
    left_.open();
  }
  void start_and_enter() {
    Start();
    entered_.wait();
  }
  void release() { released_.open(); }
  void wait_until_left() { left_.wait(); }

 private:
  Gate entered_;
  Gate released_;
  Gate left_;
};

class BackgroundWorker : public testing::Test {
 protected:
  void TearDown() override {
    OV_Thread::Destroy();
    stop_thread_table();
  }
};

TEST_F(BackgroundWorker, RunsObjectsInTheOrderOfTheirStartsOnOneThread) {
  Journal journal;
  Entry first(journal, "first");
  Entry second(journal, "second");
  Entry third(journal, "third");

  second.Start();
  first.Start();
  third.Start();
  OV_Thread::Flush();

  EXPECT_EQ(journal.entries(),
            (Lines{"second on OV_Worker", "first on OV_Worker", "third on OV_Worker"}));
}

TEST_F(BackgroundWorker, RunsAnObjectAsOftenAsItWasStarted) {
  Counter counter;

  counter.Start();
  counter.Start();
  OV_Thread::Flush();

  EXPECT_EQ(counter.runs(), 2);
}

TEST_F(BackgroundWorker, WakesForEachObjectThatComesAlone) {
  for (int i = 0; i < 50; ++i) {
    Blocker alone;
    alone.start_and_enter();
    alone.release();
    alone.wait_until_left();
  }
}

TEST_F(BackgroundWorker, IsNotThereWithoutMemoryForAnyOfItsPieces) {
  constexpr int kPieces = 4;  // Itself, its mutex, and what it and others wait on.
  { const Counter first; }    // The mutex of all workers stays from now on.
  OV_Thread::Destroy();
  for (int granted = 0; granted < kPieces; ++granted) {
    SCOPED_TRACE(granted);
    std::unique_ptr<Counter> counter;
    {
      const test::NewRefusal refusal(granted, 1);
      counter = std::make_unique<Counter>();
    }
    counter->Start();
    OV_Thread::Flush();
    EXPECT_EQ(counter->runs(), 0);
  }
}

TEST_F(BackgroundWorker, AnObjectWithoutWorkOfItsOwnDoesNothing) {
  Counter counter;
  OV_Thread plain;

  plain.Start();
  counter.Start();
  OV_Thread::Flush();

  EXPECT_EQ(counter.runs(), 1);
}

TEST_F(BackgroundWorker, DropsThe65thCommandWhileTheWorkerIsBusy) {
  Blocker blocker;
  Counter counter;
  blocker.start_and_enter();

  for (int i = 0; i < kCommandsMax + 3; ++i) {
    counter.Start();
  }
  blocker.release();
  OV_Thread::Flush();

  EXPECT_EQ(counter.runs(), kCommandsMax);
}

TEST_F(BackgroundWorker, FlushBeforeAnyObjectReturnsAtOnce) {
  OV_Thread::Flush();

  EXPECT_EQ(thread_record_count(), 0);
}

TEST_F(BackgroundWorker, FlushOfAnEmptyQueueReturns) {
  const Counter counter;

  OV_Thread::Flush();
  OV_Thread::Flush();

  EXPECT_EQ(counter.runs(), 0);
}

TEST_F(BackgroundWorker, FlushWaitsForRoomInAFullQueue) {
  Blocker blocker;
  Counter counter;
  blocker.start_and_enter();
  for (int i = 0; i < kCommandsMax; ++i) {
    counter.Start();
  }

  std::thread flusher([&] {
    OV_Thread::Flush();
    EXPECT_EQ(counter.runs(), kCommandsMax);
  });
  blocker.release();
  flusher.join();
}

TEST_F(BackgroundWorker, FlushReturnsOnlyAfterWhatWasQueuedBeforeIt) {
  Blocker blocker;
  Counter counter;
  blocker.start_and_enter();
  counter.Start();
  std::atomic<bool> is_released = false;

  std::thread flusher([&] {
    OV_Thread::Flush();
    EXPECT_TRUE(is_released.load());
    EXPECT_EQ(counter.runs(), 1);
  });
  is_released.store(true);
  blocker.release();
  flusher.join();
}

TEST_F(BackgroundWorker, ARunMayStartObjects) {
  Counter second;
  class Chain : public OV_Thread {
   public:
    explicit Chain(OV_Thread& next) : next_(&next) {}
    void Run() override { next_->Start(); }

   private:
    OV_Thread* next_;
  } first(second);

  first.Start();
  OV_Thread::Flush();
  OV_Thread::Flush();

  EXPECT_EQ(second.runs(), 1);
}

TEST_F(BackgroundWorker, DestroyLetsRunWhatIsQueued) {
  Blocker blocker;
  Counter counter;
  blocker.start_and_enter();
  for (int i = 0; i < kCommandsMax; ++i) {  // No room is left for the quit command, either.
    counter.Start();
  }

  std::thread destroyer(OV_Thread::Destroy);
  blocker.release();
  destroyer.join();

  EXPECT_EQ(counter.runs(), kCommandsMax);
}

TEST_F(BackgroundWorker, DestroyRightAfterTheFirstObjectEndsTheWorker) {
  const LogCapture log;
  for (int i = 0; i < 200; ++i) {
    const Counter counter;
    OV_Thread::Destroy();
  }

  EXPECT_EQ(thread_record_count(), 1);  // Each worker found the record of the one before.
  EXPECT_EQ(log.lines(), Lines{});
}

TEST_F(BackgroundWorker, DestroyWithoutAWorkerDoesNothing) {
  OV_Thread::Destroy();

  EXPECT_EQ(thread_record_count(), 0);
}

TEST_F(BackgroundWorker, StartAfterDestroyIsDropped) {
  Counter counter;
  OV_Thread::Destroy();

  counter.Start();
  OV_Thread::Flush();

  EXPECT_EQ(counter.runs(), 0);
}

TEST_F(BackgroundWorker, AnObjectConstructedAfterDestroyStartsANewWorker) {
  Counter before;
  OV_Thread::Destroy();
  Counter after;

  before.Start();
  after.Start();
  OV_Thread::Flush();

  EXPECT_EQ(before.runs(), 1);
  EXPECT_EQ(after.runs(), 1);
}

TEST_F(BackgroundWorker, ACopyNeverStartsTheWorker) {
  const OV_Thread original;
  OV_Thread::Destroy();
  stop_thread_table();

  OV_Thread copy(original);
  copy = original;
  copy.Start();

  EXPECT_EQ(thread_record_count(), 0);
}

TEST_F(BackgroundWorker, LeavesAWorkerAloneThatDoesNotEndInTime) {
  const LogCapture log;
  Blocker blocker;
  blocker.start_and_enter();

  stop_background_worker(20);
  Counter later;
  later.Start();
  OV_Thread::Flush();  // By a new worker, beside the busy one.

  EXPECT_EQ(later.runs(), 1);
  EXPECT_EQ(log.lines(), Lines{"WARN : Timeout while waiting for thread 'OV_Worker' to terminate"});
  blocker.release();
  blocker.wait_until_left();
}

TEST_F(BackgroundWorker, AWorkerLeftAloneDropsWhatIsQueued) {
  const struct {
    const char* what;
    int queued;  // When all room is taken the quit command finds none, either.
  } cases[] = {{"room for the quit", 1}, {"no room for the quit", kCommandsMax}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const LogCapture log;
    Blocker blocker;
    Counter counter;
    blocker.start_and_enter();
    for (int i = 0; i < c.queued; ++i) {
      counter.Start();
    }
    Gate flushing;
    std::thread flusher([&] {
      flushing.open();
      OV_Thread::Flush();  // Returns when the worker has ended.
    });
    flushing.wait();

    stop_background_worker(20);
    blocker.release();
    blocker.wait_until_left();
    flusher.join();

    EXPECT_EQ(counter.runs(), 0);
    EXPECT_EQ(log.lines(),
              Lines{"WARN : Timeout while waiting for thread 'OV_Worker' to terminate"});
  }
}

TEST_F(BackgroundWorker, TakesObjectsFromManyThreads) {
  constexpr int kThreads = 8;
  constexpr int kStarts = 100000 / kThreads;
  constexpr int kOutstandingMax = kCommandsMax / (2 * kThreads);  // Nothing is dropped.
  std::vector<std::thread> threads;
  std::atomic<int> runs = 0;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      Counter counter;
      for (int i = 1; i <= kStarts; ++i) {
        counter.Start();
        if (i % kOutstandingMax == 0) {
          OV_Thread::Flush();
        }
      }
      OV_Thread::Flush();
      runs.fetch_add(counter.runs());
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }

  EXPECT_EQ(runs.load(), kThreads * kStarts);
}

TEST_F(BackgroundWorker, StartsOnceWhateverThreadsComeFirst) {
  for (int round = 0; round < 50; ++round) {
    constexpr int kThreads = 4;
    Gate gate;
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    std::atomic<int> runs = 0;
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back([&] {
        gate.wait();
        Counter counter;
        counter.Start();
        OV_Thread::Flush();
        runs.fetch_add(counter.runs());
      });
    }
    gate.open();
    for (std::thread& thread : threads) {
      thread.join();
    }

    EXPECT_EQ(runs.load(), kThreads);
    EXPECT_EQ(thread_record_count(), 1);
    OV_Thread::Destroy();
  }
}

TEST_F(BackgroundWorker, CallsMayOverlapWithDestroy) {
  std::atomic<bool> is_over = false;
  constexpr int kThreads = 3;
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      std::vector<std::unique_ptr<Counter>> counters;  // Outlive every worker.
      while (!is_over.load()) {
        counters.push_back(std::make_unique<Counter>());
        counters.back()->Start();
        OV_Thread::Flush();
      }
      OV_Thread::Flush();
    });
  }
  for (int i = 0; i < 100; ++i) {
    OV_Thread::Destroy();
    const Counter counter;
    OV_Thread::Flush();
  }
  is_over.store(true);
  for (std::thread& thread : threads) {
    thread.join();
  }
}

// Binary compatibility: hosts override by slot.
TEST(OvThreadLayout, HasNothingButItsVirtualTable) {
  static_assert(sizeof(OV_Thread) == sizeof(void*));

  class Probe : public OV_Thread {
   public:
    void Start() override { called = 1; }
    void Run() override { called = 2; }
    int called = 0;
  } probe;

  test::call_virtual<void>(static_cast<OV_Thread*>(&probe), 1);
  EXPECT_EQ(probe.called, 1);
  test::call_virtual<void>(static_cast<OV_Thread*>(&probe), 2);
  EXPECT_EQ(probe.called, 2);
  OV_Thread::Destroy();
  stop_thread_table();
}

}  // namespace
}  // namespace orsin
