#include <gtest/gtest.h>

#include <numeric>
#include <vector>

#include "orsincore/memory.h"
#include "orsincore/threads.h"
#include "tests/support/log_capture.h"
#include "threads/executor.h"
#include "threads/thread_table.h"

namespace orsin {
namespace {

std::vector<unsigned char> numbered(std::size_t count) {
  std::vector<unsigned char> bytes(count);
  std::iota(bytes.begin(), bytes.end(), static_cast<unsigned char>(1));
  return bytes;
}

void expect_a_whole_copy(std::size_t count) {
  SCOPED_TRACE(testing::Message() << count << " bytes, " << smp_numprocs() << " workers");
  const std::vector<unsigned char> source = numbered(count);
  std::vector<unsigned char> destination(count + 1, 0xEE);

  EXPECT_EQ(memcpy_mt(destination.data(), source.data(), count), destination.data());

  EXPECT_EQ(destination.back(), 0xEE);
  destination.pop_back();
  EXPECT_EQ(destination == source, true);
}

TEST(ParallelCopy, CopiesInlineWithoutWorkers) {
  expect_a_whole_copy(100000);
}

class ParallelCopyByWorkers : public testing::TestWithParam<int> {};

TEST_P(ParallelCopyByWorkers, MissesNoByteOfAnySize) {
  const test::LogCapture log;
  start_thread_table();
  ASSERT_EQ(start_executor(GetParam()), GetParam());

  for (std::size_t count = 0; count < 40; ++count) {
    expect_a_whole_copy(count);
  }
  for (const std::size_t count : {1000u, 65537u, 20u << 20}) {
    expect_a_whole_copy(count);
  }

  stop_executor();
  stop_thread_table();
}

INSTANTIATE_TEST_SUITE_P(Workers, ParallelCopyByWorkers, testing::Values(2, 3, 7));

}  // namespace
}  // namespace orsin
