#include "examples/host/ingest/state_file.h"

#include <gtest/gtest.h>

#include <string>

namespace host::ingest {
namespace {

FinishedFile sample(std::uint64_t size) {
  FinishedFile file;
  file.size = size;
  file.write_time = 133500000000000000;
  file.hashes.xxh64 = 0x0123456789ABCDEF;
  file.hashes.md5 = {1, 2, 3};
  file.hash_time = 133500000000000001;
  return file;
}

std::string state_of_two() {
  return std::string(kStateHeader) + state_line("CLIPS\\A 001  x.MOV", sample(5)) +
         state_line("日本.txt", sample(6));
}

TEST(IngestState, GivesBackWhatWasNoted) {
  const FinishedFiles files = read_state(state_of_two());

  ASSERT_EQ(files.size(), 2U);
  EXPECT_EQ(files.at("CLIPS\\A 001  x.MOV"), sample(5));
  EXPECT_EQ(files.at("日本.txt"), sample(6));
}

TEST(IngestState, CountsNothingThatWasTornAnywhere) {
  const std::string whole = state_of_two();
  const std::size_t first_end = whole.find('\n', kStateHeader.size()) + 1;
  for (std::size_t length = 0; length < whole.size(); ++length) {
    SCOPED_TRACE(length);
    const FinishedFiles files = read_state(std::string_view(whole).substr(0, length));
    EXPECT_EQ(files.size(), length < first_end ? 0U : 1U);
  }
}

TEST(IngestState, CountsNoLineInWhichAByteChanged) {
  const std::string whole = std::string(kStateHeader) + state_line("A001.MOV", sample(5));
  for (std::size_t i = 0; i < whole.size(); ++i) {
    SCOPED_TRACE(i);
    std::string damaged = whole;
    damaged[i] ^= 1;
    EXPECT_TRUE(read_state(damaged).empty());
  }
}

TEST(IngestState, BelievesTheLastLineOfAPath) {
  const FinishedFiles files = read_state(std::string(kStateHeader) + state_line("a", sample(1)) +
                                         state_line("a", sample(2)));

  ASSERT_EQ(files.size(), 1U);
  EXPECT_EQ(files.at("a").size, 2U);
}

}  // namespace
}  // namespace host::ingest
