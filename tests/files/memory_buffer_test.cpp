// The writer over a block of memory.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "orsincore/io.h"

namespace orsin {
namespace {

std::string text_of(fMemBuffer& buffer) {
  return std::string(reinterpret_cast<const char*>(buffer.get_current_buffer()),
                     buffer.get_buffer_used());
}

TEST(MemoryBuffer, GrowsAsItIsWritten) {
  fMemBuffer buffer;
  const std::string bytes(300000, 'm');

  EXPECT_EQ(buffer.write_file(bytes.data(), 1000, 300), bytes.size());

  EXPECT_EQ(buffer.get_file_position(), bytes.size());
  EXPECT_EQ(text_of(buffer), bytes);
}

TEST(MemoryBuffer, GrowsFromHardlyAnything) {
  for (const int size : {1, 2, 3}) {
    SCOPED_TRACE(size);
    fMemBuffer buffer;
    EXPECT_TRUE(buffer.set_buffer(size, false));

    EXPECT_EQ(buffer.write_file("0123", 1, 4), 4U);
  }
}

TEST(MemoryBuffer, MayHaveNoMemoryAtAll) {
  unsigned char memory = 0;
  fMemBuffer callers;
  callers.set_memory_buffer(&memory, 0);
  EXPECT_TRUE(callers.ensure_minimum_buffer_size(0));

  fMemBuffer own;
  EXPECT_TRUE(own.set_buffer(0, false));
  EXPECT_EQ(own.get_current_buffer(), nullptr);
}

TEST(MemoryBuffer, CutsAWriteShortWhenItsMemoryIsTheCallers) {
  char memory[10];
  fMemBuffer buffer;
  buffer.set_memory_buffer(memory, sizeof(memory));

  EXPECT_EQ(buffer.write_file("0123456789abc", 1, 13), 10U);

  EXPECT_EQ(buffer.get_file_position(), 10U);
  EXPECT_EQ(std::string(memory, 10), "0123456789");
  EXPECT_EQ(buffer.write_file("x", 1, 1), 0U);
  EXPECT_FALSE(buffer.ensure_minimum_buffer_size(11));
  EXPECT_TRUE(buffer.ensure_minimum_buffer_size(10));
}

TEST(MemoryBuffer, StartsEmptyInTheCallersMemory) {
  char memory[10] = {};
  fMemBuffer buffer;
  buffer.write_file("old", 1, 3);

  buffer.set_memory_buffer(memory, sizeof(memory));

  EXPECT_EQ(buffer.get_buffer_used(), 0U);
  EXPECT_FALSE(buffer.set_file_position(1));
  EXPECT_EQ(buffer.write_file("new", 1, 3), 3U);
  EXPECT_EQ(text_of(buffer), "new");
}

TEST(MemoryBuffer, TakesNothingWhereTheCallerGivesNoBytes) {
  for (const int size : {0, -1}) {
    SCOPED_TRACE(size);
    char memory = 'o';
    fMemBuffer buffer;
    buffer.set_memory_buffer(&memory, size);

    EXPECT_EQ(buffer.write_file("x", 1, 1), 0U);

    EXPECT_EQ(memory, 'o');
  }
}

TEST(MemoryBuffer, IsPatchedInsideWhatWasWritten) {
  fMemBuffer buffer;
  buffer.write_file("0123456789", 1, 10);

  EXPECT_TRUE(buffer.set_file_position(2));
  buffer.write_file("ab", 1, 2);

  EXPECT_EQ(buffer.get_file_position(), 4U);
  EXPECT_EQ(text_of(buffer), "01ab456789");
  EXPECT_TRUE(buffer.set_file_position(10));
  EXPECT_FALSE(buffer.set_file_position(11));
  EXPECT_EQ(buffer.get_file_position(), 10U);
}

TEST(MemoryBuffer, PutsNumbers) {
  fMemBuffer buffer;
  buffer.put_byte(1);
  buffer.set_endian(2);
  buffer.put_int(0x02030405);
  buffer.put_short(0x0607);
  buffer.put_float(1.0F);

  EXPECT_EQ(text_of(buffer), std::string("\x01\x02\x03\x04\x05\x06\x07\x3F\x80\0\0", 11));
}

TEST(MemoryBuffer, StartsEmptyWithABlockOfTheSizeAskedFor) {
  fMemBuffer buffer;
  buffer.write_file("old", 1, 3);

  EXPECT_TRUE(buffer.set_buffer(1000, true));

  EXPECT_NE(buffer.get_current_buffer(), nullptr);
  EXPECT_EQ(buffer.get_buffer_used(), 0U);
  EXPECT_EQ(buffer.get_file_position(), 0U);
}

TEST(MemoryBuffer, GrowsAgainOnceTheCallersMemoryIsGone) {
  char memory[2];
  fMemBuffer buffer;
  buffer.set_memory_buffer(memory, sizeof(memory));
  buffer.reset_buffers();

  EXPECT_EQ(buffer.write_file("0123", 1, 4), 4U);

  EXPECT_EQ(text_of(buffer), "0123");
}

TEST(MemoryBuffer, DoesNothingAboutFiles) {
  fMemBuffer buffer;
  buffer.write_file("0123", 1, 4);

  EXPECT_TRUE(buffer.open_file("nowhere/at all", 100, true));
  EXPECT_EQ(buffer.add_write_buffer("x", 1), 0U);
  EXPECT_FALSE(buffer.data_pending());
  buffer.flush_buffers();
  EXPECT_EQ(buffer.close_file(true), 1);
  EXPECT_EQ(buffer.close_file(false), 1);
  EXPECT_EQ(buffer.error(), 0);

  EXPECT_EQ(text_of(buffer), "0123");
}

TEST(MemoryBuffer, TakesNothingWhenTheBytesDoNotFitIn64Bits) {
  fMemBuffer buffer;

  EXPECT_EQ(buffer.write_file("four", (1ULL << 62) + 1, 4), 0U);  // 4 in 64 bits.

  EXPECT_EQ(buffer.get_buffer_used(), 0U);
}

TEST(MemoryBuffer, GrowsFarInSmallSteps) {
  constexpr std::size_t kPieces = 16 << 10;
  fMemBuffer buffer;
  const std::string piece(4097, 'p');
  for (std::size_t i = 0; i < kPieces; ++i) {
    ASSERT_EQ(buffer.write_file(piece.data(), 1, piece.size()), piece.size());
  }

  ASSERT_EQ(buffer.get_buffer_used(), kPieces * piece.size());
  const unsigned char* bytes = buffer.get_current_buffer();
  EXPECT_TRUE(std::all_of(bytes, bytes + kPieces * piece.size(),
                          [](unsigned char byte) { return byte == 'p'; }));
}

}  // namespace
}  // namespace orsin
