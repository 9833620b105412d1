// The background worker where threads are refused, and at moments that only the stand-in's knobs hit.
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>

#include "orsincore/threads.h"
#include "tests/platform/native/fake_processors.h"
#include "tests/support/log_capture.h"
#include "tests/threads/gate.h"
#include "threads/background_worker.h"
#include "threads/thread_table.h"

namespace orsin {
namespace {

using test::fake_processors;
using test::Lines;
using test::LogCapture;

class Flag : public OV_Thread {
 public:
  void Run() override { is_up_.store(true); }
  [[nodiscard]] bool is_up() const { return is_up_.load(); }

 private:
  std::atomic<bool> is_up_ = false;
};

TEST(BackgroundWorkerOnTheStandIn, TriesAgainWithTheNextObjectWhenTheThreadIsRefused) {
  const LogCapture log;
  fake_processors().refuse_threads = true;
  errno = 11;
  Flag refused;
  refused.Start();
  OV_Thread::Flush();  // Has nobody to wait for.
  EXPECT_FALSE(refused.is_up());
  EXPECT_EQ(log.lines(), Lines{"ERROR: MP: Failed to start thread : 'error 11'"});

  fake_processors() = {};
  const Flag next;
  refused.Start();
  OV_Thread::Flush();

  EXPECT_TRUE(refused.is_up());
  OV_Thread::Destroy();
  stop_thread_table();
}

class Held : public OV_Thread {
 public:
  void Run() override { released.wait(); }

  test::Gate released;
};

Held* held = nullptr;

// Two calls at once: the one that comes second has nothing to wait for, and must not take the first
// one's worker away from under it, or give up what is queued.
TEST(BackgroundWorkerOnTheStandIn, IsEndedByTheFirstCallOnly) {
  Held first;
  Flag queued;
  held = &first;
  first.Start();
  queued.Start();
  fake_processors().on_wait = [] {
    stop_background_worker(0);
    held->released.open();
  };

  stop_background_worker(60000);

  EXPECT_TRUE(queued.is_up());
  fake_processors() = {};
  stop_thread_table();
}

}  // namespace
}  // namespace orsin
