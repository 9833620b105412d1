// The streams that copies make for themselves.
#include "files/copy_streams.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "memory/os_allocation.h"
#include "orsincore/files.h"
#include "tests/files/backslash_path.h"
#include "tests/files/copy_calls.h"
#include "tests/files/io_start.h"
#include "tests/support/log_capture.h"
#include "threads/thread_table.h"

namespace orsin {
namespace {

using test::below;
using test::CopyCall;
using test::random_content;
using test::TemporaryDirectory;

constexpr std::size_t kMebibyte = 1U << 20;

class CopyStreams : public testing::Test {
 protected:
  void SetUp() override {
    os_allocation::start();
    start_thread_table();
  }
  void TearDown() override { stop_thread_table(); }

  std::string in(const std::string& name) const { return below(directory_, name.c_str()); }
  std::string content(const std::string& name) const {
    return TemporaryDirectory::read(directory_.path(name.c_str()));
  }

  TemporaryDirectory directory_;
  test::IoStart io_;
  test::LogCapture log_;
};

TEST_F(CopyStreams, LeaveNoMemoryBehind) {
  const unsigned char* ring = nullptr;
  {
    const BorrowedReader reader = reader_for_copy(nullptr);
    ring = reader.get()->get_buffer();
    EXPECT_TRUE(os_allocation::is_live(ring));
  }

  EXPECT_FALSE(os_allocation::is_live(ring));
}

TEST_F(CopyStreams, FollowTheConfigurationOfTheMoment) {
  const std::string bytes = random_content(5 * kMebibyte + 1);
  directory_.write("source", bytes);
  for (const int size : {8192, 1 << 26, 4096, 3 << 20}) {
    SCOPED_TRACE(size);
    rwBufferConfigure(size, false, false, false);
    CopyCall call{.source = in("source"), .destinations = {in("copy")}};

    EXPECT_EQ(call.run(), 0);

    EXPECT_TRUE(content("copy") == bytes);
  }
  rwBufferConfigure(0, false, false, false);
}

TEST_F(CopyStreams, AreNotTheCallersOwn) {
  fWriteBuffer mine(io_invalid_handle(), true);
  {
    const BorrowedWriter writer = writer_for_copy(&mine);
    EXPECT_EQ(writer.get(), &mine);
  }

  const BorrowedWriter writer = writer_for_copy(nullptr);
  EXPECT_NE(writer.get(), &mine);
}

TEST_F(CopyStreams, CarryNothingFromOneFileIntoTheNext) {
  for (const std::size_t size :
       {33 * kMebibyte + 7, std::size_t{1}, 16 * kMebibyte, std::size_t{0}, 9 * kMebibyte}) {
    SCOPED_TRACE(size);
    const std::string bytes = random_content(size);
    directory_.write("source", bytes);
    CopyCall call{.source = in("source"), .destinations = {in("copy")}};

    ASSERT_EQ(call.run(), 0);

    ASSERT_TRUE(content("copy") == bytes);
  }
}

TEST_F(CopyStreams, CarryNothingFromAFailedCopyIntoTheNext) {
  directory_.write("source", random_content(20 * kMebibyte));
  directory_.write("there/inside", "x");
  CopyCall refused{.source = in("source"), .destinations = {in("one"), in("there")}};
  ASSERT_EQ(refused.run(), -2);
  const std::string bytes = random_content(5 * kMebibyte);
  directory_.write("source", bytes);

  CopyCall call{.source = in("source"), .destinations = {in("copy")}};
  EXPECT_EQ(call.run(), 0);

  EXPECT_TRUE(content("copy") == bytes);
  EXPECT_EQ(content("one"), "");  // Made by the copy that was refused.
}

TEST_F(CopyStreams, SurviveCopiesOnSeveralThreads) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 6;
  std::vector<std::string> bytes;
  for (int i = 0; i < kThreads; ++i) {
    bytes.push_back(random_content(17 * kMebibyte + static_cast<std::size_t>(i)));
    directory_.write("source" + std::to_string(i), bytes.back());
  }
  std::vector<int> failures(kThreads, 0);
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      const std::string number = std::to_string(i);
      for (int round = 0; round < kRounds; ++round) {
        CopyCall call{.source = in("source" + number),
                      .destinations = {in("a" + number), in("b" + number)}};
        failures[static_cast<std::size_t>(i)] += call.run() != 0 ? 1 : 0;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }

  for (int i = 0; i < kThreads; ++i) {
    SCOPED_TRACE(i);
    const std::string number = std::to_string(i);
    EXPECT_EQ(failures[static_cast<std::size_t>(i)], 0);
    EXPECT_TRUE(content("a" + number) == bytes[static_cast<std::size_t>(i)]);
    EXPECT_TRUE(content("b" + number) == bytes[static_cast<std::size_t>(i)]);
  }
}

}  // namespace
}  // namespace orsin
