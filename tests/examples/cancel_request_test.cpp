#include "examples/host/cancel_request.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace host {
namespace {

TEST(CancelRequest, IsFollowedWhileTheHandlerOfAnInterruptHasReturned) {
  for (const unsigned event : {kInterrupted, kBroken}) {
    CancelRequest request;
    EXPECT_FALSE(request.is_asked());

    request.on_event(event);

    EXPECT_TRUE(request.is_asked());
  }
}

TEST(CancelRequest, HoldsTheHandlerWhereTheSystemEndsTheProcessBehindIt) {
  EXPECT_FALSE(ends_process(0));  // CTRL_C_EVENT
  EXPECT_FALSE(ends_process(1));  // CTRL_BREAK_EVENT
  EXPECT_TRUE(ends_process(2));   // CTRL_CLOSE_EVENT
  EXPECT_TRUE(ends_process(5));   // CTRL_LOGOFF_EVENT
  EXPECT_TRUE(ends_process(6));   // CTRL_SHUTDOWN_EVENT
}

// The system's thread ends the process when the handler has returned; by then all must be clean.
TEST(CancelRequest, LetsTheProcessEndOnceItIsCleanedUp) {
  for (const unsigned event : {kConsoleClosed, kLoggedOff, kShutDown}) {
    CancelRequest request;
    std::atomic<bool> is_clean = false;
    bool was_clean_at_the_end = false;
    std::thread system([&] {
      request.on_event(event);
      was_clean_at_the_end = is_clean;
    });

    while (!request.is_asked()) {
      std::this_thread::yield();
    }
    is_clean = true;
    request.set_cleaned_up();
    system.join();

    EXPECT_TRUE(was_clean_at_the_end);
  }
}

}  // namespace
}  // namespace host
