// The buffered writer and reader against a model in memory, over random shapes and operations.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "orsincore/io.h"
#include "tests/files/io_fixture.h"

namespace orsin {
namespace {

using test::Lines;
using test::random_bytes;

class StreamBuffers : public test::IoTest {};

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
  EXPECT_EQ(errors(), Lines{});
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
  EXPECT_EQ(errors(), Lines{});
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

}  // namespace
}  // namespace orsin
