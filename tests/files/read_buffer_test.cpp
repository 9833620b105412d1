// The buffered reader on real files and on memory.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "files/volumes.h"
#include "orsincore/io.h"
#include "orsincore/memory.h"
#include "tests/files/io_fixture.h"
#include "tests/threads/gate.h"

namespace orsin {
namespace {

using test::Lines;
using test::OpenFile;

class ReadBuffer : public test::IoTest {
 protected:
  // Byte i is i mod 251: no two blocks look alike.
  static std::string counted(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
      bytes[i] = static_cast<char>(i % 251);
    }
    return bytes;
  }

  std::string counted_file(std::size_t size) { return write("counted", counted(size)); }
};

// ---- Configuration

TEST(ReaderConfiguration, IsGivenBackAsItWasSet) {
  int size = 0;
  bool writing = false;
  bool reading = false;
  bool overlapped = false;

  rwBufferConfigure(4096, true, false, true);
  rwBufferConfigGet(size, writing, reading, overlapped);

  EXPECT_EQ(size, 4096);
  EXPECT_TRUE(writing);
  EXPECT_FALSE(reading);
  EXPECT_TRUE(overlapped);
  rwBufferConfigure(0, false, false, false);
}

TEST(ReaderConfiguration, TakesASizeOfOneByte) {
  int size = 0;
  bool flag = false;

  rwBufferConfigure(1, false, false, false);
  rwBufferConfigGet(size, flag, flag, flag);

  EXPECT_EQ(size, 1);
  rwBufferConfigure(0, false, false, false);
}

TEST(ReaderConfiguration, SwitchesNothingOffAndHas8192BytesAtFirst) {
  int size = 0;
  bool writing = true;
  bool reading = true;
  bool overlapped = true;

  for (const int too_small : {0, -1}) {
    rwBufferConfigure(too_small, false, false, false);
    rwBufferConfigGet(size, writing, reading, overlapped);

    EXPECT_EQ(size, 8192);
  }
  EXPECT_FALSE(writing);
  EXPECT_FALSE(reading);
  EXPECT_FALSE(overlapped);
}

// ---- Opening

TEST_F(ReadBuffer, SaysWhyItCannotOpen) {
  fReadBuffer reader;

  EXPECT_FALSE(reader.open_file(path("missing").c_str(), true, false, false));

  EXPECT_TRUE(reader.get_errors());
  ASSERT_EQ(log_.lines().size(), 1U);
  EXPECT_TRUE(log_.lines()[0].starts_with("ERROR: IO open failed '" + path("missing") + "' ("));
}

TEST_F(ReadBuffer, ForgetsAFailureWhenItOpensTheNext) {
  fReadBuffer reader;
  ASSERT_FALSE(reader.open_file(path("missing").c_str(), true, false, false));

  EXPECT_TRUE(reader.open_file(counted_file(10).c_str(), true, false, false));

  EXPECT_FALSE(reader.get_errors());
  EXPECT_EQ(reader.read_byte(), 0);
}

TEST_F(ReadBuffer, OpensOneFileAfterAnother) {
  const std::string first = write("first", "first file");
  const std::string second = write("second", "second");
  fReadBuffer reader;
  char bytes[20] = {};
  ASSERT_TRUE(reader.open_file(first.c_str(), true, true, false));
  ASSERT_EQ(reader.read_file(bytes, 1, 3), 3U);

  ASSERT_TRUE(reader.open_file(second.c_str(), true, false, false));

  EXPECT_STREQ(reader.name(), second.c_str());
  EXPECT_EQ(reader.get_file_size(), 6U);
  EXPECT_EQ(reader.read_file(bytes, 1, sizeof(bytes)), 6U);
  EXPECT_EQ(std::string(bytes, 6), "second");
}

TEST_F(ReadBuffer, AlignsToPagesOrToTheDrivesSectors) {
  const std::string name = counted_file(10);
  fReadBuffer reader;

  ASSERT_TRUE(reader.open_file(name.c_str(), true, false, false));
  EXPECT_EQ(reader.get_alignment(), static_cast<unsigned long long>(mem_pagesize()));

  ASSERT_TRUE(reader.open_file(name.c_str(), true, false, true));
  EXPECT_EQ(reader.get_alignment(),
            static_cast<unsigned long long>(drive_sector_size(name.c_str())));

  rwBufferConfigure(0, false, true, false);  // No unbuffered reading.
  ASSERT_TRUE(reader.open_file(name.c_str(), true, false, true));
  EXPECT_EQ(reader.get_alignment(), static_cast<unsigned long long>(mem_pagesize()));
  rwBufferConfigure(0, false, false, false);
}

TEST_F(ReadBuffer, ReadsAHandleThatStaysItsOwners) {
  const OpenFile file(io_open64(counted_file(5000).c_str(), 0, false, true, true));
  {
    fReadBuffer reader(file.get());
    EXPECT_FALSE(reader.get_errors());
    EXPECT_EQ(reader.get_file_size(), 5000U);
    EXPECT_EQ(reader.skip_file(1, 10000), 5000U);
  }

  char byte = 0;
  EXPECT_TRUE(io_read64(file.get(), &byte, 7, 1));
  EXPECT_EQ(byte, 7);
}

TEST_F(ReadBuffer, AHandleOfAnEmptyFileIsAnError) {
  const OpenFile file(io_open64(write("empty", "").c_str(), 0, false, true, true));

  const fReadBuffer reader(file.get());

  EXPECT_TRUE(reader.get_errors());
}

TEST_F(ReadBuffer, AnEmptyFileHasNoBlockAndNoErrorLine) {
  const std::string name = write("empty", "");
  for (const bool preload : {true, false}) {
    SCOPED_TRACE(preload);
    fReadBuffer reader;
    ASSERT_TRUE(reader.open_file(name.c_str(), true, preload, true));

    EXPECT_EQ(reader.getNextBlock(), 0U);
    unsigned long long available = 1;
    EXPECT_EQ(reader.get_bufptr(&available), nullptr);
    EXPECT_EQ(available, 0U);
    EXPECT_EQ(reader.read_byte(), 255);
    EXPECT_EQ(reader.read_int(), -1);
  }
  EXPECT_EQ(errors(), Lines{});
}

TEST_F(ReadBuffer, ACopyHasTheShapeButNotTheFile) {
  fReadBuffer reader;
  reader.set_endian(2);
  ASSERT_TRUE(reader.open_file(counted_file(100).c_str(), true, false, false));
  ASSERT_EQ(reader.read_byte(), 0);

  fReadBuffer copy(reader);
  fReadBuffer assigned;
  assigned = reader;

  for (fReadBuffer* each : {&copy, &assigned}) {
    EXPECT_TRUE(each->swap_endian());
    EXPECT_EQ(each->get_file_size(), 0U);
    EXPECT_EQ(each->read_byte(), 255);
  }
  EXPECT_EQ(reader.read_byte(), 1);  // The original goes on.
}

// ---- Buffers

TEST_F(ReadBuffer, KeepsItsBufferCountOnceItHasBuffers) {
  fReadBuffer reader;
  reader.cfg_buffers(12, 8192, 8192);
  ASSERT_TRUE(reader.open_file(counted_file(100000).c_str(), true, false, false));
  ASSERT_TRUE(reader.ensure_buffers());

  reader.cfg_buffers(2, 65536, 65536);  // Ignored: eight buffers exist.

  EXPECT_EQ(reader.getNextBlock(), 8192U);
}

TEST_F(ReadBuffer, TakesLargerBuffersOfTheSameCount) {
  fReadBuffer reader;
  reader.cfg_buffers(3, 8192, 8192);
  ASSERT_TRUE(reader.open_file(counted_file(100000).c_str(), true, true, false));

  reader.cfg_buffers(3, 16384, 16384);

  const std::string expected = counted(100000);
  std::string bytes(100000, 'x');
  EXPECT_EQ(reader.getNextBlock(), 16384U);
  EXPECT_EQ(reader.read_file(bytes.data(), 1, bytes.size()), bytes.size());
  EXPECT_EQ(bytes, expected);
}

TEST_F(ReadBuffer, RaisesSmallSizesToTheAlignment) {
  fReadBuffer reader;
  ASSERT_TRUE(reader.open_file(counted_file(100000).c_str(), true, false, false));
  const unsigned long long alignment = reader.get_alignment();

  reader.cfg_buffers(0, 1, 1);

  EXPECT_EQ(reader.getNextBlock(), alignment);
}

TEST_F(ReadBuffer, ReadsTheFirstBlockInItsOwnSize) {
  fReadBuffer reader;
  reader.cfg_buffers(2, 32768, 8192);
  ASSERT_TRUE(reader.open_file(counted_file(100000).c_str(), true, false, false));

  EXPECT_EQ(reader.getNextBlock(), 8192U);
  EXPECT_EQ(reader.getNextBlock(), 32768U);
}

TEST_F(ReadBuffer, GivesTheCursorAndWhatIsLeftOfTheBlock) {
  fReadBuffer reader;
  reader.cfg_buffers(2, 8192, 8192);
  ASSERT_TRUE(reader.open_file(counted_file(10000).c_str(), true, false, false));
  unsigned long long available = 0;

  const unsigned char* block = reader.get_bufptr(&available);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(available, 8192U);
  EXPECT_EQ(block, reader.get_buffer());

  reader.skip_file(8000, 1);
  EXPECT_EQ(reader.get_bufptr(&available), block + 8000);
  EXPECT_EQ(available, 192U);

  reader.skip_file(192, 1);
  EXPECT_EQ(*reader.get_bufptr(&available), 8192 % 251);
  EXPECT_EQ(available, 10000U - 8192U);
}

TEST_F(ReadBuffer, ReadsAndSkipsAcrossBlocksUpToTheEnd) {
  const std::string expected = counted(50000);
  fReadBuffer reader;
  reader.cfg_buffers(3, 8192, 8192);
  ASSERT_TRUE(reader.open_file(counted_file(50000).c_str(), true, false, false));
  std::string bytes(40000, 'x');

  EXPECT_EQ(reader.skip_file(10, 1000), 10000U);
  EXPECT_EQ(reader.read_file(bytes.data(), 10, 2000), 20000U);
  EXPECT_EQ(bytes.substr(0, 20000), expected.substr(10000, 20000));
  EXPECT_EQ(reader.read_file(bytes.data(), 40000, 1), 20000U);
  EXPECT_EQ(bytes.substr(0, 20000), expected.substr(30000));
  EXPECT_EQ(reader.read_file(bytes.data(), 1, 1), 0U);
  EXPECT_EQ(reader.skip_file(1, 1), 0U);
}

// ---- Numbers

TEST_F(ReadBuffer, ReadsNumbersOfEveryWidth) {
  const std::string name = write(
      "in",
      std::string("\x01\xFE\x02\x03\xFF\xFF\x04\x05\x06\x07\xFC\xFF\xFF\xFF\0\0\x80\x3F", 18));
  fReadBuffer reader;
  ASSERT_TRUE(reader.open_file(name.c_str(), true, false, false));

  EXPECT_EQ(reader.read_byte(), 1);
  EXPECT_EQ(reader.read_char(), static_cast<char>(0xFE));
  EXPECT_EQ(reader.read_word(), 0x0302);
  EXPECT_EQ(reader.read_short(), -1);
  EXPECT_EQ(reader.read_uint(), 0x07060504U);
  EXPECT_EQ(reader.read_int(), -4);
  EXPECT_EQ(reader.read_float(), 1.0F);
}

TEST_F(ReadBuffer, SwapsNumbersForAnotherByteOrder) {
  unsigned char memory[] = {1, 2, 3, 4, 5, 6, 0xFF, 0xFE, 0x3F, 0x80, 0, 0, 9};
  fReadBuffer reader;
  reader.set_memory_buffer(memory, sizeof(memory));
  EXPECT_EQ(reader.get_endian(), 1);
  EXPECT_FALSE(reader.swap_endian());

  reader.set_endian(2);

  EXPECT_TRUE(reader.swap_endian());
  EXPECT_NE(reader.get_endian(), 1);
  EXPECT_EQ(reader.read_int(), 0x01020304);
  EXPECT_EQ(reader.read_word(), 0x0506);
  EXPECT_EQ(reader.read_short(), -2);
  EXPECT_EQ(reader.read_float(), 1.0F);
  EXPECT_EQ(reader.read_byte(), 9);
  reader.set_endian(1);
  EXPECT_FALSE(reader.swap_endian());
}

TEST_F(ReadBuffer, ReadsNumbersThatLieInTwoBlocks) {
  const std::string expected = counted(100000);
  for (const bool swapped : {false, true}) {
    SCOPED_TRACE(swapped);
    fReadBuffer reader;
    reader.cfg_buffers(2, 8192, 8192);
    reader.set_endian(swapped ? 2 : 1);
    ASSERT_TRUE(reader.open_file(counted_file(100000).c_str(), true, false, false));
    for (std::size_t before = 1; before < 4; ++before) {
      SCOPED_TRACE(before);
      const std::size_t place = 8192 * (before + 1) - before;
      reader.set_position(place);
      std::array<unsigned char, 4> bytes;
      std::memcpy(bytes.data(), expected.data() + place, 4);
      if (swapped) {
        std::reverse(bytes.begin(), bytes.end());
      }
      unsigned int number = 0;
      std::memcpy(&number, bytes.data(), 4);

      EXPECT_EQ(reader.read_uint(), number);
      EXPECT_EQ(reader.read_byte(), static_cast<unsigned char>(expected[place + 4]));
    }
  }
}

TEST_F(ReadBuffer, TheEndReadsAsAllBitsSet) {
  fReadBuffer reader;
  ASSERT_TRUE(reader.open_file(write("in", "x").c_str(), true, false, false));
  ASSERT_EQ(reader.read_byte(), 'x');

  EXPECT_EQ(reader.read_byte(), 255);
  EXPECT_EQ(reader.read_char(), static_cast<char>(255));
  EXPECT_EQ(reader.read_word(), 0xFFFF);
  EXPECT_EQ(reader.read_short(), -1);
  EXPECT_EQ(reader.read_int(), -1);
  EXPECT_EQ(reader.read_uint(), 0xFFFFFFFF);
  const float number = reader.read_float();
  unsigned int bits = 0;
  std::memcpy(&bits, &number, sizeof(bits));
  EXPECT_EQ(bits, 0xFFFFFFFF);
  EXPECT_EQ(errors(), Lines{});
}

TEST_F(ReadBuffer, ANumberCutOffByTheEndIsAllBitsSet) {
  const std::string name = write("in", std::string("\x01\x02\x03", 3));
  for (const bool swapped : {false, true}) {
    SCOPED_TRACE(swapped);
    fReadBuffer reader;
    reader.set_endian(swapped ? 2 : 1);
    ASSERT_TRUE(reader.open_file(name.c_str(), true, false, false));

    EXPECT_EQ(reader.read_int(), -1);

    unsigned long long available = 1;
    EXPECT_EQ(reader.get_bufptr(&available), nullptr);
    EXPECT_EQ(available, 0U);
  }
}

// ---- Positions

TEST_F(ReadBuffer, GoesToAnyPosition) {
  const std::string expected = counted(100000);
  fReadBuffer reader;
  reader.cfg_buffers(3, 8192, 8192);
  ASSERT_TRUE(reader.open_file(counted_file(100000).c_str(), true, true, false));
  const std::size_t places[] = {0, 1, 8191, 8192, 8193, 5, 99999, 50001, 49152, 0};

  for (const std::size_t place : places) {
    SCOPED_TRACE(place);
    reader.set_position(place);
    const std::size_t bytes = std::min<std::size_t>(20000, expected.size() - place);
    std::string found(bytes, 'x');

    EXPECT_EQ(reader.read_file(found.data(), 1, bytes), bytes);
    EXPECT_EQ(found, expected.substr(place, bytes));
  }
}

TEST_F(ReadBuffer, ReadsNothingBeyondTheEndButGoesBack) {
  fReadBuffer reader;
  ASSERT_TRUE(reader.open_file(counted_file(5000).c_str(), true, false, false));
  char byte = 0;

  for (const unsigned long long place : {5000ULL, 5001ULL, 6000ULL, 1ULL << 50}) {
    SCOPED_TRACE(place);
    reader.set_position(place);
    EXPECT_EQ(reader.read_file(&byte, 1, 1), 0U);
    EXPECT_EQ(reader.read_byte(), 255);
    EXPECT_EQ(reader.read_int(), -1);
  }
  reader.set_position(100);

  EXPECT_EQ(reader.read_byte(), 100);
  EXPECT_EQ(errors(), Lines{});
}

// ---- Memory

TEST_F(ReadBuffer, ReadsMemoryAsAFile) {
  unsigned char memory[] = {1, 2, 3, 4, 5};
  fReadBuffer reader;
  reader.set_memory_buffer(memory, sizeof(memory));

  EXPECT_EQ(reader.get_file_size(), 5U);
  EXPECT_EQ(reader.get_buffer(), memory);
  EXPECT_EQ(reader.read_byte(), 1);
  EXPECT_EQ(reader.read_int(), 0x05040302);
  EXPECT_EQ(reader.read_byte(), 255);
  EXPECT_EQ(reader.read_int(), -1);
}

TEST_F(ReadBuffer, GoesAnywhereInMemoryAlsoAfterItsEnd) {
  unsigned char memory[] = {1, 2, 3, 4, 5};
  fReadBuffer reader;
  reader.set_memory_buffer(memory, sizeof(memory));
  reader.set_position(3);
  EXPECT_EQ(reader.read_byte(), 4);
  reader.set_position(9);
  EXPECT_EQ(reader.read_byte(), 255);

  reader.set_position(1);

  EXPECT_EQ(reader.read_byte(), 2);
}

TEST_F(ReadBuffer, MemoryIsNotReplacedByBuffers) {
  unsigned char memory[] = {1, 2, 3};
  fReadBuffer reader;
  reader.set_memory_buffer(memory, sizeof(memory));

  EXPECT_TRUE(reader.ensure_buffers());

  EXPECT_EQ(reader.get_buffer(), memory);
  EXPECT_EQ(reader.read_byte(), 1);
}

TEST_F(ReadBuffer, GoesFromAFileToMemoryAndBack) {
  const std::string name = counted_file(20000);
  unsigned char memory[] = {77};
  fReadBuffer reader;
  reader.cfg_buffers(2, 8192, 8192);
  ASSERT_TRUE(reader.open_file(name.c_str(), true, true, false));
  ASSERT_EQ(reader.read_byte(), 0);

  reader.set_memory_buffer(memory, sizeof(memory));
  EXPECT_EQ(reader.read_byte(), 77);
  EXPECT_EQ(reader.read_byte(), 255);

  ASSERT_TRUE(reader.open_file(name.c_str(), true, false, false));
  EXPECT_EQ(reader.skip_file(1, 20000), 20000U);
}

TEST_F(ReadBuffer, KeepsItsMemoryWhenNoFileIsOpenToBeClosed) {
  unsigned char memory[] = {77};
  fReadBuffer reader;
  ASSERT_TRUE(reader.open_file(counted_file(100).c_str(), true, false, false));
  reader.set_memory_buffer(memory, sizeof(memory));

  reader.close_file();

  EXPECT_EQ(reader.read_byte(), 77);
}

TEST_F(ReadBuffer, OfAHandleCanBePositionedAndReadRawBeforeItsFirstBlock) {
  const std::string name = counted_file(30000);
  const OpenFile positioned(io_open64(name.c_str(), 0, false, true, false));
  fReadBuffer reader(positioned.get());
  reader.set_position(1);
  EXPECT_EQ(reader.read_byte(), 1);

  const OpenFile raw(io_open64(name.c_str(), 0, false, true, false));
  fReadBuffer raw_reader(raw.get());
  std::string bytes(4096, 'x');
  EXPECT_EQ(raw_reader.read_raw_bytes(bytes.data(), 0, 1, bytes.size()), 4096U);
  EXPECT_TRUE(bytes == counted(4096));
}

TEST_F(ReadBuffer, HasNoErrorsBeforeItHasOpenedAnything) {
  EXPECT_FALSE(fReadBuffer().get_errors());
}

TEST_F(ReadBuffer, GoesFromALaterBlockOfAHandleToMemory) {
  const OpenFile file(io_open64(counted_file(30000).c_str(), 0, false, true, false));
  ASSERT_TRUE(file.is_open());
  unsigned char memory[] = {77, 78, 79};
  fReadBuffer reader(file.get());
  reader.cfg_buffers(2, 8192, 8192);
  ASSERT_EQ(reader.getNextBlock(), 8192U);
  ASSERT_EQ(reader.getNextBlock(), 8192U);

  reader.set_memory_buffer(memory, sizeof(memory));

  EXPECT_EQ(reader.get_buffer(), memory);
  EXPECT_EQ(reader.get_file_size(), 3U);
  EXPECT_EQ(reader.read_byte(), 77);
  reader.set_position(8194);
  EXPECT_EQ(reader.read_byte(), 255);
  reader.set_position(1);
  EXPECT_EQ(reader.getNextBlock(), 0U);  // Nothing of the handle's file.
  EXPECT_EQ(reader.read_byte(), 255);
  reader.set_position(2);
  EXPECT_EQ(reader.read_byte(), 79);
}

// ---- Raw reads

TEST_F(ReadBuffer, RawReadsRefuseWhatIsNotAligned) {
  fReadBuffer reader;
  ASSERT_TRUE(reader.open_file(counted_file(100000).c_str(), true, false, false));
  std::vector<char> bytes(200000);

  EXPECT_EQ(reader.read_raw_bytes(bytes.data(), 4097, 100, bytes.size()), 0U);
}

TEST_F(ReadBuffer, RawReadsRefuseWhatDoesNotFit) {
  fReadBuffer reader;
  ASSERT_TRUE(reader.open_file(counted_file(100000).c_str(), true, false, false));
  std::vector<char> bytes(200000, 'x');

  EXPECT_EQ(reader.read_raw_bytes(bytes.data(), 4096, 5000, 8191), 0U);  // Rounded up: 8192.
  EXPECT_EQ(bytes[0], 'x');
  EXPECT_EQ(reader.read_raw_bytes(bytes.data(), 4096, 5000, 8192), 8192U);
  EXPECT_EQ(bytes[0], static_cast<char>(4096 % 251));
}

TEST_F(ReadBuffer, KeepsCopyingOutOfTheBlockWithoutLookingAtTheCapacity) {
  fReadBuffer reader;
  reader.cfg_buffers(1, 8192, 8192);
  ASSERT_TRUE(reader.open_file(counted_file(100000).c_str(), true, false, false));
  ASSERT_EQ(reader.getNextBlock(), 8192U);
  char bytes[100] = {};

  EXPECT_EQ(reader.read_raw_bytes(bytes, 7, 100, 0), 100U);

  EXPECT_EQ(std::string(bytes, 100), counted(107).substr(7));
}

TEST_F(ReadBuffer, RawReadsOfAnyPlaceWithALaterBlockInHand) {
  const std::string expected = counted(100000);
  fReadBuffer reader;
  reader.cfg_buffers(1, 8192, 8192);
  ASSERT_TRUE(reader.open_file(counted_file(100000).c_str(), true, false, false));
  ASSERT_EQ(reader.getNextBlock(), 8192U);
  ASSERT_EQ(reader.getNextBlock(), 8192U);
  struct Case {
    const char* what;
    unsigned long long offset;
    unsigned long long size;
    unsigned long long capacity;  // 0: the block must have it.
  };
  const Case cases[] = {
      {"before the block", 4096, 4096, 4096},    {"up to the block", 0, 8192, 8192},
      {"the block's first bytes", 8192, 100, 0}, {"inside the block", 9000, 100, 0},
      {"all of the block", 8192, 8192, 0},       {"the block's last bytes", 16284, 100, 0},
      {"behind the block", 16384, 4096, 4096},   {"far behind the block", 81920, 8192, 8192}};

  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    std::string bytes(c.size, 'x');

    EXPECT_EQ(reader.read_raw_bytes(bytes.data(), c.offset, c.size, c.capacity), c.size);

    EXPECT_TRUE(bytes == expected.substr(c.offset, c.size));
  }
}

TEST_F(ReadBuffer, ARawReadCopiesABlockOfOneByte) {
  fReadBuffer reader;
  ASSERT_TRUE(reader.open_file(write("one", "1").c_str(), true, false, false));
  ASSERT_EQ(reader.getNextBlock(), 1U);
  char byte = 'x';

  EXPECT_EQ(reader.read_raw_bytes(&byte, 0, 1, 0), 1U);

  EXPECT_EQ(byte, '1');
}

TEST_F(ReadBuffer, RawReadsTakeWhatTheBlockHasAndTheRestFromTheFile) {
  const std::string expected = counted(100000);
  fReadBuffer reader;
  reader.cfg_buffers(1, 8192, 8192);
  ASSERT_TRUE(reader.open_file(counted_file(100000).c_str(), true, false, false));
  ASSERT_EQ(reader.getNextBlock(), 8192U);
  std::string bytes(100000, 'x');

  // 192 bytes of the block, then 9808 of the file, which are three units.
  EXPECT_EQ(reader.read_raw_bytes(bytes.data(), 8000, 10000, bytes.size()), 192U + 12288U);

  EXPECT_EQ(bytes.substr(0, 10000), expected.substr(8000, 10000));
  EXPECT_EQ(reader.read_byte(), 0);  // The reading itself has not moved.
}

TEST_F(ReadBuffer, ARawReadTakesTheOneByteThatTheBlockHas) {
  fReadBuffer reader;
  reader.cfg_buffers(1, 8192, 8192);
  ASSERT_TRUE(reader.open_file(counted_file(100000).c_str(), true, false, false));
  ASSERT_EQ(reader.getNextBlock(), 8192U);
  std::string bytes(10000, 'x');

  EXPECT_EQ(reader.read_raw_bytes(bytes.data(), 8191, 4097, bytes.size()), 1U + 4096U);

  EXPECT_EQ(bytes.substr(0, 4097), counted(100000).substr(8191, 4097));
}

TEST_F(ReadBuffer, ARawReadOverTheLastPartOfAFileStopsAtTheUnalignedEnd) {
  fReadBuffer reader;
  reader.cfg_buffers(1, 16384, 16384);
  ASSERT_TRUE(reader.open_file(counted_file(10000).c_str(), true, false, false));
  ASSERT_EQ(reader.getNextBlock(), 10000U);
  std::string bytes(20000, 'x');

  // The block's last boundary is 8192: behind it the file is asked.
  EXPECT_EQ(reader.read_raw_bytes(bytes.data(), 8000, 2100, bytes.size()), 192U + 4096U);
  EXPECT_EQ(bytes.substr(0, 2000), counted(10000).substr(8000));
  EXPECT_EQ(reader.read_raw_bytes(bytes.data(), 9000, 2100, bytes.size()), 0U);
}

// ---- Many readers

TEST_F(ReadBuffer, ReadersComeAndGoOnManyThreads) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 50;
  const std::string name = counted_file(300000);
  const std::string expected = counted(300000);
  fReadBuffer::set_xfer_breakvalue(65537);
  test::Gate gate;
  std::array<int, kThreads> failures{};
  std::vector<std::thread> threads;

  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread] {
      std::string bytes(303104, 'x');
      gate.wait();
      for (int round = 0; round < kRounds; ++round) {
        fReadBuffer reader;
        const bool read = reader.open_file(name.c_str(), true, false, false) &&
                          reader.read_raw_bytes(bytes.data(), 0, 300000, bytes.size()) == 303104;
        const bool is_same = read && bytes.compare(0, 300000, expected) == 0;
        failures[static_cast<std::size_t>(thread)] += is_same ? 0 : 1;
      }
    });
  }
  gate.open();
  for (std::thread& thread : threads) {
    thread.join();
  }
  fReadBuffer::set_xfer_breakvalue(0);

  EXPECT_EQ(failures, (std::array<int, kThreads>{}));
  EXPECT_EQ(errors(), Lines{});
}

TEST_F(ReadBuffer, ReadsNothingWhenTheBytesDoNotFitIn64Bits) {
  write("file", "content");
  fReadBuffer reader;
  ASSERT_TRUE(reader.open_file(path("file").c_str(), true, false, false));
  char bytes[8] = {};

  EXPECT_EQ(reader.read_file(bytes, (1ULL << 62) + 1, 4), 0U);  // 4 in 64 bits.

  EXPECT_STREQ(bytes, "");
  EXPECT_EQ(reader.read_file(bytes, 1, ~0ULL), 7U);  // Fits: all that there are.
}

TEST_F(ReadBuffer, SkipsToTheEndWhenTheBytesDoNotFitIn64Bits) {
  write("file", "content");
  fReadBuffer reader;
  ASSERT_TRUE(reader.open_file(path("file").c_str(), true, false, false));

  EXPECT_EQ(reader.skip_file((1ULL << 62) + 1, 4), 7U);
}

}  // namespace
}  // namespace orsin
