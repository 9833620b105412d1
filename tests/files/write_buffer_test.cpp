// The buffered writer on real files and in memory.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "orsincore/io.h"
#include "orsincore/memory.h"
#include "tests/files/copy_calls.h"
#include "tests/files/io_fixture.h"

namespace orsin {
namespace {

using test::Lines;
using test::OpenFile;

constexpr int kBuffer = 8192;

// Sees what goes through write_file().
class WatchedWriter : public fWriteBuffer {
 public:
  WatchedWriter() : fWriteBuffer(io_invalid_handle(), false) {}

  unsigned long long write_file(const void* data, unsigned long long size,
                                unsigned long long count) override {
    ++calls_;
    return fWriteBuffer::write_file(data, size, count);
  }
  [[nodiscard]] int calls() const { return calls_; }

 private:
  int calls_ = 0;
};

class WriteBuffer : public test::IoTest {
 protected:
  void open(fWriteBuffer& writer, const char* name = "out", int size = kBuffer) {
    ASSERT_TRUE(writer.set_buffer(size, true));
    ASSERT_TRUE(writer.open_file(path(name).c_str(), 0, false));
  }
  static void add(fWriteBuffer& writer, const std::string& bytes) {
    ASSERT_EQ(writer.write_file(bytes.data(), 1, bytes.size()), bytes.size());
  }
  static std::string as_text(fWriteBuffer& memory_writer) {
    return std::string(reinterpret_cast<const char*>(memory_writer.get_current_buffer()),
                       memory_writer.get_buffer_used());
  }

  fWriteBuffer writer_{io_invalid_handle(), false};
};

// ---- Writing

TEST_F(WriteBuffer, AFullBufferIsWrittenAtOnce) {
  for (const bool double_buffer : {true, false}) {
    SCOPED_TRACE(double_buffer);
    fWriteBuffer writer(io_invalid_handle(), false);
    ASSERT_TRUE(writer.set_buffer(kBuffer, double_buffer));
    ASSERT_TRUE(writer.open_file(path("out").c_str(), 0, false));

    add(writer, std::string(kBuffer, 'w'));

    EXPECT_EQ(writer.get_buffer_used(), 0U);
    EXPECT_EQ(writer.get_file_position(), 8192U);
    EXPECT_EQ(writer.data_pending(), double_buffer);  // Its write may still be running.
    EXPECT_EQ(writer.close_file(true), 1);
    EXPECT_EQ(content("out"), std::string(kBuffer, 'w'));
  }
}

TEST_F(WriteBuffer, AnAlmostFullBufferIsNot) {
  open(writer_);

  add(writer_, std::string(kBuffer - 1, 'w'));

  EXPECT_EQ(writer_.get_buffer_used(), 8191U);
}

TEST_F(WriteBuffer, TakesTheByteBehindAFullBuffer) {
  open(writer_);
  const std::string bytes = std::string(kBuffer, 'f') + "g";

  add(writer_, bytes);

  writer_.close_file(true);
  EXPECT_EQ(content("out"), bytes);
}

TEST_F(WriteBuffer, TakesMoreThanManyBuffersInOneCall) {
  std::mt19937 random(3);
  const std::string bytes = test::random_bytes(random, 10 * kBuffer + 77);
  open(writer_);

  EXPECT_EQ(writer_.write_file(bytes.data(), bytes.size(), 1), bytes.size());
  EXPECT_EQ(writer_.get_file_position(), bytes.size());
  writer_.close_file(true);

  EXPECT_EQ(content("out"), bytes);
  EXPECT_EQ(writer_.error(), 0);
}

// Long runs into large buffers go past the processor's caches, whatever their beginning and their length.
TEST_F(WriteBuffer, HoldsLongRunsInLargeBuffersToTheByte) {
  constexpr int kLarge = 4 << 20;
  const std::string bytes = test::random_content(2 * kLarge + 12345);
  fWriteBuffer writer(io_invalid_handle(), false);
  ASSERT_TRUE(writer.set_buffer(kLarge, true));
  ASSERT_TRUE(writer.open_file(path("out").c_str(), 0, false));

  for (std::size_t at = 0, run = 65535; at < bytes.size(); at += run, run += 65537) {
    run = std::min(run, bytes.size() - at);
    ASSERT_EQ(writer.write_file(bytes.data() + at, 1, run), run);
  }
  writer.close_file(true);

  EXPECT_TRUE(content("out") == bytes);
}

TEST_F(WriteBuffer, ClosingLeavesTheBytesThatWereWrittenAndNoMore) {
  open(writer_);
  add(writer_, "0123456789");

  EXPECT_EQ(writer_.close_file(true), 1);

  EXPECT_EQ(content("out"), "0123456789");
}

TEST_F(WriteBuffer, ClosingReplacesWhatALongerFileHeld) {
  write("out", std::string(50000, 'o'));
  open(writer_);
  add(writer_, "new");

  writer_.close_file(true);

  EXPECT_EQ(content("out"), "new");
}

TEST_F(WriteBuffer, ClosingTwiceOrWithoutAFileDoesNothing) {
  EXPECT_EQ(writer_.close_file(true), 1);
  EXPECT_EQ(writer_.close_file(false), 1);
  open(writer_);
  add(writer_, "x");
  writer_.close_file(true);

  EXPECT_EQ(writer_.close_file(true), 1);

  EXPECT_EQ(content("out"), "x");
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(WriteBuffer, WritesOneFileAfterAnother) {
  open(writer_, "first");
  add(writer_, "first file");

  ASSERT_TRUE(writer_.open_file(path("second").c_str(), 0, false));
  EXPECT_STREQ(writer_.name(), path("second").c_str());
  add(writer_, "second");
  writer_.close_file(true);

  EXPECT_EQ(content("first"), "first file");
  EXPECT_EQ(content("second"), "second");
}

TEST_F(WriteBuffer, AFileThatCannotBeCreatedIsFalse) {
  EXPECT_FALSE(writer_.open_file(path("no directory/out").c_str(), 0, false));

  EXPECT_FALSE(writer_.data_pending());
}

TEST_F(WriteBuffer, DestructionFinishesTheFile) {
  {
    fWriteBuffer writer(io_invalid_handle(), false);
    open(writer);
    add(writer, "finished");
  }

  EXPECT_EQ(content("out"), "finished");
}

TEST_F(WriteBuffer, WritesToAHandleThatStaysItsOwners) {
  const std::string name = path("out");
  OpenFile file(io_create64(name.c_str(), true, 0));
  {
    fWriteBuffer writer(file.get(), true);
    EXPECT_NE(writer.get_current_buffer(), nullptr);
    add(writer, "0123456789");
    EXPECT_EQ(writer.close_file(true), 1);
  }

  EXPECT_EQ(io_get_filesize64(file.get(), name.c_str()), 10);
  EXPECT_TRUE(io_write64(file.get(), "ab", 0, 2));
  file.close();
  EXPECT_EQ(content("out"), "ab23456789");
}

// Whatever was written before, the first write is over: what comes later goes behind it.
TEST_F(WriteBuffer, WithoutForceOnlyAFirstWriteGoesToTheStart) {
  const std::string whole(kBuffer, 'w');
  const std::string direct(kBuffer, 'd');
  const std::string half(kBuffer / 2, 'h');
  struct Case {
    const char* what;
    const std::string& bytes;
    void (*write)(fWriteBuffer& writer, const std::string& bytes);
  };
  const Case cases[] = {
      {"full buffer", whole, add},
      {"direct", direct,
       [](fWriteBuffer& writer, const std::string& bytes) {
         ASSERT_EQ(writer.add_write_buffer(bytes.data(), bytes.size()), bytes.size());
       }},
      {"flush", half,
       [](fWriteBuffer& writer, const std::string& bytes) {
         add(writer, bytes);
         writer.flush_buffers();
       }},
  };

  for (const Case& first : cases) {
    SCOPED_TRACE(first.what);
    for (const Case& second : cases) {
      SCOPED_TRACE(second.what);
      fWriteBuffer writer(io_invalid_handle(), false);
      open(writer);
      first.write(writer, first.bytes);
      second.write(writer, second.bytes);
      writer.flush_buffers();
      add(writer, "tail");

      EXPECT_EQ(writer.close_file(false), 1);

      EXPECT_FALSE(writer.data_pending());
      writer.close_file(true);
      EXPECT_EQ(content("out"), first.bytes + second.bytes + "tail");
    }
  }
}

TEST_F(WriteBuffer, WithoutForceAHeaderThatWasStartedIsTheFirstWrite) {
  const std::string header(kBuffer / 2, 'h');
  const std::string frame(kBuffer, 'd');
  open(writer_);
  add(writer_, header);
  EXPECT_EQ(writer_.close_file(false), 1);
  ASSERT_EQ(writer_.add_write_buffer(frame.data(), frame.size()), frame.size());
  writer_.flush_buffers();
  add(writer_, "tail");

  EXPECT_EQ(writer_.close_file(false), 1);

  EXPECT_FALSE(writer_.data_pending());
  writer_.close_file(true);
  EXPECT_EQ(content("out"), header + frame + "tail");
}

TEST_F(WriteBuffer, WithoutForceTheFirstWriteOnlyStarts) {
  open(writer_);
  add(writer_, "0");
  EXPECT_TRUE(writer_.data_pending());
  add(writer_, "123456789");

  EXPECT_EQ(writer_.close_file(false), 1);

  EXPECT_TRUE(writer_.data_pending());  // The file is still open.
  EXPECT_EQ(writer_.get_buffer_used(), 0U);
  EXPECT_EQ(writer_.close_file(true), 1);
  EXPECT_EQ(content("out"), "0123456789");
}

TEST_F(WriteBuffer, FlushingWritesWholeUnitsAndMovesOn) {
  open(writer_);
  const auto page = static_cast<unsigned long long>(mem_pagesize());
  add(writer_, "0123456789");
  EXPECT_TRUE(writer_.data_pending());

  writer_.flush_buffers();

  EXPECT_FALSE(writer_.data_pending());
  EXPECT_EQ(writer_.get_buffer_used(), 0U);
  EXPECT_EQ(writer_.get_file_position(), page);
  writer_.close_file(true);
  EXPECT_EQ(content("out"), "0123456789");
}

// ---- Direct writes

TEST_F(WriteBuffer, DirectWritesAreRoundedButTheFileIsNot) {
  open(writer_);
  const std::string bytes(8192, 'd');

  EXPECT_EQ(writer_.add_write_buffer(bytes.data(), 5000), 5000U);

  EXPECT_EQ(writer_.get_file_position(), 8192U);
  writer_.close_file(true);
  EXPECT_EQ(log_.lines(), Lines{"WARN : fWriteBuffer: Write buffer not aligned"});
  EXPECT_EQ(content("out"), std::string(5000, 'd'));
}

TEST_F(WriteBuffer, AlignedDirectWritesFollowEachOther) {
  open(writer_);
  const std::string first(8192, '1');
  const std::string second(4096, '2');

  EXPECT_EQ(writer_.add_write_buffer(first.data(), first.size()), first.size());
  EXPECT_EQ(writer_.add_write_buffer(second.data(), second.size()), second.size());
  writer_.close_file(true);

  EXPECT_EQ(content("out"), first + second);
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(WriteBuffer, ADirectWriteFollowsTheHeaderThatWasCollected) {
  for (const bool double_buffer : {true, false}) {
    SCOPED_TRACE(double_buffer);
    fWriteBuffer writer(io_invalid_handle(), false);
    ASSERT_TRUE(writer.set_buffer(kBuffer, double_buffer));
    ASSERT_TRUE(writer.open_file(path("out").c_str(), 0, false));
    add(writer, std::string(4096, 'h'));
    const std::string frame(8192, 'f');

    EXPECT_EQ(writer.add_write_buffer(frame.data(), frame.size()), frame.size());

    EXPECT_EQ(writer.get_file_position(), 4096U + 8192U);
    writer.close_file(true);
    EXPECT_EQ(content("out"), std::string(4096, 'h') + frame);
  }
}

TEST_F(WriteBuffer, ADirectWriteFollowsTheHeaderOfASecondFileToo) {
  const std::string header(4096, 'h');
  const std::string frame(8192, 'f');
  open(writer_, "first");
  add(writer_, std::string(3 * kBuffer, '1'));
  ASSERT_TRUE(writer_.open_file(path("second").c_str(), 0, false));
  add(writer_, header);

  EXPECT_EQ(writer_.add_write_buffer(frame.data(), frame.size()), frame.size());

  writer_.close_file(true);
  EXPECT_EQ(content("first"), std::string(3 * kBuffer, '1'));
  EXPECT_EQ(content("second"), header + frame);
}

TEST_F(WriteBuffer, ADirectWriteFollowsTheUnitOfASingleByte) {
  const std::string frame(8192, 'f');
  ASSERT_TRUE(writer_.set_buffer(kBuffer, true));
  ASSERT_TRUE(writer_.open_file(path("out").c_str(), 0, false));
  add(writer_, "h");

  EXPECT_EQ(writer_.add_write_buffer(frame.data(), frame.size()), frame.size());

  const unsigned long long unit = writer_.get_file_position() - frame.size();
  ASSERT_GE(unit, 512U);
  writer_.close_file(true);
  EXPECT_EQ(content("out")[0], 'h');
  EXPECT_EQ(content("out").substr(unit), frame);
}

TEST_F(WriteBuffer, WithoutAFileADirectWriteIsNothing) {
  EXPECT_EQ(writer_.add_write_buffer("x", 1), 0U);
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(WriteBuffer, KeepsWritingTheFirstBufferAtTheStartWhereverItStands) {
  write("out", std::string(70000, 'o'));
  open(writer_);
  ASSERT_TRUE(writer_.set_file_position(65536));
  add(writer_, "header");
  const std::string frame(4096, 'f');

  writer_.add_write_buffer(frame.data(), frame.size());

  EXPECT_EQ(writer_.get_file_position(), 65536U + 4096U + 4096U);
  writer_.close_file(true);
  const std::string found = content("out");
  EXPECT_EQ(found.substr(0, 6), "header");
  EXPECT_EQ(found.substr(65536, 3), "ooo");
  EXPECT_EQ(found.substr(65536 + 4096), frame);
}

// ---- Positions

TEST_F(WriteBuffer, APositionInsideTheBufferIsExact) {
  open(writer_);
  add(writer_, "0123456789");

  EXPECT_TRUE(writer_.is_file_position_inside_current_buffer(0));
  EXPECT_TRUE(writer_.is_file_position_inside_current_buffer(kBuffer - 1));
  EXPECT_FALSE(writer_.is_file_position_inside_current_buffer(kBuffer));
  EXPECT_TRUE(writer_.set_file_position(3));
  EXPECT_EQ(writer_.get_file_position(), 3U);
  add(writer_, "ab");
  EXPECT_EQ(writer_.get_buffer_used(), 10U);
  writer_.close_file(true);

  EXPECT_EQ(content("out"), "012ab56789");
}

TEST_F(WriteBuffer, AStepAheadInsideTheBufferLeavesZeroes) {
  open(writer_);
  add(writer_, "ab");

  ASSERT_TRUE(writer_.set_file_position(5));
  add(writer_, "c");
  writer_.close_file(true);

  EXPECT_EQ(content("out"), std::string("ab\0\0\0c", 6));
}

TEST_F(WriteBuffer, AStepOverWhatTheCallerHasPutIntoTheBufferWritesThat) {
  const std::string puts = "put by the caller";
  open(writer_);
  add(writer_, "ab");

  std::memcpy(writer_.get_current_buffer() + 2, puts.data(), puts.size());
  ASSERT_TRUE(writer_.set_file_position(2 + puts.size()));
  add(writer_, "cd");
  writer_.close_file(true);

  EXPECT_EQ(content("out"), "ab" + puts + "cd");
}

TEST_F(WriteBuffer, AStepOverWhatTheCallerHasPutIntoALaterBufferWritesThatToo) {
  const std::string first(kBuffer, 'x');
  const std::string puts(100, 'p');
  open(writer_);
  add(writer_, first);

  std::memcpy(writer_.get_current_buffer(), puts.data(), puts.size());
  ASSERT_TRUE(writer_.set_file_position(kBuffer + puts.size()));
  add(writer_, "end");
  writer_.close_file(true);

  EXPECT_EQ(content("out"), first + puts + "end");
}

TEST_F(WriteBuffer, EveryLaterStepAheadLeavesZeroesToo) {
  open(writer_);
  ASSERT_TRUE(writer_.set_file_position(5));
  add(writer_, std::string(4 * kBuffer - 5, 'x'));  // Both buffers hold x.

  add(writer_, "ab");
  ASSERT_TRUE(writer_.set_file_position(4 * kBuffer + 5));
  add(writer_, "c");
  writer_.close_file(true);

  EXPECT_EQ(content("out").substr(4 * kBuffer), std::string("ab\0\0\0c", 6));
}

TEST_F(WriteBuffer, AStepAheadInsideTheBufferReplacesWhatTheFileHeldThere) {
  open(writer_);
  add(writer_, std::string(2 * kBuffer, 'x'));
  ASSERT_TRUE(writer_.set_file_position(0));

  ASSERT_TRUE(writer_.set_file_position(100));
  add(writer_, "new");
  writer_.close_file(true);

  EXPECT_EQ(content("out").substr(0, 103), std::string(100, '\0') + "new");
  EXPECT_EQ(content("out").size(), 2U * kBuffer);
}

TEST_F(WriteBuffer, PutsAfterAStepAheadStayInsideTheBuffer) {
  open(writer_);

  ASSERT_TRUE(writer_.set_file_position(8190));
  writer_.put_int(0x04030201);
  EXPECT_EQ(writer_.get_file_position(), 8194U);
  EXPECT_EQ(writer_.get_buffer_used(), 2U);  // The full buffer left; the rest opened the next.
  writer_.close_file(true);

  EXPECT_EQ(writer_.error(), 0);
  EXPECT_EQ(content("out"), std::string(8190, '\0') + "\x01\x02\x03\x04");
}

TEST_F(WriteBuffer, AStepOutOfTheBufferForgetsAnEarlierStepInsideIt) {
  open(writer_);

  ASSERT_TRUE(writer_.set_file_position(100));
  ASSERT_TRUE(writer_.set_file_position(65536));

  EXPECT_EQ(writer_.get_file_position(), 65536U);
  writer_.close_file(true);
}

TEST_F(WriteBuffer, KeepsRoundingAPositionOutsideTheBufferDown) {
  open(writer_);
  add(writer_, std::string(3 * kBuffer, 'x'));

  EXPECT_TRUE(writer_.set_file_position(5000));

  EXPECT_EQ(writer_.get_file_position(), 4096U);
}

TEST_F(WriteBuffer, BeginsAFileWithoutWhatWasCollectedBefore) {
  ASSERT_TRUE(writer_.set_buffer(kBuffer, true));
  add(writer_, "in memory");
  ASSERT_TRUE(writer_.open_file(path("out").c_str(), 0, false));

  EXPECT_EQ(writer_.get_file_position(), 0U);
  add(writer_, "data");
  writer_.close_file(true);

  EXPECT_EQ(content("out"), "data");
}

TEST_F(WriteBuffer, AStepOutOfTheBufferWritesWhatWasCollected) {
  const std::string begin(kBuffer + 100, 'b');
  const std::string end(100, 'e');
  open(writer_);
  add(writer_, begin);

  ASSERT_TRUE(writer_.set_file_position(8 * kBuffer));
  add(writer_, end);
  ASSERT_TRUE(writer_.set_file_position(4096));
  add(writer_, std::string(4096, 'p'));
  writer_.close_file(true);

  const std::string found = content("out");
  ASSERT_EQ(found.size(), 8U * kBuffer + end.size());
  EXPECT_EQ(found.substr(0, 4096), begin.substr(0, 4096));
  EXPECT_EQ(found.substr(4096, 4096), std::string(4096, 'p'));
  EXPECT_EQ(found.substr(kBuffer, 100), begin.substr(kBuffer));
  EXPECT_EQ(found.substr(8 * kBuffer), end);
}

TEST_F(WriteBuffer, APatchLeavesTheEndOfTheDataWhereItWas) {
  open(writer_);
  add(writer_, std::string(3 * kBuffer, 'x'));

  ASSERT_TRUE(writer_.set_file_position(4096));
  add(writer_, "patch");
  writer_.close_file(true);

  const std::string found = content("out");
  ASSERT_EQ(found.size(), 3U * kBuffer);
  EXPECT_EQ(found.substr(0, 4096), std::string(4096, 'x'));
  EXPECT_EQ(found.substr(4096, 5), "patch");
  EXPECT_EQ(found.substr(8192), std::string(2 * kBuffer, 'x'));
}

TEST_F(WriteBuffer, KeepsOverwritingTheRestOfAPatchedUnit) {
  open(writer_);
  add(writer_, std::string(2 * kBuffer, 'x'));  // Both buffers hold x.
  add(writer_, std::string(2 * kBuffer, 'y'));  // Now y.

  ASSERT_TRUE(writer_.set_file_position(0));
  add(writer_, "patch");
  writer_.close_file(true);

  const std::string found = content("out");
  EXPECT_EQ(found.substr(0, 5), "patch");
  EXPECT_EQ(found.substr(5, 4096 - 5), std::string(4096 - 5, 'y'));
  EXPECT_EQ(found.substr(4096, 4096), std::string(4096, 'x'));
}

// ---- Numbers

TEST_F(WriteBuffer, PutsNumbersInTheMachinesOrderOrSwapped) {
  open(writer_);
  writer_.put_byte(1);
  writer_.put_short(0x0302);
  writer_.put_int(0x07060504);
  writer_.put_float(1.0F);

  writer_.set_endian(2);
  writer_.put_byte(1);
  writer_.put_short(0x0203);
  writer_.put_int(0x04050607);
  writer_.put_float(1.0F);
  writer_.set_endian(1);
  writer_.put_short(0x0908);
  writer_.close_file(true);

  EXPECT_EQ(content("out"), std::string("\x01\x02\x03\x04\x05\x06\x07\0\0\x80\x3F"
                                        "\x01\x02\x03\x04\x05\x06\x07\x3F\x80\0\0"
                                        "\x08\x09",
                                        24));
}

TEST_F(WriteBuffer, PutsGoThroughWriteFileWhenOnlyTheirOwnRoomIsLeft) {
  struct Case {
    const char* what;
    std::size_t width;
    void (*put)(fWriteBuffer& writer);
  };
  const Case cases[] = {
      {"byte", 1, [](fWriteBuffer& writer) { writer.put_byte(7); }},
      {"short", 2, [](fWriteBuffer& writer) { writer.put_short(7); }},
      {"int", 4, [](fWriteBuffer& writer) { writer.put_int(7); }},
      {"float", 4, [](fWriteBuffer& writer) { writer.put_float(7); }},
  };

  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    for (std::size_t room = c.width; room <= c.width + 1; ++room) {
      SCOPED_TRACE(room);
      WatchedWriter writer;
      open(writer);
      add(writer, std::string(kBuffer - room, 'x'));
      const int before = writer.calls();

      c.put(writer);

      EXPECT_EQ(writer.calls(), before + (room == c.width ? 1 : 0));
      EXPECT_EQ(writer.get_buffer_used(), room == c.width ? 0U : kBuffer - 1U);
    }
  }
}

TEST_F(WriteBuffer, KeepsMeasuringTheRoomOfPutsFromTheHighWaterMark) {
  WatchedWriter writer;
  open(writer);
  add(writer, std::string(kBuffer - 4, 'x'));
  ASSERT_TRUE(writer.set_file_position(0));  // All the room in the world, but for the mark.
  const int before = writer.calls();

  writer.put_int(7);

  EXPECT_EQ(writer.calls(), before + 1);
}

// ---- Buffers

TEST_F(WriteBuffer, ABufferOfTheSameShapeStays) {
  open(writer_);
  add(writer_, "collected");
  const unsigned char* const before = writer_.get_current_buffer();

  EXPECT_TRUE(writer_.set_buffer(kBuffer, true));

  EXPECT_EQ(writer_.get_current_buffer(), before);
  EXPECT_EQ(writer_.get_buffer_used(), 9U);
}

TEST_F(WriteBuffer, ABufferOfAnotherShapeIsEmptyAfterAFlush) {
  open(writer_);
  add(writer_, "collected");

  EXPECT_TRUE(writer_.set_buffer(kBuffer, false));

  EXPECT_EQ(writer_.get_buffer_used(), 0U);
  EXPECT_EQ(writer_.get_file_position(), static_cast<unsigned long long>(mem_pagesize()));
  writer_.close_file(true);
  EXPECT_EQ(content("out"), "collected");
}

TEST_F(WriteBuffer, ABufferIsAtLeastOneUnit) {
  ASSERT_TRUE(writer_.set_buffer(1, false));
  ASSERT_TRUE(writer_.open_file(path("out").c_str(), 0, false));

  EXPECT_TRUE(writer_.is_file_position_inside_current_buffer(8191));  // The default alignment.
}

TEST_F(WriteBuffer, HasNoBufferBeforeOneIsAskedFor) {
  const OpenFile file(io_create64(path("out").c_str(), true, 0));
  fWriteBuffer single(file.get(), false);
  fWriteBuffer without_file(io_invalid_handle(), true);

  EXPECT_EQ(single.get_current_buffer(), nullptr);
  EXPECT_EQ(without_file.get_current_buffer(), nullptr);
}

TEST_F(WriteBuffer, ABufferThatIsLargeEnoughStaysWhereItIs) {
  open(writer_);
  const unsigned char* const before = writer_.get_current_buffer();

  EXPECT_TRUE(writer_.ensure_minimum_buffer_size(kBuffer));

  EXPECT_EQ(writer_.get_current_buffer(), before);
}

TEST_F(WriteBuffer, APositionInsideIsOneThatALaterBufferHasRoomFor) {
  open(writer_);
  add(writer_, std::string(2 * kBuffer + 1, 'x'));

  EXPECT_FALSE(writer_.is_file_position_inside_current_buffer(2 * kBuffer - 1));
  EXPECT_TRUE(writer_.is_file_position_inside_current_buffer(2 * kBuffer));
  EXPECT_TRUE(writer_.is_file_position_inside_current_buffer(3 * kBuffer - 1));
  EXPECT_FALSE(writer_.is_file_position_inside_current_buffer(3 * kBuffer));
}

TEST_F(WriteBuffer, OpeningAllocatesAMebibyteWhereThereIsNoBuffer) {
  ASSERT_TRUE(writer_.open_file(path("out").c_str(), 0, false));

  EXPECT_TRUE(writer_.is_file_position_inside_current_buffer((1 << 20) - 1));
  EXPECT_FALSE(writer_.is_file_position_inside_current_buffer(1 << 20));
}

TEST_F(WriteBuffer, ALargerBufferContinuesWhereTheSmallerOneStood) {
  open(writer_);

  writer_.write_file("before", 1, 6);
  ASSERT_TRUE(writer_.ensure_minimum_buffer_size(65536));
  EXPECT_EQ(writer_.get_file_position(), 6U);
  EXPECT_TRUE(writer_.is_file_position_inside_current_buffer(65535));
  EXPECT_TRUE(writer_.ensure_minimum_buffer_size(100));  // Has it already.
  writer_.write_file("after", 1, 5);
  writer_.close_file(true);

  EXPECT_EQ(content("out"), "beforeafter");
}

TEST_F(WriteBuffer, ALargerBufferHoldsWhatWasSteppedOver) {
  const std::string puts(100, 'p');
  open(writer_);

  std::memcpy(writer_.get_current_buffer(), puts.data(), puts.size());
  ASSERT_TRUE(writer_.set_file_position(puts.size()));
  ASSERT_TRUE(writer_.ensure_minimum_buffer_size(65536));
  ASSERT_TRUE(writer_.set_file_position(puts.size() + 3));
  add(writer_, "end");
  writer_.close_file(true);

  EXPECT_EQ(content("out"), puts + std::string(3, '\0') + "end");
}

// ---- Memory

TEST_F(WriteBuffer, MemoryThatGrowsHoldsWhatWasSteppedOver) {
  const std::string first(0x20000 - 10, 'm');
  add(writer_, first);

  ASSERT_TRUE(writer_.set_file_position(0x20000 - 2));
  ASSERT_TRUE(writer_.ensure_minimum_buffer_size(1 << 20));
  add(writer_, "end");

  EXPECT_EQ(as_text(writer_), first + std::string(8, '\0') + "end");
}

TEST_F(WriteBuffer, AStepAheadInMemoryThatHasGrownLeavesZeroes) {
  const std::string many(2 << 20, 'x');
  for (int i = 0; i < 3; ++i) {  // The block to come may have held something before.
    fWriteBuffer earlier(io_invalid_handle(), false);
    add(earlier, many);
  }
  char memory[10] = {};
  writer_.set_memory_buffer(memory, sizeof(memory));
  ASSERT_TRUE(writer_.set_file_position(5));
  add(writer_, "0123456789");

  ASSERT_TRUE(writer_.set_file_position(100));
  add(writer_, "end");

  EXPECT_EQ(as_text(writer_), std::string(5, '\0') + "0123456789" + std::string(85, '\0') + "end");
}

TEST_F(WriteBuffer, TheCallersMemoryComesAfterWhatTheFileHadCollected) {
  char memory[10] = {'o', 'l', 'd'};
  open(writer_);
  add(writer_, "0123456789");

  writer_.set_memory_buffer(memory, 0);
  EXPECT_FALSE(writer_.is_file_position_inside_current_buffer(writer_.get_file_position()));
  writer_.set_memory_buffer(memory, -1);
  EXPECT_FALSE(writer_.is_file_position_inside_current_buffer(writer_.get_file_position()));
  writer_.close_file(true);

  EXPECT_EQ(content("out"), "0123456789");
  EXPECT_EQ(std::string(memory, 3), "old");
}

TEST_F(WriteBuffer, AStepAheadInTheCallersMemoryLeavesWhatIsThere) {
  char memory[] = "0123456789";
  ASSERT_TRUE(writer_.set_buffer(kBuffer, true));

  writer_.set_memory_buffer(memory, 10);
  ASSERT_TRUE(writer_.set_file_position(5));
  add(writer_, "x");

  EXPECT_STREQ(memory, "01234x6789");
}

TEST_F(WriteBuffer, CollectsInMemoryWithoutAFile) {
  std::mt19937 random(5);
  const std::string bytes = test::random_bytes(random, 500000);

  add(writer_, bytes);

  EXPECT_EQ(writer_.error(), 0);
  EXPECT_EQ(writer_.get_buffer_used(), bytes.size());
  EXPECT_EQ(writer_.get_file_position(), bytes.size());
  EXPECT_EQ(as_text(writer_), bytes);
}

TEST_F(WriteBuffer, MemoryGrowsWhenItIsExactlyFull) {
  const std::string bytes(0x20000, 'm');

  add(writer_, bytes);

  EXPECT_TRUE(writer_.is_file_position_inside_current_buffer(0x20000));
  EXPECT_TRUE(writer_.set_file_position(0x20000));
  add(writer_, "more");
  EXPECT_EQ(as_text(writer_), bytes + "more");
}

TEST_F(WriteBuffer, MemoryIsPatchedInPlace) {
  add(writer_, "0123456789");
  ASSERT_TRUE(writer_.set_file_position(2));

  add(writer_, "ab");

  EXPECT_EQ(writer_.get_file_position(), 4U);
  EXPECT_EQ(as_text(writer_), "01ab456789");
}

TEST_F(WriteBuffer, WhatIsInMemoryStaysWhenThePositionLeavesIt) {
  add(writer_, "0123456789");

  writer_.set_file_position(1ULL << 40);

  EXPECT_EQ(writer_.get_buffer_used(), 10U);
  EXPECT_EQ(as_text(writer_), "0123456789");
}

TEST_F(WriteBuffer, TheCallersMemoryIsFilledFirst) {
  char memory[10];
  writer_.set_memory_buffer(memory, sizeof(memory));
  EXPECT_EQ(writer_.get_current_buffer(), reinterpret_cast<unsigned char*>(memory));

  add(writer_, "0123456789abc");

  EXPECT_EQ(std::string(memory, 10), "0123456789");
  EXPECT_EQ(as_text(writer_), "0123456789abc");
}

TEST_F(WriteBuffer, TheCallersMemoryMovesWithAllThatItHolds) {
  for (const std::string& held : {std::string("0123456789"), std::string("0")}) {
    SCOPED_TRACE(held);
    char memory[16];
    writer_.set_memory_buffer(memory, sizeof(memory));
    add(writer_, held);
    ASSERT_TRUE(writer_.set_file_position(0));

    EXPECT_TRUE(writer_.ensure_minimum_buffer_size(1 << 20));

    EXPECT_EQ(writer_.get_file_position(), 0U);
    EXPECT_EQ(as_text(writer_), held);
  }
}

TEST_F(WriteBuffer, TheCallersMemoryMovesWithWhatWasSteppedOver) {
  char memory[] = "0123456789abcde";
  writer_.set_memory_buffer(memory, sizeof(memory));
  ASSERT_TRUE(writer_.set_file_position(10));

  EXPECT_TRUE(writer_.ensure_minimum_buffer_size(1 << 20));
  add(writer_, "end");

  EXPECT_EQ(as_text(writer_), "0123456789end");
}

TEST_F(WriteBuffer, AskedForAMinimumMemoryGrows) {
  add(writer_, "0123");

  EXPECT_TRUE(writer_.ensure_minimum_buffer_size(1 << 20));

  EXPECT_TRUE(writer_.is_file_position_inside_current_buffer((1 << 20) - 1));
  EXPECT_EQ(as_text(writer_), "0123");
}

TEST_F(WriteBuffer, FreedBuffersHoldNothing) {
  add(writer_, "0123");

  writer_.reset_buffers();

  EXPECT_EQ(writer_.get_current_buffer(), nullptr);
  EXPECT_EQ(writer_.get_buffer_used(), 0U);
  EXPECT_EQ(writer_.get_file_position(), 0U);
}

TEST_F(WriteBuffer, TakesNothingWhenTheBytesDoNotFitIn64Bits) {
  fWriteBuffer writer(io_invalid_handle(), false);
  ASSERT_TRUE(writer.open_file(path("out").c_str(), 0, false));

  EXPECT_EQ(writer.write_file("four", (1ULL << 62) + 1, 4), 0U);  // 4 in 64 bits.

  writer.close_file(true);
  EXPECT_EQ(content("out"), "");
}

}  // namespace
}  // namespace orsin
