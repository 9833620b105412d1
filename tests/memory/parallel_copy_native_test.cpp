// Which thread copies: the page that is copied to refuses its first write, and says who tried.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <csignal>
#include <cstdint>
#include <thread>

#include "orsincore/memory.h"
#include "tests/support/log_capture.h"
#include "threads/executor.h"
#include "threads/thread_table.h"

namespace orsin {
namespace {

// A page that can be written to after the first attempt.
class WatchedPage {
 public:
  WatchedPage() : bytes_(::mmap(nullptr, kBytes, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {
    watched_page = bytes_;
    first_writer = {};
    struct sigaction action = {};
    action.sa_handler = note_writer;
    ::sigaction(SIGSEGV, &action, &previous_);
  }
  ~WatchedPage() {
    ::sigaction(SIGSEGV, &previous_, nullptr);
    ::munmap(bytes_, kBytes);
  }
  WatchedPage(const WatchedPage&) = delete;
  WatchedPage& operator=(const WatchedPage&) = delete;

  [[nodiscard]] std::uint8_t* bytes() const { return static_cast<std::uint8_t*>(bytes_); }
  [[nodiscard]] static std::thread::id writer() { return first_writer; }

 private:
  static constexpr std::size_t kBytes = 4096;
  static inline void* watched_page = nullptr;
  static inline std::thread::id first_writer;

  static void note_writer(int /*signal*/) {
    first_writer = std::this_thread::get_id();
    ::mprotect(watched_page, kBytes, PROT_READ | PROT_WRITE);
  }

  void* bytes_;
  struct sigaction previous_ = {};
};

TEST(ParallelCopyOfOneByte, KeepsGoingToAWorker) {
  const test::LogCapture log;
  start_thread_table();
  ASSERT_EQ(start_executor(2), 2);
  const WatchedPage page;
  const std::uint8_t byte = 0x51;

  memcpy_mt(page.bytes(), &byte, 1);

  EXPECT_EQ(page.bytes()[0], 0x51);
  EXPECT_NE(page.writer(), std::thread::id());
  EXPECT_NE(page.writer(), std::this_thread::get_id());
  stop_executor();
  stop_thread_table();
}

}  // namespace
}  // namespace orsin
