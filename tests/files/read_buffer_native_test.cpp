// What the buffered reader asks of a scripted platform, and what it makes of failures.
#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "orsincore/io.h"
#include "orsincore/memory.h"
#include "tests/files/io_fixture.h"
#include "tests/platform/native/fake_transfers.h"
#include "tests/platform/native/pages_native.h"

namespace orsin {
namespace {

using test::Lines;
using test::OpenFile;
using test::StartedTransfer;

using Started = std::vector<StartedTransfer>;

constexpr unsigned long long kBlock = 8192;

class ScriptedReader : public test::IoTest {
 protected:
  // The bytes of block i are the letter i.
  std::string lettered_file(std::size_t size) const {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
      bytes[i] = static_cast<char>('A' + i / kBlock);
    }
    return write("lettered", bytes);
  }

  bool open(fReadBuffer& reader, int buffers, std::size_t size, bool preload = false) {
    reader.cfg_buffers(buffers, kBlock, kBlock);
    return reader.open_file(lettered_file(size).c_str(), true, preload, false);
  }

  test::FakeTransfers transfers_;
};

// The letter of the next block; '-' at the end.
char next_letter(fReadBuffer& reader) {
  return reader.getNextBlock() > 0 ? static_cast<char>(*reader.get_buffer()) : '-';
}

std::string rest_of(fReadBuffer& reader) {
  std::string letters;
  for (char letter = next_letter(reader); letter != '-'; letter = next_letter(reader)) {
    letters += letter;
  }
  return letters;
}

// ---- A file that is closed

TEST_F(ScriptedReader, HasNothingMoreOfAFileThatItClosed) {
  fReadBuffer reader(io_invalid_handle());
  ASSERT_TRUE(open(reader, 2, 4 * kBlock));
  ASSERT_EQ(next_letter(reader), 'A');
  reader.close_file();
  const std::size_t started = transfers_.started().size();
  unsigned char bytes[16];
  unsigned long long available = 1;

  EXPECT_EQ(reader.read_file(bytes, 1, sizeof(bytes)), 0U);
  EXPECT_EQ(reader.get_bufptr(&available), nullptr);
  EXPECT_EQ(next_letter(reader), '-');

  EXPECT_EQ(transfers_.started().size(), started);
}

TEST_F(ScriptedReader, ClosesAFileOnceThoughAnotherHasItsHandleByThen) {
  fReadBuffer reader(io_invalid_handle());
  ASSERT_TRUE(open(reader, 2, kBlock));
  reader.close_file();
  fReadBuffer other(io_invalid_handle());
  ASSERT_TRUE(open(other, 2, kBlock));

  reader.close_file();

  EXPECT_EQ(rest_of(other), "A");
}

// ---- What is asked for

TEST_F(ScriptedReader, StartsAllBuffersAtOnceAndThenOneForEachBlock) {
  transfers_.every({.pends = true});
  fReadBuffer reader;
  ASSERT_TRUE(open(reader, 4, 8 * kBlock));

  ASSERT_EQ(next_letter(reader), 'A');
  EXPECT_EQ(transfers_.started().size(), 4U);
  EXPECT_EQ(transfers_.pending_count(), 3);

  ASSERT_EQ(next_letter(reader), 'B');
  EXPECT_EQ(transfers_.started().back(), (StartedTransfer{true, 4 * kBlock, kBlock}));
  EXPECT_EQ(transfers_.pending_count(), 3);
  EXPECT_EQ(rest_of(reader), "CDEFGH");
}

TEST_F(ScriptedReader, HasEightBuffersAtMost) {
  transfers_.every({.pends = true});
  fReadBuffer reader;
  ASSERT_TRUE(open(reader, 12, 12 * kBlock));

  ASSERT_EQ(next_letter(reader), 'A');

  EXPECT_EQ(transfers_.started().size(), 8U);
}

TEST_F(ScriptedReader, ReadsTheFirstBlockAloneWhenItsSizeDiffers) {
  fReadBuffer reader;
  reader.cfg_buffers(2, kBlock, kBlock / 2);
  ASSERT_TRUE(reader.open_file(lettered_file(3 * kBlock).c_str(), true, false, false));

  ASSERT_EQ(reader.getNextBlock(), kBlock / 2);

  EXPECT_EQ(transfers_.started(), (Started{{true, 0, kBlock / 2}, {true, kBlock / 2, kBlock}}));
}

TEST_F(ScriptedReader, ReadsOneBlockAtATimeWithoutReadAhead) {
  fReadBuffer reader;
  reader.cfg_buffers(4, kBlock, kBlock / 2);
  reader.disable_read_ahead();
  ASSERT_TRUE(reader.open_file(lettered_file(4 * kBlock).c_str(), true, false, false));

  for (std::size_t count = 1; count < 4; ++count) {
    ASSERT_GT(reader.getNextBlock(), 0U);
    EXPECT_EQ(transfers_.started().size(), count);
  }
  reader.enable_read_ahead();
  ASSERT_GT(reader.getNextBlock(), 0U);

  EXPECT_EQ(transfers_.started().size(), 5U);  // And what is left of the file, ahead.
}

TEST_F(ScriptedReader, CopiesAnotherThatDoesNotReadAhead) {
  fReadBuffer other;
  other.cfg_buffers(4, kBlock, kBlock / 2);
  other.disable_read_ahead();
  fReadBuffer reader(other);
  ASSERT_TRUE(reader.open_file(lettered_file(4 * kBlock).c_str(), true, false, false));

  ASSERT_GT(reader.getNextBlock(), 0U);

  EXPECT_EQ(transfers_.started().size(), 1U);
}

TEST_F(ScriptedReader, ACopyAsksForWhatTheOriginalWouldAskFor) {
  fReadBuffer other;
  other.cfg_buffers(3, 2 * kBlock, 4 * kBlock);
  fReadBuffer copy(other);
  fReadBuffer assigned;
  assigned = other;

  for (fReadBuffer* each : {&copy, &assigned}) {
    const std::size_t before = transfers_.started().size();
    ASSERT_TRUE(each->open_file(lettered_file(20 * kBlock).c_str(), true, false, false));
    EXPECT_EQ(each->getNextBlock(), 4 * kBlock);
    const Started all = transfers_.started();
    EXPECT_EQ(Started(all.begin() + static_cast<std::ptrdiff_t>(before), all.end()),
              (Started{{true, 0, 4 * kBlock},
                       {true, 4 * kBlock, 2 * kBlock},
                       {true, 6 * kBlock, 2 * kBlock}}));
  }
}

TEST_F(ScriptedReader, AnAssignmentEndsWhatWasBeingRead) {
  transfers_.every({.pends = true});
  for (const int count : {2, 8}) {
    SCOPED_TRACE(count);
    fReadBuffer other;
    other.cfg_buffers(count, kBlock, kBlock);
    fReadBuffer reader;
    ASSERT_TRUE(open(reader, 4, 20 * kBlock));
    ASSERT_EQ(next_letter(reader), 'A');

    reader = other;

    EXPECT_EQ(transfers_.pending_count(), 0);
    EXPECT_EQ(next_letter(reader), '-');
    const std::size_t before = transfers_.started().size();
    ASSERT_TRUE(reader.open_file(lettered_file(20 * kBlock).c_str(), true, false, false));
    ASSERT_EQ(next_letter(reader), 'A');
    EXPECT_EQ(transfers_.started().size(), before + static_cast<std::size_t>(count));
    EXPECT_EQ(rest_of(reader), "BCDEFGHIJKLMNOPQRST");
  }
}

TEST_F(ScriptedReader, LeavesABlockAloneThatItCouldNotPreload) {
  std::mt19937 random(95);
  const std::string whole = test::random_bytes(random, 4 * kBlock);
  fReadBuffer reader;
  reader.cfg_buffers(3, kBlock, kBlock / 2);
  transfers_.next({.error = 6});
  ASSERT_TRUE(reader.open_file(write("random", whole).c_str(), true, true, false));
  ASSERT_EQ(transfers_.started().size(), 1U);
  std::string bytes(whole.size(), '\0');

  EXPECT_EQ(reader.read_file(bytes.data(), 1, bytes.size()), bytes.size());

  EXPECT_TRUE(bytes == whole);
}

TEST_F(ScriptedReader, RoundsTheLastReadUpButNotWhatItGives) {
  fReadBuffer reader;
  ASSERT_TRUE(open(reader, 2, kBlock + 100));
  ASSERT_EQ(reader.getNextBlock(), kBlock);

  EXPECT_EQ(reader.getNextBlock(), 100U);

  EXPECT_EQ(transfers_.started(), (Started{{true, 0, kBlock}, {true, kBlock, 4096}}));
  EXPECT_EQ(reader.getNextBlock(), 0U);
  EXPECT_EQ(transfers_.started().size(), 2U);
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(ScriptedReader, KeepsWhatItHasReadAheadAtTheEndOfABlock) {
  fReadBuffer reader;
  ASSERT_TRUE(open(reader, 3, 4 * kBlock));
  ASSERT_EQ(next_letter(reader), 'A');
  const Started before = transfers_.started();

  reader.set_position(kBlock);

  EXPECT_EQ(transfers_.started(), before);
  EXPECT_EQ(rest_of(reader), "BCD");
  EXPECT_EQ(transfers_.started(), (Started{{true, 0, kBlock},
                                           {true, kBlock, kBlock},
                                           {true, 2 * kBlock, kBlock},
                                           {true, 3 * kBlock, kBlock}}));
}

TEST_F(ScriptedReader, PreloadsTheFirstBuffer) {
  transfers_.every({.pends = true});
  for (const int buffers : {1, 3}) {
    SCOPED_TRACE(buffers);
    fReadBuffer reader;
    const std::size_t before = transfers_.started().size();

    ASSERT_TRUE(open(reader, buffers, 3 * kBlock, true));

    EXPECT_EQ(transfers_.started().size(), before + 1);
    EXPECT_EQ(transfers_.started().back(), (StartedTransfer{true, 0, kBlock}));
    EXPECT_EQ(rest_of(reader), "ABC");
  }
}

TEST_F(ScriptedReader, PreloadsAShortFileRoundedUp) {
  fReadBuffer reader;

  ASSERT_TRUE(open(reader, 2, 100, true));

  EXPECT_EQ(transfers_.started(), (Started{{true, 0, 4096}}));
  EXPECT_EQ(reader.getNextBlock(), 100U);
}

TEST_F(ScriptedReader, UsesTheFlagsThatTheConfigurationAllows) {
  const std::string name = lettered_file(100);
  fReadBuffer reader;

  ASSERT_TRUE(reader.open_file(name.c_str(), true, false, true));
  EXPECT_TRUE(transfers_.opened().back().unbuffered);
  EXPECT_TRUE(transfers_.opened().back().overlapped);
  EXPECT_TRUE(transfers_.opened().back().share_read);

  rwBufferConfigure(0, false, true, true);
  ASSERT_TRUE(reader.open_file(name.c_str(), false, false, true));
  rwBufferConfigure(0, false, false, false);
  EXPECT_FALSE(transfers_.opened().back().unbuffered);
  EXPECT_FALSE(transfers_.opened().back().overlapped);
  EXPECT_FALSE(transfers_.opened().back().share_read);
}

// ---- Failures

TEST_F(ScriptedReader, AFailedReadEndsTheFile) {
  transfers_.next({.pends = true});
  transfers_.next({.pends = true, .error = 23});
  transfers_.every({.pends = true});
  fReadBuffer reader;
  ASSERT_TRUE(open(reader, 4, 8 * kBlock));
  ASSERT_EQ(next_letter(reader), 'A');

  EXPECT_EQ(reader.getNextBlock(), 0U);

  EXPECT_EQ(log_.lines(), (Lines{"ERROR: IO completion error(3) - (0 8192) : 'error 23'",
                                 "ERROR: FileBuffer: '" + directory_.path("lettered") +
                                     "' ended at 8192 of 65536 bytes"}));
  unsigned long long available = 1;
  EXPECT_EQ(reader.get_bufptr(&available), nullptr);
  EXPECT_EQ(available, 0U);
}

TEST_F(ScriptedReader, BlocksBehindAFailedOneDoNotPassForIt) {
  transfers_.next({.pends = true});
  transfers_.next({.pends = true, .error = 23});
  transfers_.every({.pends = true});
  fReadBuffer reader;
  ASSERT_TRUE(open(reader, 4, 8 * kBlock));
  ASSERT_EQ(reader.skip_file(kBlock - 2, 1), kBlock - 2);

  EXPECT_EQ(reader.read_int(), -1);

  EXPECT_EQ(reader.read_byte(), 255);
  EXPECT_EQ(next_letter(reader), '-');
  EXPECT_EQ(transfers_.pending_count(), 0);
}

TEST_F(ScriptedReader, ReadsOnFromAPositionAfterAFailure) {
  transfers_.next({.error = 23});
  fReadBuffer reader;
  ASSERT_TRUE(open(reader, 1, 4 * kBlock));
  ASSERT_EQ(next_letter(reader), '-');
  ASSERT_EQ(next_letter(reader), '-');

  reader.set_position(kBlock);

  EXPECT_EQ(rest_of(reader), "BCD");
}

TEST_F(ScriptedReader, AFirstStartThatFailsIsTriedAgainAlone) {
  transfers_.next({.error = 1450});
  fReadBuffer reader;
  ASSERT_TRUE(open(reader, 3, 6 * kBlock));

  EXPECT_EQ(rest_of(reader), "ABCDEF");

  EXPECT_EQ(log_.lines(), Lines{"ERROR: IO read error(1) : 'error 1450'"});
}

TEST_F(ScriptedReader, APreloadThatFailsLeavesAReaderThatReads) {
  for (const int buffers : {1, 3}) {
    SCOPED_TRACE(buffers);
    transfers_.next({.error = 1450});
    fReadBuffer reader;

    ASSERT_TRUE(open(reader, buffers, 6 * kBlock, true));

    EXPECT_EQ(rest_of(reader), "ABCDEF");
  }
}

TEST_F(ScriptedReader, ReadAheadThatCannotStartIsMadeUpFor) {
  fReadBuffer reader;
  ASSERT_TRUE(open(reader, 2, 6 * kBlock));
  ASSERT_EQ(next_letter(reader), 'A');
  transfers_.next({.error = 1450});  // What would be read ahead when B is taken.

  EXPECT_EQ(rest_of(reader), "BCDEF");
}

TEST_F(ScriptedReader, AFileCutMeanwhileGivesWhatIsThere) {
  transfers_.next({.pends = true, .bytes = 100});
  fReadBuffer reader;
  ASSERT_TRUE(open(reader, 1, kBlock));

  EXPECT_EQ(reader.getNextBlock(), 100U);
}

// ---- Files that change while they are read

// What lies behind a short block is read once more, from where it ended.
TEST_F(ScriptedReader, GoesOnBehindAShortBlockWhereverItEnds) {
  std::mt19937 random(7);
  const std::string bytes = test::random_bytes(random, 6 * kBlock + 77);
  const std::string name = write("random", bytes);
  for (int short_block = 0; short_block < 7; ++short_block) {
    for (const std::uint32_t length : {1U, 511U, 512U, 4095U, 4096U}) {
      for (const int buffers : {1, 2, 3, 8}) {
        SCOPED_TRACE(testing::Message() << short_block << ' ' << length << ' ' << buffers);
        fReadBuffer reader;
        reader.cfg_buffers(buffers, kBlock, kBlock);
        for (int i = 0; i < short_block; ++i) {
          transfers_.next({});
        }
        transfers_.next({.pends = true, .bytes = length});
        ASSERT_TRUE(reader.open_file(name.c_str(), true, false, false));
        std::string read(bytes.size() + 1, '\0');
        read.resize(reader.read_file(read.data(), 1, read.size()));

        ASSERT_TRUE(read == bytes);
      }
    }
  }
}

TEST_F(ScriptedReader, SaysHowFarAFileWentThatEndsEarly) {
  fReadBuffer reader;
  ASSERT_TRUE(open(reader, 2, 4 * kBlock));
  ASSERT_EQ(reader.getNextBlock(), kBlock);
  std::filesystem::resize_file(test::to_path(directory_.path("lettered")), 2 * kBlock + 100);
  std::string rest(4 * kBlock, '\0');

  EXPECT_EQ(reader.read_file(rest.data(), 1, rest.size()), 2 * kBlock + 100);

  EXPECT_EQ(errors().back(), "ERROR: FileBuffer: '" + directory_.path("lettered") +
                                 "' ended at 16484 of 32768 bytes");
  EXPECT_EQ(reader.getNextBlock(), 0U);
  EXPECT_EQ(reader.get_bufptr(nullptr), nullptr);
}

TEST_F(ScriptedReader, ReadsAFileOfUnknownSizeToItsEnd) {
  const std::string bytes = std::string(kBlock, 'a') + std::string(kBlock, 'b') + "end";
  const std::string name = write("unknown", bytes);
  for (const int buffers : {1, 8}) {
    transfers_.refuse_size_questions(1);
    fReadBuffer reader;
    reader.cfg_buffers(buffers, kBlock, kBlock);
    ASSERT_TRUE(reader.open_file(name.c_str(), true, false, false));
    transfers_.next({.pends = true, .bytes = 10});  // As a pipe gives what it has.
    std::string read(4 * kBlock, '\0');

    read.resize(reader.read_file(read.data(), 1, read.size()));

    EXPECT_EQ(read, bytes);
    EXPECT_EQ(reader.get_file_size(), 0U);
    EXPECT_EQ(reader.getNextBlock(), 0U);
  }
}

// A pipe has no positions: what it has given cannot be asked for again, and its end is asked for once.
TEST_F(ScriptedReader, AsksAFileOfUnknownSizeForEachByteOnce) {
  const std::string name = write("unknown", std::string(kBlock + 100, 'u'));
  transfers_.refuse_size_questions(1);
  transfers_.next({.bytes = 10});
  fReadBuffer reader;
  reader.cfg_buffers(1, kBlock, kBlock);
  ASSERT_TRUE(reader.open_file(name.c_str(), true, false, false));

  EXPECT_EQ(reader.skip_file(2 * kBlock, 1), kBlock + 100);
  EXPECT_EQ(reader.getNextBlock(), 0U);

  EXPECT_EQ(transfers_.started(), (Started{{true, 0, kBlock},
                                           {true, 10, kBlock},
                                           {true, kBlock + 10, kBlock},
                                           {true, kBlock + 100, kBlock}}));
}

TEST_F(ScriptedReader, GoesBackInsideABlockOfAFileOfUnknownSize) {
  const std::string name = write("unknown", "0123456789");
  for (const std::uint32_t given : {1U, 10U}) {
    SCOPED_TRACE(given);
    transfers_.refuse_size_questions(1);
    transfers_.next({.bytes = given});
    fReadBuffer reader;
    reader.cfg_buffers(1, kBlock, kBlock);
    ASSERT_TRUE(reader.open_file(name.c_str(), true, false, false));
    ASSERT_EQ(reader.read_byte(), '0');
    const Started before = transfers_.started();

    reader.set_position(0);

    EXPECT_EQ(reader.read_byte(), '0');
    EXPECT_EQ(transfers_.started(), before);
  }
}

// ---- Shapes

TEST_F(ScriptedReader, GivesTheFirstBlockTheSizeThatWasAskedForIt) {
  fReadBuffer reader;
  reader.cfg_buffers(2, kBlock, 3 * kBlock);
  ASSERT_TRUE(reader.open_file(lettered_file(6 * kBlock).c_str(), true, false, false));

  EXPECT_EQ(reader.getNextBlock(), 3 * kBlock);
  EXPECT_EQ(next_letter(reader), 'D');
}

TEST_F(ScriptedReader, RoundsASmallerSizeThatWasAskedForLater) {
  fReadBuffer reader;
  ASSERT_TRUE(open(reader, 2, 8 * kBlock));
  ASSERT_TRUE(reader.ensure_buffers());

  reader.cfg_buffers(2, kBlock / 2 + 1, kBlock / 2 + 1);
  ASSERT_GT(reader.getNextBlock(), 0U);

  for (const test::StartedTransfer& transfer : transfers_.started()) {
    EXPECT_EQ(transfer.size % 4096, 0U);
    EXPECT_EQ(transfer.offset % 4096, 0U);
  }
}

TEST_F(ScriptedReader, ClosingWaitsForWhatIsInFlight) {
  transfers_.every({.pends = true});
  fReadBuffer reader;
  ASSERT_TRUE(open(reader, 4, 8 * kBlock));
  ASSERT_EQ(next_letter(reader), 'A');
  ASSERT_EQ(transfers_.pending_count(), 3);

  reader.close_file();

  EXPECT_EQ(transfers_.pending_count(), 0);
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(ScriptedReader, LargerBuffersWaitForTheReadsOfTheSmallerOnes) {
  transfers_.every({.pends = true});
  fReadBuffer reader;
  ASSERT_TRUE(open(reader, 3, 9 * kBlock));
  ASSERT_EQ(next_letter(reader), 'A');
  ASSERT_EQ(next_letter(reader), 'B');
  ASSERT_GT(transfers_.pending_count(), 0);

  reader.cfg_buffers(3, 2 * kBlock, 2 * kBlock);
  EXPECT_TRUE(reader.ensure_buffers());

  EXPECT_EQ(transfers_.pending_count(), 0);
  EXPECT_EQ(rest_of(reader), "CEGI");
}

TEST_F(ScriptedReader, GoesOnBehindABlockWhoseBufferWasReplaced) {
  fReadBuffer reader;
  ASSERT_TRUE(open(reader, 2, 9 * kBlock));
  ASSERT_EQ(reader.read_byte(), 'A');

  reader.cfg_buffers(2, 2 * kBlock, 2 * kBlock);
  EXPECT_TRUE(reader.ensure_buffers());

  EXPECT_EQ(reader.read_byte(), 'B');
}

TEST_F(ScriptedReader, KeepsItsOwnersFileAndItsPlaceInAnAssignment) {
  const OpenFile file(io_open64(lettered_file(9 * kBlock).c_str(), 0, false, true, false));
  fReadBuffer other;
  other.cfg_buffers(2, 2 * kBlock, 2 * kBlock);
  fReadBuffer reader(file.get());
  reader.cfg_buffers(4, kBlock, kBlock);
  ASSERT_EQ(reader.read_byte(), 'A');

  reader = other;

  EXPECT_EQ(reader.read_byte(), 'B');
}

TEST_F(ScriptedReader, SaysWhichBufferCouldNotBeAllocated) {
  const test::PagesScript machine;
  machine->commits_granted = 2;
  fReadBuffer reader;
  ASSERT_TRUE(open(reader, 4, 8 * kBlock));

  EXPECT_FALSE(reader.ensure_buffers());

  ASSERT_EQ(errors().size(), 1U);
  EXPECT_EQ(errors()[0], "ERROR: FileBuffer: Failed to allocate buffer space (8.00Kb/2)");
}

TEST_F(ScriptedReader, GoesOnWithTheBuffersThatCouldBeHad) {
  const test::PagesScript machine;
  machine->commits_granted = 2;
  transfers_.every({.pends = true});
  fReadBuffer reader;
  ASSERT_TRUE(open(reader, 4, 8 * kBlock));
  ASSERT_FALSE(reader.ensure_buffers());
  machine->commits_granted = machine->commits.size() + 2;

  ASSERT_EQ(next_letter(reader), 'A');

  EXPECT_EQ(transfers_.started().size(), 2U);
  EXPECT_EQ(rest_of(reader), "BCDEFGH");
}

TEST_F(ScriptedReader, GoesOnWithTheOneBufferThatCouldBeHad) {
  const test::PagesScript machine;
  machine->commits_granted = 1;
  fReadBuffer reader;
  ASSERT_TRUE(open(reader, 4, 3 * kBlock));
  ASSERT_FALSE(reader.ensure_buffers());
  machine->commits_granted = machine->commits.size() + 8;

  reader.cfg_buffers(4, kBlock, kBlock);  // Ignored: there is one.

  EXPECT_EQ(next_letter(reader), 'A');
  EXPECT_EQ(transfers_.started().size(), 1U);
}

TEST_F(ScriptedReader, TakesAnotherCountWhenItHasNoBuffer) {
  const test::PagesScript machine;
  machine->commits_granted = 0;
  fReadBuffer reader;
  ASSERT_TRUE(open(reader, 4, 2 * kBlock));
  ASSERT_FALSE(reader.ensure_buffers());
  machine->commits_granted = machine->commits.size() + 2;

  reader.cfg_buffers(2, kBlock, kBlock);

  EXPECT_EQ(rest_of(reader), "AB");
}

TEST_F(ScriptedReader, HasNothingOfABlockWhoseBufferIsGone) {
  const test::PagesScript machine;
  fReadBuffer reader;
  ASSERT_TRUE(open(reader, 1, 4 * kBlock));
  ASSERT_EQ(next_letter(reader), 'A');
  reader.cfg_buffers(1, 2 * kBlock, 2 * kBlock);
  machine->commits_granted = machine->commits.size();

  EXPECT_EQ(reader.getNextBlock(), 0U);

  EXPECT_EQ(reader.read_byte(), 255);
}

TEST_F(ScriptedReader, WithoutAnyBufferReadsNothingUntilConfiguredAgain) {
  const test::PagesScript machine;
  machine->commits_granted = 0;
  fReadBuffer reader;
  ASSERT_TRUE(open(reader, 4, 2 * kBlock));

  EXPECT_EQ(next_letter(reader), '-');
  EXPECT_EQ(next_letter(reader), '-');
  EXPECT_TRUE(transfers_.started().empty());
  EXPECT_EQ(errors()[0], "ERROR: FileBuffer: Failed to allocate buffer space (8.00Kb/0)");

  machine->commits_granted = machine->commits.size() + 2;
  reader.cfg_buffers(2, kBlock, kBlock);
  reader.set_position(0);
  EXPECT_EQ(rest_of(reader), "AB");
}

// ---- Raw reads

class ScriptedRawReads : public ScriptedReader {
 protected:
  static constexpr unsigned long long kPiece = 65537;

  void TearDown() override { fReadBuffer::set_xfer_breakvalue(0); }

  unsigned long long read_raw(unsigned long long size) {
    fReadBuffer reader;
    EXPECT_TRUE(reader.open_file(lettered_file(40 * kBlock).c_str(), true, false, false));
    bytes_.assign(100 * kBlock, 'x');
    return reader.read_raw_bytes(bytes_.data(), 0, size, bytes_.size());
  }

  std::string bytes_;
};

TEST_F(ScriptedRawReads, AreSplitFromABreakValueOf65537On) {
  fReadBuffer::set_xfer_breakvalue(65536);
  EXPECT_EQ(read_raw(40 * kBlock), 40 * kBlock);
  EXPECT_EQ(transfers_.started().size(), 1U);

  fReadBuffer::set_xfer_breakvalue(65537);
  EXPECT_EQ(read_raw(40 * kBlock), 40 * kBlock);
  EXPECT_EQ(transfers_.started().size(), 1U + 5U);
  EXPECT_EQ(transfers_.started()[1], (StartedTransfer{true, 0, kPiece}));
  EXPECT_EQ(transfers_.started()[2], (StartedTransfer{true, kPiece, kPiece}));
}

TEST_F(ScriptedRawReads, OfAnUnbufferedFileHavePiecesOfWholeSectors) {
  fReadBuffer::set_xfer_breakvalue(65537);
  std::mt19937 random(3);
  const std::string bytes = test::random_bytes(random, 40 * kBlock);
  fReadBuffer reader;
  ASSERT_TRUE(reader.open_file(write("raw", bytes).c_str(), true, false, true));
  auto* to = static_cast<char*>(os_alloc(40 * kBlock, 0));

  EXPECT_EQ(reader.read_raw_bytes(to, 0, 40 * kBlock, 40 * kBlock), 40 * kBlock);

  ASSERT_EQ(transfers_.started().size(), 5U);
  EXPECT_EQ(transfers_.started()[0], (StartedTransfer{true, 0, 65536}));
  EXPECT_TRUE(std::string(to, to + 40 * kBlock) == bytes);
  EXPECT_EQ(errors(), Lines{});
  os_free(to);
}

TEST_F(ScriptedRawReads, AreWholeUpToTwiceTheBreakValue) {
  fReadBuffer::set_xfer_breakvalue(10 * kBlock);

  EXPECT_EQ(read_raw(20 * kBlock), 20 * kBlock);
  EXPECT_EQ(transfers_.started().size(), 1U);
  EXPECT_EQ(read_raw(20 * kBlock + 1), 20 * kBlock + 4096);
  EXPECT_EQ(transfers_.started().size(), 1U + 3U);
}

TEST_F(ScriptedRawReads, HaveTenPiecesInFlightAtMost) {
  fReadBuffer::set_xfer_breakvalue(kPiece);
  transfers_.every({.pends = true});
  fReadBuffer reader;
  const std::string name = write("long", std::string(25 * kPiece, 'l'));
  ASSERT_TRUE(reader.open_file(name.c_str(), true, false, false));
  bytes_.assign(26 * kPiece, 'x');

  EXPECT_GE(reader.read_raw_bytes(bytes_.data(), 0, 25 * kPiece, bytes_.size()), 25 * kPiece);

  EXPECT_EQ(transfers_.most_pending(), 10);
  EXPECT_EQ(transfers_.pending_count(), 0);
  EXPECT_EQ(bytes_.substr(0, 25 * kPiece), std::string(25 * kPiece, 'l'));
}

TEST_F(ScriptedRawReads, LeaveNothingRunningBehindAPieceWhoseEndIsNotKnown) {
  fReadBuffer::set_xfer_breakvalue(kPiece);
  transfers_.next({.pends = true, .error = 996});
  transfers_.every({.pends = true});
  fReadBuffer reader;
  const std::string name = write("long", std::string(25 * kPiece, 'l'));
  ASSERT_TRUE(reader.open_file(name.c_str(), true, false, false));
  bytes_.assign(26 * kPiece, 'x');

  reader.read_raw_bytes(bytes_.data(), 0, 25 * kPiece, bytes_.size());

  EXPECT_EQ(transfers_.pending_count(), 0);
  EXPECT_EQ(transfers_.most_pending(), 10);
}

TEST_F(ScriptedRawReads, OfAHandleHavePiecesOfTheBreakValue) {
  fReadBuffer::set_xfer_breakvalue(kPiece);
  const OpenFile file(io_open64(lettered_file(40 * kBlock).c_str(), 0, false, true, false));
  fReadBuffer reader(file.get());
  bytes_.assign(41 * kBlock, 'x');

  EXPECT_EQ(reader.read_raw_bytes(bytes_.data(), 0, 40 * kBlock, bytes_.size()), 40 * kBlock);

  ASSERT_FALSE(transfers_.started().empty());
  EXPECT_EQ(transfers_.started()[0], (StartedTransfer{true, 0, kPiece}));
}

TEST_F(ScriptedReader, HasOneBufferOfAMebibyteAtFirst) {
  fReadBuffer reader;
  ASSERT_TRUE(
      reader.open_file(write("large", std::string(3 << 20, 'l')).c_str(), true, false, false));

  reader.getNextBlock();

  EXPECT_EQ(transfers_.started(), (Started{{true, 0, 1 << 20}}));
}

TEST_F(ScriptedRawReads, AreWholeWhenTheFirstTenPiecesEndAtOnce) {
  fReadBuffer::set_xfer_breakvalue(kPiece);
  for (int i = 0; i < 10; ++i) {
    transfers_.next({});
  }
  transfers_.every({.pends = true});
  fReadBuffer reader;
  const std::string name = write("long", std::string(13 * kPiece, 'l'));
  ASSERT_TRUE(reader.open_file(name.c_str(), true, false, false));
  bytes_.assign(14 * kPiece, 'x');

  EXPECT_GE(reader.read_raw_bytes(bytes_.data(), 0, 13 * kPiece, bytes_.size()), 13 * kPiece);

  EXPECT_EQ(transfers_.pending_count(), 0);
  EXPECT_TRUE(bytes_.substr(0, 13 * kPiece) == std::string(13 * kPiece, 'l'));
}

TEST_F(ScriptedRawReads, TellHowFarTheyCameWhenAPieceCannotStart) {
  fReadBuffer::set_xfer_breakvalue(kPiece);
  transfers_.next({.pends = true});
  transfers_.next({.pends = true});
  transfers_.next({.error = 1450});

  EXPECT_EQ(read_raw(40 * kBlock), 2 * kPiece);

  EXPECT_EQ(transfers_.pending_count(), 0);
}

TEST_F(ScriptedRawReads, KeepsCountingAPieceThatFailsWhileItRuns) {
  fReadBuffer::set_xfer_breakvalue(kPiece);
  transfers_.next({.pends = true, .error = 23});

  EXPECT_EQ(read_raw(40 * kBlock), 40 * kBlock);

  EXPECT_EQ(log_.lines(), Lines{"ERROR: IO completion error(3) - (0 65537) : 'error 23'"});
}

TEST_F(ScriptedRawReads, AWholeReadThatFailsGivesOnlyTheHead) {
  fReadBuffer reader;
  reader.cfg_buffers(1, kBlock, kBlock);
  ASSERT_TRUE(reader.open_file(lettered_file(40 * kBlock).c_str(), true, false, false));
  ASSERT_EQ(next_letter(reader), 'A');
  bytes_.assign(100 * kBlock, 'x');
  transfers_.next({.error = 23});

  EXPECT_EQ(reader.read_raw_bytes(bytes_.data(), 8000, 10000, bytes_.size()), 192U);
}

}  // namespace
}  // namespace orsin
