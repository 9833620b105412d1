// The buffered writer and reader against a model in memory, over random shapes and operations.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "orsincore/io.h"
#include "orsincore/memory.h"
#include "tests/files/io_fixture.h"

namespace orsin {
namespace {

using test::Lines;
using test::random_bytes;

class StreamBuffers : public test::IoTest {
 protected:
  void write_random_file(fWriteBuffer& writer, std::mt19937& random) {
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
    ASSERT_EQ(content("out"), model);
  }
};

TEST_F(StreamBuffers, WriterLeavesExactlyTheBytesThatWereWritten) {
  const unsigned seed = 20261121;
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  for (int round = 0; round < 60; ++round) {
    SCOPED_TRACE(round);
    fWriteBuffer writer(io_invalid_handle(), false);
    ASSERT_NO_FATAL_FAILURE(write_random_file(writer, random));
  }
  EXPECT_EQ(errors(), Lines{});
}

// A number, put through a writer and added to a model.
template <typename Number>
void put(fWriteBuffer& writer, void (fWriteBuffer::*function)(Number), Number value, bool swap,
         std::string& model) {
  char bytes[sizeof(Number)];
  std::memcpy(bytes, &value, sizeof(value));
  if (swap) {
    std::reverse(bytes, bytes + sizeof(bytes));
  }
  (writer.*function)(value);
  model.append(bytes, sizeof(bytes));
}

void put_any(fWriteBuffer& writer, std::mt19937& random, std::string& model) {
  const bool swap = random() % 2 == 0;
  writer.set_endian(swap ? 2 : 1);
  const auto value = static_cast<unsigned>(random());
  switch (random() % 4) {
    case 0:
      return put(writer, &fWriteBuffer::put_byte, static_cast<unsigned char>(value), swap, model);
    case 1:
      return put(writer, &fWriteBuffer::put_short, static_cast<short>(value), swap, model);
    case 2:
      return put(writer, &fWriteBuffer::put_int, static_cast<int>(value), swap, model);
    default:
      return put(writer, &fWriteBuffer::put_float, static_cast<float>(value), swap, model);
  }
}

void add(fWriteBuffer& writer, const std::string& bytes, std::string& model) {
  ASSERT_EQ(writer.write_file(bytes.data(), 1, bytes.size()), bytes.size());
  model += bytes;
}

// Numbers, direct writes, ends written once more, other buffers half-way.
TEST_F(StreamBuffers, WriterKeepsToItsModelOverEveryKindOfWrite) {
  const unsigned seed = 20261123;
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  constexpr std::size_t kUnit = 8192;  // Of pages, and of any drive's sectors.
  for (int round = 0; round < 60; ++round) {
    SCOPED_TRACE(round);
    fWriteBuffer writer(io_invalid_handle(), false);
    ASSERT_TRUE(writer.set_buffer(static_cast<int>(kUnit << random() % 3), random() % 2 == 0));
    ASSERT_TRUE(writer.open_file(path("out").c_str(), 0, random() % 2 == 0));
    std::string model;
    std::vector<void*> frames;  // Direct writes need their memory until the end.
    const auto fill_unit = [&] {
      add(writer, random_bytes(random, (kUnit - model.size() % kUnit) % kUnit), model);
    };
    for (int step = 0; step < 20; ++step) {
      switch (random() % 6) {
        case 0:
          for (auto count = random() % 3000; count > 0; --count) {
            put_any(writer, random, model);
          }
          break;
        case 1: {
          fill_unit();
          writer.flush_buffers();
          const std::string bytes = random_bytes(random, kUnit * (1 + random() % 3));
          frames.push_back(os_alloc(bytes.size(), 0));
          ASSERT_NE(frames.back(), nullptr);
          std::memcpy(frames.back(), bytes.data(), bytes.size());
          ASSERT_EQ(writer.add_write_buffer(frames.back(), bytes.size()), bytes.size());
          model += bytes;
          break;
        }
        case 2: {
          fill_unit();
          writer.flush_buffers();
          const std::size_t end = model.size();
          model.resize(random() % (end / kUnit + 1) * kUnit);
          ASSERT_TRUE(writer.set_file_position(model.size()));
          add(writer, random_bytes(random, end - model.size()), model);
          break;
        }
        case 3:
          if (random() % 2 == 0) {
            fill_unit();
            ASSERT_TRUE(
                writer.set_buffer(static_cast<int>(kUnit << random() % 4), random() % 2 == 0));
          } else {
            ASSERT_TRUE(writer.ensure_minimum_buffer_size(static_cast<int>(kUnit << random() % 4)));
          }
          break;
        default:
          add(writer, random_bytes(random, random() % 40000), model);
          break;
      }
      ASSERT_EQ(writer.get_file_position(), model.size()) << "step " << step;
    }
    ASSERT_EQ(writer.close_file(true), 1);
    for (void* frame : frames) {
      EXPECT_TRUE(os_free(frame));
    }
    ASSERT_EQ(writer.error(), 0);
    ASSERT_EQ(content("out").size(), model.size());
    ASSERT_TRUE(content("out") == model);
  }
  EXPECT_EQ(errors(), Lines{});
}

TEST_F(StreamBuffers, MemoryKeepsToItsModelOverEveryKindOfWrite) {
  const unsigned seed = 20261124;
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  for (int round = 0; round < 60; ++round) {
    SCOPED_TRACE(round);
    // The writer without a file, and the one that never has one.
    fMemBuffer block;
    fWriteBuffer collected(io_invalid_handle(), false);
    fWriteBuffer& writer = round % 2 == 0 ? block : collected;
    std::string model;
    std::size_t position = 0;
    const auto overwrite = [&](const std::string& bytes) {
      model.resize(std::max(model.size(), position + bytes.size()));
      model.replace(position, bytes.size(), bytes);
      position += bytes.size();
    };
    for (int step = 0; step < 60; ++step) {
      std::string bytes;
      switch (random() % 4) {
        case 0:
          position = random() % (model.size() + 1);
          ASSERT_TRUE(writer.set_file_position(position));
          break;
        case 1:
          ASSERT_TRUE(writer.ensure_minimum_buffer_size(static_cast<int>(random() % 300000)));
          break;
        case 2:
          for (auto count = random() % 500; count > 0; --count) {
            put_any(writer, random, bytes);
          }
          overwrite(bytes);
          break;
        default:
          add(writer, random_bytes(random, random() % 70000), bytes);
          overwrite(bytes);
          break;
      }
      ASSERT_EQ(writer.get_file_position(), position) << "step " << step;
      ASSERT_EQ(writer.get_buffer_used(), model.size()) << "step " << step;
    }
    ASSERT_TRUE(model.empty() ||
                std::memcmp(writer.get_current_buffer(), model.data(), model.size()) == 0);
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
