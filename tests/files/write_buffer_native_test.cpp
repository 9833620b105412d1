// What the buffered writer asks of a scripted platform, and what it makes of failures.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "orsincore/files.h"
#include "orsincore/io.h"
#include "tests/files/io_fixture.h"
#include "tests/platform/native/fake_transfers.h"
#include "tests/platform/native/pages_native.h"
#include "tests/support/allocation_refusal.h"

namespace orsin {
namespace {

using test::Lines;
using test::OpenFile;
using test::StartedTransfer;

using Started = std::vector<StartedTransfer>;

constexpr int kBuffer = 8192;
constexpr int kMebibyte = 0x100000;
constexpr std::uint32_t kUnit = 4096;
constexpr std::uint32_t kDiskFull = 112;

class ScriptedWriter : public test::IoTest {
 protected:
  void SetUp() override { open(true); }
  // A writer that outlived the script would meet another platform.
  void TearDown() override { writer_.close_file(true); }

  void open(bool double_buffer) {
    ASSERT_TRUE(writer_.set_buffer(kBuffer, double_buffer));
    ASSERT_TRUE(writer_.open_file(path("out").c_str(), 0, false));
  }
  void add(const std::string& bytes) {
    ASSERT_EQ(writer_.write_file(bytes.data(), 1, bytes.size()), bytes.size());
  }
  void add_full() { add(std::string(kBuffer, 'f')); }

  test::FakeTransfers transfers_;
  const std::string frame_ = std::string(kBuffer, 'd');
  fWriteBuffer writer_{io_invalid_handle(), false};
};

// ---- What is asked for

TEST_F(ScriptedWriter, OneBufferIsWrittenWhileTheOtherFills) {
  transfers_.every({.pends = true});
  add_full();
  EXPECT_EQ(transfers_.pending_count(), 1);
  add(std::string(kBuffer - 1, 'g'));
  EXPECT_EQ(transfers_.pending_count(), 1);

  add("g");

  EXPECT_EQ(transfers_.started(), (Started{{false, 0, kBuffer}, {false, kBuffer, kBuffer}}));
  EXPECT_EQ(transfers_.most_pending(), 1);  // The first was waited for.
}

TEST_F(ScriptedWriter, ASingleBufferIsWrittenBeforeItFillsAgain) {
  open(false);
  transfers_.every({.pends = true});

  add_full();

  EXPECT_EQ(transfers_.pending_count(), 0);
  EXPECT_FALSE(writer_.data_pending());
}

TEST_F(ScriptedWriter, ADirectWriteRunsBesideTheBuffers) {
  transfers_.every({.pends = true});
  add_full();

  EXPECT_EQ(writer_.add_write_buffer(frame_.data(), frame_.size()), frame_.size());

  EXPECT_EQ(transfers_.pending_count(), 2);
  EXPECT_EQ(writer_.add_write_buffer(frame_.data(), frame_.size()), frame_.size());
  EXPECT_EQ(transfers_.most_pending(), 2);
  writer_.flush_buffers();
  EXPECT_EQ(transfers_.pending_count(), 0);
}

TEST_F(ScriptedWriter, TheLastBlockIsWrittenWholeAndCutOff) {
  add("0123456789");

  writer_.close_file(true);

  EXPECT_EQ(transfers_.started(), (Started{{false, 0, kUnit}}));
  EXPECT_EQ(transfers_.sizes(), (std::vector<std::uint64_t>{10}));
}

TEST_F(ScriptedWriter, AnUnalignedDirectWriteAsksForWholeUnits) {
  writer_.add_write_buffer(frame_.data(), 5000);

  writer_.close_file(true);

  EXPECT_EQ(transfers_.started(), (Started{{false, 0, 2 * kUnit}}));
  EXPECT_EQ(transfers_.sizes(), (std::vector<std::uint64_t>{5000}));
}

TEST_F(ScriptedWriter, ClosesOnlyByForceWhileTwoWritesRun) {
  transfers_.every({.pends = true});
  add_full();
  writer_.add_write_buffer(frame_.data(), frame_.size());

  EXPECT_EQ(writer_.close_file(false), 0);
  EXPECT_EQ(transfers_.pending_count(), 2);

  EXPECT_EQ(writer_.close_file(true), 1);
  EXPECT_EQ(transfers_.pending_count(), 0);
  EXPECT_EQ(content("out").size(), 2U * kBuffer);
}

TEST_F(ScriptedWriter, ClosesWithoutForceOnceOnlyOneWriteRuns) {
  transfers_.every({.pends = true});
  add_full();
  add("tail");

  EXPECT_EQ(writer_.close_file(false), 1);

  EXPECT_EQ(content("out"), std::string(kBuffer, 'f') + "tail");
}

TEST_F(ScriptedWriter, ClosesWithoutForceWhenOnlyADirectWriteRuns) {
  transfers_.every({.pends = true});
  writer_.add_write_buffer(frame_.data(), frame_.size());

  EXPECT_EQ(writer_.close_file(false), 1);

  EXPECT_EQ(transfers_.pending_count(), 0);
  EXPECT_FALSE(writer_.data_pending());
  EXPECT_EQ(content("out"), frame_);
}

TEST_F(ScriptedWriter, WithoutForceNothingIsStartedForNoBytes) {
  EXPECT_EQ(writer_.close_file(false), 1);

  EXPECT_EQ(transfers_.started(), Started{});
  EXPECT_EQ(content("out"), "");
}

TEST_F(ScriptedWriter, WithoutForceAFirstByteIsStarted) {
  transfers_.every({.pends = true});
  add("0");

  EXPECT_EQ(writer_.close_file(false), 1);

  EXPECT_EQ(transfers_.pending_count(), 1);
}

TEST_F(ScriptedWriter, WhatFollowsAFirstWriteThatRunsIsNotInIt) {
  for (const bool double_buffer : {true, false}) {
    SCOPED_TRACE(double_buffer);
    open(double_buffer);
    transfers_.next({.pends = true});
    add("header");
    EXPECT_EQ(writer_.close_file(false), 1);
    EXPECT_EQ(transfers_.pending_count(), double_buffer ? 1 : 0);  // One buffer is needed again.

    add("behind");
    writer_.close_file(true);

    EXPECT_EQ(content("out"), "header" + std::string(kUnit - 6, '\0') + "behind");
  }
}

TEST_F(ScriptedWriter, WithoutForceAFirstWriteThatCannotStartIsZero) {
  add("0123");
  transfers_.next({.error = kDiskFull});

  EXPECT_EQ(writer_.close_file(false), 0);

  EXPECT_EQ(writer_.error(), 1);
}

TEST_F(ScriptedWriter, OpensUnbufferedWhereTheConfigurationAllowsIt) {
  ASSERT_TRUE(writer_.open_file(path("out").c_str(), 0, true));
  EXPECT_TRUE(transfers_.opened().back().unbuffered);

  rwBufferConfigure(0, true, false, false);
  ASSERT_TRUE(writer_.open_file(path("out").c_str(), 0, true));
  rwBufferConfigure(0, false, false, false);
  EXPECT_FALSE(transfers_.opened().back().unbuffered);

  ASSERT_TRUE(writer_.open_file(path("out").c_str(), 0, false));
  EXPECT_FALSE(transfers_.opened().back().unbuffered);
}

TEST_F(ScriptedWriter, ReservesTheInitialSize) {
  ASSERT_TRUE(writer_.open_file(path("out").c_str(), 123456, false));

  EXPECT_EQ(transfers_.sizes().back(), 123456U);
}

// ---- Failures

TEST_F(ScriptedWriter, EveryFailedWriteCounts) {
  struct Case {
    const char* what;
    bool double_buffer;
    bool pends;
  };
  const Case cases[] = {{"start", true, false},
                        {"end", true, true},
                        {"start, one buffer", false, false},
                        {"end, one buffer", false, true}};

  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    open(c.double_buffer);
    ASSERT_EQ(writer_.error(), 0);
    transfers_.next({.pends = c.pends, .error = kDiskFull});
    transfers_.next({.pends = c.pends, .error = kDiskFull});

    add_full();
    add_full();
    writer_.flush_buffers();

    EXPECT_EQ(writer_.error(), 2);
  }
}

// Some file systems say only by a short count that the disk was full half-way.
TEST_F(ScriptedWriter, AWriteThatCannotBeWaitedForCounts) {
  transfers_.next({.pends = true});
  add_full();
  transfers_.fail_waits(1, 6);

  writer_.close_file(true);

  EXPECT_EQ(writer_.error(), 1);
  EXPECT_EQ(log_.lines(), Lines{"ERROR: IO completion error(1) - 6"});
}

// The slot of the one serves again while the other runs.
TEST_F(ScriptedWriter, AWriteThatCannotBeWaitedForIsNotTheNextOnesResult) {
  constexpr int kSlots = 96;
  const OpenFile other(io_open64(write("other", frame_).c_str(), 0, false, true, false));
  char bytes[100] = {};
  transfers_.next({.pends = true, .bytes = 1});
  add_full();
  transfers_.fail_waits(1, 6);
  writer_.flush_buffers();
  ASSERT_EQ(writer_.error(), 1);

  transfers_.next({.pends = true});
  add_full();
  for (int i = 0; i < kSlots - 1; ++i) {
    ASSERT_TRUE(io_read64(other.get(), bytes, 0, sizeof(bytes)));
  }
  writer_.close_file(true);

  EXPECT_EQ(writer_.error(), 1);
}

TEST_F(ScriptedWriter, EveryWriteThatEndsShortCounts) {
  for (const bool double_buffer : {true, false}) {
    SCOPED_TRACE(double_buffer);
    open(double_buffer);
    ASSERT_EQ(writer_.error(), 0);
    transfers_.next({.pends = true, .bytes = kUnit});
    transfers_.next({.pends = true, .bytes = kBuffer});
    transfers_.next({.pends = true, .bytes = 1});
    const test::LogCapture log;

    add_full();
    add_full();
    add("the end");
    writer_.flush_buffers();

    EXPECT_EQ(writer_.error(), 2);
    EXPECT_EQ(log.lines(), (test::Lines{"ERROR: IO write error(2) - (4096 8192)",
                                        "ERROR: IO write error(2) - (1 4096)"}));
  }
}

TEST_F(ScriptedWriter, ADirectWriteThatEndsShortCountsWhenItIsCollected) {
  transfers_.next({.pends = true, .bytes = kUnit});

  EXPECT_EQ(writer_.add_write_buffer(frame_.data(), frame_.size()), frame_.size());
  EXPECT_EQ(writer_.error(), 0);
  writer_.flush_buffers();

  EXPECT_EQ(writer_.error(), 1);
  writer_.close_file(true);
  EXPECT_EQ(writer_.error(), 1);  // Counted once.
}

TEST_F(ScriptedWriter, AFlushThatFailsCounts) {
  add("0123");
  transfers_.next({.error = kDiskFull});

  writer_.flush_buffers();

  EXPECT_EQ(writer_.error(), 1);
  EXPECT_EQ(writer_.get_buffer_used(), 0U);
}

TEST_F(ScriptedWriter, ADirectWriteThatCannotStartIsZero) {
  transfers_.next({.error = kDiskFull});

  EXPECT_EQ(writer_.add_write_buffer(frame_.data(), frame_.size()), 0U);

  EXPECT_EQ(writer_.error(), 1);
  EXPECT_EQ(writer_.get_file_position(), 0U);
}

TEST_F(ScriptedWriter, ADirectWriteThatEndsBadlyCountsWhenItIsCollected) {
  transfers_.next({.pends = true, .error = kDiskFull});
  EXPECT_EQ(writer_.add_write_buffer(frame_.data(), frame_.size()), frame_.size());
  EXPECT_EQ(writer_.error(), 0);

  writer_.close_file(true);

  EXPECT_EQ(writer_.error(), 1);
}

TEST_F(ScriptedWriter, ATransferThatFailedIsNotWaitedForAgain) {
  transfers_.next({.error = kDiskFull});
  add_full();
  EXPECT_EQ(writer_.error(), 1);
  EXPECT_FALSE(writer_.data_pending());

  writer_.close_file(true);

  EXPECT_EQ(writer_.error(), 1);
}

TEST_F(ScriptedWriter, AFileWithErrorsIsDeletedBeforeTheNextOneOpens) {
  add("0123");
  transfers_.next({.error = kDiskFull});

  ASSERT_TRUE(writer_.open_file(path("next").c_str(), 0, false));

  EXPECT_EQ(log_.lines().back(), "ERROR: Failed to write file '" + path("out") + "'.");
  EXPECT_EQ(file_exists(path("out").c_str()), 0);
  EXPECT_EQ(writer_.error(), 0);
}

TEST_F(ScriptedWriter, AFileWithoutErrorsStaysWhenTheNextOneOpens) {
  add("0123");

  ASSERT_TRUE(writer_.open_file(path("next").c_str(), 0, false));

  EXPECT_EQ(content("out"), "0123");
  EXPECT_EQ(log_.lines(), Lines{});
}

// ---- The final size

TEST_F(ScriptedWriter, ASizeThatTheHandleRefusesIsSetByName) {
  add("0123");
  transfers_.refuse_sizes(1, 87);
  const std::size_t opened = transfers_.opened().size();

  EXPECT_EQ(writer_.close_file(true), 1);

  EXPECT_EQ(content("out"), "0123");
  EXPECT_EQ(log_.lines(), Lines{});
  ASSERT_EQ(transfers_.opened().size(), opened + 1);
  const port::OpenMode again = transfers_.opened().back();
  EXPECT_TRUE(again.write);
  EXPECT_FALSE(again.read || again.share_read || again.create || again.unbuffered ||
               again.overlapped || again.write_through);
}

TEST_F(ScriptedWriter, ASizeThatIsRefusedTwiceIsAnErrorLine) {
  add("0123");
  transfers_.refuse_sizes(2, 1224);

  EXPECT_EQ(writer_.close_file(true), 1);

  EXPECT_EQ(log_.lines(), Lines{"ERROR: Writebuffer set FileSize : 'error 1224'"});
  EXPECT_EQ(content("out").size(), kUnit);
  EXPECT_FALSE(writer_.data_pending());
}

TEST_F(ScriptedWriter, AFileThatCannotBeOpenedAgainIsTheSameLineWithItsOwnReason) {
  add("0123");
  transfers_.refuse_sizes(1, 87);
  transfers_.next_open({.is_refused = true, .error = 5});

  EXPECT_EQ(writer_.close_file(true), 1);

  EXPECT_EQ(log_.lines(), Lines{"ERROR: Writebuffer set FileSize : 'error 5'"});
}

TEST_F(ScriptedWriter, AFileThatAnotherLooksAtIsCutWhenHeIsDone) {
  add("0123");
  transfers_.refuse_sizes(1, 87);
  for (int i = 0; i < 3; ++i) {
    transfers_.next_open({.is_refused = true, .error = 32});
  }

  EXPECT_EQ(writer_.close_file(true), 1);

  EXPECT_EQ(content("out"), "0123");
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(ScriptedWriter, AFileThatAnotherDoesNotLeaveKeepsItsSurplus) {
  add("0123");
  transfers_.refuse_sizes(1, 87);
  for (int i = 0; i < 30; ++i) {
    transfers_.next_open({.is_refused = true, .error = 32});
  }
  const std::size_t opened = transfers_.opened().size();

  EXPECT_EQ(writer_.close_file(true), 1);

  EXPECT_EQ(transfers_.opened().size(), opened + 20);
  EXPECT_EQ(log_.lines(), Lines{"ERROR: Writebuffer set FileSize : 'error 32'"});
  EXPECT_EQ(writer_.error(), 0);
}

TEST_F(ScriptedWriter, CountsAFileThatIsShorterThanItsData) {
  const std::string bytes(2 * kUnit, 'd');
  ASSERT_EQ(writer_.write_file(bytes.data(), 1, bytes.size()), bytes.size());
  writer_.flush_buffers();
  std::filesystem::resize_file(test::to_path(path("out")), kUnit);

  writer_.close_file(true);

  EXPECT_EQ(writer_.error(), 1);
  EXPECT_EQ(log_.lines(),
            Lines{"ERROR: Writebuffer: '" + path("out") + "' has " + std::to_string(kUnit) +
                  " of " + std::to_string(2 * kUnit) + " bytes"});
}

TEST_F(ScriptedWriter, CountsAFileOfWhichNothingIsKnown) {
  add("0123");
  transfers_.refuse_size_questions(1);
  transfers_.refuse_sizes(1, 1224);  // By its name it is cut.

  writer_.close_file(true);

  EXPECT_EQ(writer_.error(), 1);
  EXPECT_EQ(errors(), Lines{"ERROR: Writebuffer set FileSize : 'error 1224'"});
}

// ---- Memory first, then a file

TEST_F(ScriptedWriter, WhatCollectedInMemoryIsNotUsedForTransfers) {
  writer_.close_file(true);
  writer_.reset_buffers();
  ASSERT_EQ(writer_.write_file("0123", 1, 4), 4U);  // Takes a block of the process heap.

  ASSERT_TRUE(writer_.open_file(path("unbuffered").c_str(), 0, true));
  add("4567");
  writer_.close_file(true);

  EXPECT_EQ(writer_.error(), 0);
  EXPECT_EQ(content("unbuffered"), "4567");
  EXPECT_EQ(errors(), Lines{});
}

TEST_F(ScriptedWriter, BuffersOfAnotherAlignmentAreMadeAnew) {
  writer_.close_file(true);
  ASSERT_TRUE(writer_.set_buffer(10000, true));

  ASSERT_TRUE(writer_.open_file(path("unbuffered").c_str(), 0, true));
  const std::string bytes(50000, 'u');
  ASSERT_EQ(writer_.write_file(bytes.data(), 1, bytes.size()), bytes.size());
  writer_.close_file(true);

  EXPECT_EQ(writer_.error(), 0);
  EXPECT_TRUE(content("unbuffered") == bytes);
}

TEST_F(ScriptedWriter, BuffersThatAreMadeAnewAreAsManyAsBefore) {
  for (const bool double_buffer : {true, false}) {
    SCOPED_TRACE(double_buffer);
    writer_.close_file(true);
    ASSERT_TRUE(writer_.set_buffer(10000, double_buffer));
    ASSERT_TRUE(writer_.open_file(path("other").c_str(), 0, false));
    transfers_.next({.pends = true});

    add(std::string(3 * kUnit, 'o'));

    EXPECT_EQ(transfers_.pending_count(), double_buffer ? 1 : 0);
    EXPECT_TRUE(writer_.is_file_position_inside_current_buffer(6 * kUnit - 1));
    EXPECT_FALSE(writer_.is_file_position_inside_current_buffer(6 * kUnit));
  }
}

TEST_F(ScriptedWriter, MemoryGivesWayToTwoBuffersOfAMebibyte) {
  alignas(kUnit) static char room[3 * kUnit];
  const struct {
    const char* what;
    char* memory;
    int size;
  } cases[] = {{"no whole unit", room, 100}, {"whole units, but misplaced", room + 1, 2 * kUnit}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    writer_.close_file(true);
    writer_.set_memory_buffer(c.memory, c.size);

    ASSERT_TRUE(writer_.open_file(path("other").c_str(), 0, false));

    EXPECT_TRUE(writer_.is_file_position_inside_current_buffer(kMebibyte - 1));
    transfers_.next({.pends = true});
    add(std::string(kMebibyte, 'm'));
    EXPECT_EQ(transfers_.pending_count(), 1);
  }
}

TEST_F(ScriptedWriter, AHandleOfItsOwnersIsNotOpenedAgain) {
  const OpenFile file(io_create64(path("theirs").c_str(), true, 0));
  fWriteBuffer writer(file.get(), true);
  ASSERT_EQ(writer.write_file("0123", 1, 4), 4U);
  transfers_.refuse_sizes(1, 87);
  const std::size_t opened = transfers_.opened().size();

  EXPECT_EQ(writer.close_file(true), 1);

  EXPECT_EQ(log_.lines(), Lines{"ERROR: Writebuffer set FileSize : 'error 87'"});
  EXPECT_EQ(transfers_.opened().size(), opened);
}

TEST_F(ScriptedWriter, KeepsAFileThatCouldNotBeCutOutOfTheErrors) {
  add("0123");
  transfers_.refuse_sizes(2, 1224);
  writer_.close_file(true);

  EXPECT_EQ(writer_.error(), 0);
  ASSERT_TRUE(writer_.open_file(path("next").c_str(), 0, false));
  EXPECT_EQ(content("out").substr(0, 4), "0123");
}

// ---- Memory

TEST_F(ScriptedWriter, SaysHowMuchMemoryABufferLacked) {
  const test::PagesScript machine;
  machine->commits_granted = 0;
  fWriteBuffer writer(io_invalid_handle(), false);

  EXPECT_FALSE(writer.set_buffer(65536, true));
  EXPECT_FALSE(writer.set_buffer(65536, false));

  Lines lines;
  for (const std::string& line : log_.lines()) {
    if (line.find("WRITE BUFFER") != std::string::npos) {
      lines.push_back(line);
    }
  }
  EXPECT_EQ(lines, (Lines{"WARN : WRITE BUFFER: Allocation failed (size = 147456)",
                          "WARN : WRITE BUFFER: Allocation failed (size = 73728)"}));
}

TEST_F(ScriptedWriter, MemoryThatCannotGrowTakesWhatItHasRoomFor) {
  const std::string bytes(kMebibyte, 'm');
  fWriteBuffer collecting(io_invalid_handle(), false);
  fMemBuffer memory;
  ASSERT_TRUE(collecting.set_buffer(kBuffer, false));
  ASSERT_TRUE(memory.set_buffer(kBuffer, false));
  const test::AllocationRefusal refusal(kBuffer);

  EXPECT_EQ(collecting.write_file(bytes.data(), 1, bytes.size()), kBuffer + 0U);
  EXPECT_EQ(collecting.error(), 1);
  EXPECT_EQ(memory.write_file(bytes.data(), 1, bytes.size()), kBuffer + 0U);
  EXPECT_FALSE(collecting.ensure_minimum_buffer_size(kMebibyte));
  EXPECT_FALSE(memory.ensure_minimum_buffer_size(kMebibyte));

  EXPECT_EQ(collecting.get_buffer_used(), kBuffer + 0U);
  EXPECT_EQ(memory.get_buffer_used(), kBuffer + 0U);
}

TEST_F(ScriptedWriter, AHandlesBuffersAreTwoOfAMebibyteAndWhatAlignmentTakes) {
  const test::PagesScript machine;
  machine->commits_granted = 0;
  const OpenFile file(io_create64(path("theirs").c_str(), true, 0));

  const fWriteBuffer writer(file.get(), true);

  EXPECT_EQ(machine->commits, (std::vector<std::uint64_t>{2 * (8192 + 0x100000)}));
  EXPECT_EQ(log_.lines().back(), "WARN : WRITE BUFFER: Allocation failed (size = 2113536)");
}

TEST_F(ScriptedWriter, WithoutABufferNothingIsTaken) {
  const test::PagesScript machine;
  machine->commits_granted = 0;
  fWriteBuffer writer(io_invalid_handle(), false);
  ASSERT_TRUE(writer.open_file(path("other").c_str(), 0, false));

  EXPECT_EQ(writer.write_file("0123", 1, 4), 0U);
  writer.put_int(7);

  EXPECT_EQ(writer.close_file(true), 1);
  EXPECT_EQ(content("other"), "");
}

TEST_F(ScriptedWriter, ANumberThatIsPutWithoutABufferCountsAnError) {
  const test::PagesScript machine;
  machine->commits_granted = 0;
  fWriteBuffer writer(io_invalid_handle(), false);
  ASSERT_TRUE(writer.open_file(path("other").c_str(), 0, false));
  ASSERT_EQ(writer.error(), 0);

  writer.put_int(7);

  EXPECT_GT(writer.error(), 0);
}

TEST_F(ScriptedWriter, ANumberThatFindsNoMemoryCountsAnError) {
  const std::string bytes(kBuffer, 'm');
  fWriteBuffer collecting(io_invalid_handle(), false);
  ASSERT_TRUE(collecting.set_buffer(kBuffer, false));
  const test::AllocationRefusal refusal(kBuffer);
  ASSERT_EQ(collecting.write_file(bytes.data(), 1, bytes.size()), bytes.size());
  const int before = collecting.error();

  collecting.put_int(7);

  EXPECT_EQ(collecting.error(), before + 1);
}

TEST_F(ScriptedWriter, ALargerBufferWaitsForTheWriteOfTheSmallerOne) {
  transfers_.every({.pends = true});
  add_full();
  ASSERT_EQ(transfers_.pending_count(), 1);

  EXPECT_TRUE(writer_.ensure_minimum_buffer_size(1 << 20));

  EXPECT_EQ(transfers_.pending_count(), 0);
  add("after");
  writer_.close_file(true);
  EXPECT_EQ(content("out"), std::string(kBuffer, 'f') + "after");
}

TEST_F(ScriptedWriter, LargerBuffersAreAsManyAsTheSmallerOnes) {
  for (const bool double_buffer : {true, false}) {
    SCOPED_TRACE(double_buffer);
    writer_.close_file(true);
    open(double_buffer);

    EXPECT_TRUE(writer_.ensure_minimum_buffer_size(4 * kBuffer));

    transfers_.next({.pends = true});
    add(std::string(4 * kBuffer, 'l'));
    EXPECT_EQ(transfers_.pending_count(), double_buffer ? 1 : 0);
  }
}

TEST_F(ScriptedWriter, ALargerBufferThatCannotBeHadLeavesTheSmallerOne) {
  add("before");
  const test::PagesScript machine;
  machine->commits_granted = 0;

  EXPECT_FALSE(writer_.ensure_minimum_buffer_size(1 << 20));

  add("after");
  writer_.close_file(true);
  EXPECT_EQ(content("out"), "beforeafter");
}

}  // namespace
}  // namespace orsin
