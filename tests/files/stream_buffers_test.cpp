// The buffered writer and reader against a model in memory, over random shapes and operations.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "files/transfer_slots.h"
#include "orsincore/io.h"
#include "tests/support/log_capture.h"
#include "tests/support/temporary_directory.h"

namespace orsin {
namespace {

class StreamBuffers : public testing::Test {
 protected:
  void SetUp() override { start_transfers(); }
  void TearDown() override { stop_transfers(); }

  std::string path(const char* name) const { return directory_.path(name); }
  std::string content(const char* name) const {
    return test::TemporaryDirectory::read(directory_.path(name));
  }
  std::string write(const char* name, const std::string& text) const {
    return directory_.write(name, text);
  }

  test::LogCapture log_;
  test::TemporaryDirectory directory_;
};

// What a drive says about its sectors is no concern here.
test::Lines errors_of(const test::LogCapture& log) {
  test::Lines errors;
  for (const std::string& line : log.lines()) {
    if (line.starts_with("ERROR")) {
      errors.push_back(line);
    }
  }
  return errors;
}

std::string random_bytes(std::mt19937& random, std::size_t count) {
  std::string bytes(count, '\0');
  for (char& c : bytes) {
    c = static_cast<char>(random());
  }
  return bytes;
}

TEST_F(StreamBuffers, WriterLeavesExactlyTheBytesThatWereWritten) {
  const unsigned seed = 20261121;
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  for (int round = 0; round < 60; ++round) {
    fWriteBuffer writer(io_invalid_handle(), false);
    ASSERT_TRUE(writer.set_buffer(static_cast<int>(8192U << random() % 4), random() % 2 == 0));
    ASSERT_TRUE(writer.open_file(path("out").c_str(), 0, random() % 2 == 0));
    std::string model;
    const std::size_t pieces = random() % 20;
    for (std::size_t i = 0; i < pieces; ++i) {
      const std::string piece = random_bytes(random, random() % 40000);
      ASSERT_EQ(writer.write_file(piece.data(), 1, piece.size()), piece.size());
      model += piece;
      if (model.size() > 200 && random() % 3 == 0) {
        // Back a little, inside the current buffer if it reaches so far.
        const std::size_t back = model.size() - random() % 200;
        if (writer.is_file_position_inside_current_buffer(back)) {
          ASSERT_TRUE(writer.set_file_position(back));
          const std::string patch = random_bytes(random, model.size() - back);
          ASSERT_EQ(writer.write_file(patch.data(), 1, patch.size()), patch.size());
          model.replace(back, patch.size(), patch);
        }
      }
      ASSERT_EQ(writer.get_file_position(), model.size());
    }
    ASSERT_EQ(writer.close_file(true), 1);
    ASSERT_EQ(writer.error(), 0);
    ASSERT_EQ(content("out"), model) << "round " << round;
  }
  EXPECT_EQ(errors_of(log_), test::Lines{});
}

TEST_F(StreamBuffers, ReaderGivesTheFilesBytesWhateverTheShape) {
  const unsigned seed = 20261122;
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  for (int round = 0; round < 60; ++round) {
    const std::string model = random_bytes(random, random() % 300000);
    const std::string name = write("in", model);
    fReadBuffer reader;
    const unsigned long long size = 8192ULL << random() % 4;
    const unsigned long long first = random() % 2 == 0 ? size : 8192;
    reader.cfg_buffers(static_cast<int>(1 + random() % 8), size, first);
    if (random() % 3 == 0) {
      reader.disable_read_ahead();
    }
    ASSERT_TRUE(reader.open_file(name.c_str(), true, random() % 2 == 0, random() % 2 == 0));
    ASSERT_EQ(reader.get_file_size(), model.size());
    std::size_t position = 0;
    for (int step = 0; step < 60; ++step) {
      const std::size_t left = model.size() - position;
      const std::size_t wanted = random() % 20000;
      switch (random() % 5) {
        case 0: {
          const int expected = left > 0 ? static_cast<unsigned char>(model[position]) : 255;
          ASSERT_EQ(reader.read_byte(), expected);
          position += left > 0 ? 1 : 0;
          break;
        }
        case 1:
          ASSERT_EQ(reader.skip_file(1, wanted), std::min(wanted, left));
          position += std::min(wanted, left);
          break;
        case 2:
          if (random() % 4 == 0) {
            position = random() % (model.size() + 1);
            reader.set_position(position);
          }
          break;
        case 3: {
          unsigned int expected = 0xFFFFFFFF;
          if (left >= 4) {
            std::memcpy(&expected, model.data() + position, 4);
            ASSERT_EQ(reader.read_uint(), expected);
            position += 4;
          }
          break;
        }
        default: {
          std::string bytes(wanted, '\0');
          const auto got = static_cast<std::size_t>(reader.read_file(bytes.data(), 1, wanted));
          ASSERT_EQ(got, std::min(wanted, left)) << "round " << round << " at " << position;
          ASSERT_EQ(bytes.substr(0, got), model.substr(position, got)) << "round " << round;
          position += got;
          break;
        }
      }
    }
    reader.close_file();
  }
  EXPECT_EQ(errors_of(log_), test::Lines{});
}

TEST_F(StreamBuffers, RawReadsGiveTheBytesOfAnyAlignedPlace) {
  std::mt19937 random(7);
  const std::string model = random_bytes(random, 300000);
  const std::string name = write("raw", model);
  fReadBuffer reader;
  reader.cfg_buffers(4, 16384, 16384);
  ASSERT_TRUE(reader.open_file(name.c_str(), true, false, false));
  ASSERT_GT(reader.getNextBlock(), 0U);
  std::vector<char> bytes(400000);
  for (const unsigned long long bound : {65536ULL, 65537ULL}) {
    fReadBuffer::set_xfer_breakvalue(bound);
    for (int i = 0; i < 100; ++i) {
      const unsigned long long offset = random() % 60 * 4096;
      const unsigned long long size = 1 + random() % (model.size() - offset);
      const unsigned long long got =
          reader.read_raw_bytes(bytes.data(), offset, size, bytes.size());
      ASSERT_GE(got, size) << offset << ' ' << size;
      ASSERT_EQ(std::memcmp(bytes.data(), model.data() + offset, size), 0) << offset;
    }
  }
  fReadBuffer::set_xfer_breakvalue(0);
}

TEST_F(StreamBuffers, RawReadsRefuseWhatIsNotAlignedOrDoesNotFit) {
  const std::string name = write("raw", std::string(100000, 'r'));
  fReadBuffer reader;
  ASSERT_TRUE(reader.open_file(name.c_str(), true, false, false));
  std::vector<char> bytes(200000);

  EXPECT_EQ(reader.read_raw_bytes(bytes.data(), 4097, 100, bytes.size()), 0U);
  EXPECT_EQ(reader.read_raw_bytes(bytes.data(), 4096, 5000, 5000), 0U);
}

TEST_F(StreamBuffers, ReaderClampsAndKeepsItsBufferCount) {
  const std::string name = write("in", std::string(100000, 'x'));
  fReadBuffer reader;
  reader.cfg_buffers(12, 8192, 8192);
  ASSERT_TRUE(reader.open_file(name.c_str(), true, false, false));
  ASSERT_TRUE(reader.ensure_buffers());

  reader.cfg_buffers(2, 65536, 65536);  // Ignored: eight buffers exist.

  EXPECT_EQ(reader.getNextBlock(), 8192U);
}

TEST_F(StreamBuffers, AnEmptyFileHasNoBlockAndNoErrorLine) {
  const std::string name = write("empty", "");
  fReadBuffer reader;
  ASSERT_TRUE(reader.open_file(name.c_str(), true, true, true));

  EXPECT_EQ(reader.getNextBlock(), 0U);
  unsigned long long available = 1;
  EXPECT_EQ(reader.get_bufptr(&available), nullptr);
  EXPECT_EQ(available, 0U);
  EXPECT_EQ(reader.read_byte(), 255);
  EXPECT_EQ(reader.read_int(), -1);
  EXPECT_EQ(errors_of(log_), test::Lines{});
}

TEST_F(StreamBuffers, ReaderSaysWhyItCannotOpen) {
  fReadBuffer reader;

  EXPECT_FALSE(reader.open_file(path("missing").c_str(), true, false, false));

  EXPECT_TRUE(reader.get_errors());
  ASSERT_EQ(log_.lines().size(), 1U);
  EXPECT_TRUE(log_.lines()[0].starts_with("ERROR: IO open failed '" + path("missing") + "' ("));
}

TEST_F(StreamBuffers, ReaderReadsMemoryAsAFile) {
  unsigned char memory[] = {1, 2, 3, 4, 5};
  fReadBuffer reader;
  reader.set_memory_buffer(memory, sizeof(memory));

  EXPECT_EQ(reader.read_byte(), 1);
  EXPECT_EQ(reader.read_int(), 0x05040302);
  EXPECT_EQ(reader.read_byte(), 255);
}

TEST_F(StreamBuffers, NumbersAreSwappedOnRequest) {
  unsigned char memory[] = {1, 2, 3, 4, 5, 6};
  fReadBuffer reader;
  reader.set_memory_buffer(memory, sizeof(memory));
  reader.set_endian(2);
  EXPECT_TRUE(reader.swap_endian());
  EXPECT_EQ(reader.read_int(), 0x01020304);
  EXPECT_EQ(reader.read_word(), 0x0506);

  fMemBuffer writer;
  writer.set_endian(2);
  writer.put_int(0x01020304);
  writer.put_short(0x0506);
  EXPECT_EQ(std::memcmp(writer.get_current_buffer(), memory, 6), 0);
}

TEST_F(StreamBuffers, AFullBufferIsWrittenAtOnce) {
  fWriteBuffer writer(io_invalid_handle(), false);
  ASSERT_TRUE(writer.set_buffer(8192, true));
  ASSERT_TRUE(writer.open_file(path("out").c_str(), 0, false));
  const std::string bytes(8192, 'w');

  writer.write_file(bytes.data(), 1, bytes.size());

  EXPECT_EQ(writer.get_buffer_used(), 0U);
  EXPECT_EQ(writer.get_file_position(), 8192U);
  writer.close_file(true);
}

TEST_F(StreamBuffers, PutsAfterAStepAheadStayInsideTheBuffer) {
  fWriteBuffer writer(io_invalid_handle(), false);
  ASSERT_TRUE(writer.set_buffer(8192, true));
  ASSERT_TRUE(writer.open_file(path("out").c_str(), 0, false));

  ASSERT_TRUE(writer.set_file_position(8190));
  writer.put_int(0x04030201);
  EXPECT_EQ(writer.get_file_position(), 8194U);
  EXPECT_EQ(writer.get_buffer_used(), 2U);  // The full buffer left; the rest opened the next.
  writer.close_file(true);

  EXPECT_EQ(writer.error(), 0);
  EXPECT_EQ(content("out"), std::string(8190, '\0') + "\x01\x02\x03\x04");
}

TEST_F(StreamBuffers, AStepOutOfTheBufferForgetsAnEarlierStepInsideIt) {
  fWriteBuffer writer(io_invalid_handle(), false);
  ASSERT_TRUE(writer.set_buffer(8192, true));
  ASSERT_TRUE(writer.open_file(path("out").c_str(), 0, false));

  ASSERT_TRUE(writer.set_file_position(100));
  ASSERT_TRUE(writer.set_file_position(65536));

  EXPECT_EQ(writer.get_file_position(), 65536U);
  writer.close_file(true);
}

TEST_F(StreamBuffers, ALargerBufferContinuesWhereTheSmallerOneStood) {
  fWriteBuffer writer(io_invalid_handle(), false);
  ASSERT_TRUE(writer.set_buffer(8192, true));
  ASSERT_TRUE(writer.open_file(path("out").c_str(), 0, false));

  writer.write_file("before", 1, 6);
  ASSERT_TRUE(writer.ensure_minimum_buffer_size(65536));
  EXPECT_EQ(writer.get_file_position(), 6U);
  writer.write_file("after", 1, 5);
  writer.close_file(true);

  EXPECT_EQ(content("out"), "beforeafter");
}

TEST_F(StreamBuffers, DirectWritesAreRoundedButTheFileIsNot) {
  fWriteBuffer writer(io_invalid_handle(), false);
  ASSERT_TRUE(writer.open_file(path("out").c_str(), 0, false));
  const std::string bytes(8192, 'd');

  EXPECT_EQ(writer.add_write_buffer(bytes.data(), 5000), 5000U);
  writer.close_file(true);

  EXPECT_EQ(log_.lines(), (test::Lines{"WARN : fWriteBuffer: Write buffer not aligned"}));
  EXPECT_EQ(content("out"), std::string(5000, 'd'));
}

TEST_F(StreamBuffers, MemoryBufferGrowsUnlessItsMemoryIsTheCallers) {
  fMemBuffer grows;
  const std::string bytes(300000, 'm');
  EXPECT_EQ(grows.write_file(bytes.data(), 1, bytes.size()), bytes.size());
  EXPECT_EQ(grows.get_buffer_used(), bytes.size());

  char memory[10];
  fMemBuffer fixed;
  fixed.set_memory_buffer(memory, sizeof(memory));
  EXPECT_EQ(fixed.write_file("0123456789abc", 1, 13), 10U);
  EXPECT_EQ(fixed.get_file_position(), 10U);
  EXPECT_EQ(std::memcmp(memory, "0123456789", 10), 0);
}

TEST_F(StreamBuffers, TicketsAreCollectedOnceAndCountersReset) {
  const std::string name = write("in", std::string(10000, 't'));
  void* file = io_open64(name.c_str(), 0, false, true, true);
  unsigned long long read = 0;
  unsigned long long written = 0;
  io_get_counters(read, written);
  char bytes[4096];
  int ticket = 0;

  ASSERT_TRUE(io_read_async64(file, bytes, 0, sizeof(bytes), &ticket));
  EXPECT_GT(ticket, 0);
  EXPECT_EQ(io_complete64(file, &ticket, true), 1);
  EXPECT_EQ(io_complete64(file, &ticket, true), 1);  // Not known any more.
  EXPECT_EQ(std::string(bytes, 4), "tttt");

  io_get_counters(read, written);
  EXPECT_EQ(read, sizeof(bytes));
  io_get_counters(read, written);
  EXPECT_EQ(read, 0U);
  io_close64(file);
}

TEST_F(StreamBuffers, AReadBeyondTheEndFailsAtItsStart) {
  const std::string name = write("in", std::string(1000, 't'));
  void* file = io_open64(name.c_str(), 0, false, true, true);
  char bytes[16];
  int ticket = 0;

  EXPECT_FALSE(io_read_async64(file, bytes, 5000, sizeof(bytes), &ticket));

  io_close64(file);
  ASSERT_EQ(log_.lines().size(), 1U);
  EXPECT_TRUE(log_.lines()[0].starts_with("ERROR: IO read beyond EOF.. : '")) << log_.lines()[0];
}

TEST_F(StreamBuffers, AShortReadCountsAsSuccess) {
  const std::string name = write("in", "short");
  void* file = io_open64(name.c_str(), 0, false, true, true);
  char bytes[4096] = {};

  EXPECT_TRUE(io_read64(file, bytes, 0, sizeof(bytes)));

  EXPECT_STREQ(bytes, "short");
  EXPECT_EQ(io_get_filesize64(file, name.c_str()), 5);
  io_close64(file);
}

}  // namespace
}  // namespace orsin
