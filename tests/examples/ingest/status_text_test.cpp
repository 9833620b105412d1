#include "examples/host/ingest/status_text.h"

#include <gtest/gtest.h>

#include <limits>

namespace host::ingest {
namespace {

Status sample() {
  Status status;
  status.bytes_done = 12'300'000'000;
  status.bytes = 27'200'000'000;
  status.files_done = 1234;
  status.files = 20000;
  status.work_done = 1;
  status.work = 4;
  status.seconds = 4;
  status.written = {1'248'000'000, 1'192'000'000};
  return status;
}

TEST(IngestStatus, SaysEverythingWhereThereIsRoom) {
  EXPECT_EQ(status_text(sample(), 80),
            " 25.0 %   12.3 of 27.20 GB   1234 of 20000 files   312 298 MB/s   0:12 left");
}

TEST(IngestStatus, FitsAnyWidthAndLeavesOutTheLeastImportantFirst) {
  for (std::size_t width = 0; width < 100; ++width) {
    SCOPED_TRACE(width);
    EXPECT_LE(status_text(sample(), width).size(), width);
  }
  EXPECT_EQ(status_text(sample(), 60), " 25.0 %   12.3 of 27.20 GB   312 298 MB/s   0:12 left");
  EXPECT_EQ(status_text(sample(), 20), " 25.0 %   0:12 left");
  EXPECT_EQ(status_text(sample(), 8), " 25.0 %");
}

TEST(IngestStatus, KeepsWithinEightyColumnsForSixteenDestinations) {
  Status status = sample();
  status.written.assign(16, std::numeric_limits<std::uint64_t>::max());

  EXPECT_LE(status_text(status, 79).size(), 79U);
}

TEST(IngestStatus, CallsAJobWithoutBytesComplete) {
  Status status;
  EXPECT_EQ(status_text(status, 20), "100.0 %   0:00 left");
}

TEST(IngestStatus, DoesNotGuessBeforeTheFirstByte) {
  Status status = sample();
  status.work_done = 0;
  EXPECT_EQ(status_text(status, 20), "  0.0 %   -:-- left");
}

TEST(IngestStatus, WritesSizesInUnitsOfAThousand) {
  EXPECT_EQ(size_text(0), "0 B");
  EXPECT_EQ(size_text(999), "999 B");
  EXPECT_EQ(size_text(1000), "1.00 KB");
  EXPECT_EQ(size_text(345'600'000), "345.6 MB");
  EXPECT_EQ(size_text(999'960'000), "1.00 GB");
  EXPECT_EQ(size_text(std::numeric_limits<std::uint64_t>::max()), "18446.7 PB");
}

TEST(IngestStatus, WritesDurationsAsAClockDoes) {
  EXPECT_EQ(duration_text(0), "0:00");
  EXPECT_EQ(duration_text(65.9), "1:05");
  EXPECT_EQ(duration_text(3723), "1:02:03");
}

}  // namespace
}  // namespace host::ingest
