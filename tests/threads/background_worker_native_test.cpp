// A system that refuses threads, through the stand-in's knobs.
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>

#include "orsincore/threads.h"
#include "tests/native/fake_processors.h"
#include "tests/support/log_capture.h"
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

}  // namespace
}  // namespace orsin
