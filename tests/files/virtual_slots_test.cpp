// The order of the virtual functions, through the table that plug-ins of other compilers use.
//
// The functions are called by their number. Every one is seen by its effect, so two that changed
// places cannot go unnoticed.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "orsincore/io.h"
#include "tests/files/io_fixture.h"

namespace orsin {
namespace {

// The Itanium rules, by which GCC and Clang compile, give a destructor two entries: the second also
// frees the object. Microsoft's give it one.
#if defined(_MSC_VER)
constexpr int kDestructorEntries = 1;
#else
constexpr int kDestructorEntries = 2;
#endif

// Slots are numbered as documented: 0 is the destructor, whatever entries it takes.
template <typename Result, typename... Arguments>
Result call(int slot, void* object, Arguments... arguments) {
  void* const* table = nullptr;
  std::memcpy(&table, object, sizeof(table));
  void* const entry = table[slot + kDestructorEntries - 1];
  Result (*function)(void*, Arguments...) = nullptr;
  std::memcpy(&function, &entry, sizeof(function));
  return function(object, arguments...);
}

void destroy(void* object) {
#if defined(_MSC_VER)
  call<void*>(0, object, 1U);  // 1: frees it, too.
#else
  call<void>(0, object);
#endif
}

using Bytes = unsigned long long;

class VirtualSlots : public test::IoTest {};

TEST_F(VirtualSlots, OfTheReaderAreTheDestructorOnly) {
  auto* reader = new fReadBuffer;

  destroy(reader);
  // A leak would fail the test program.
}

TEST_F(VirtualSlots, OfTheWriterAreInTheirOrder) {
  const std::string name = path("out");
  auto* writer = new fWriteBuffer(io_invalid_handle(), false);

  EXPECT_TRUE((call<bool>(1, writer, 8192, true)));  // set_buffer
  auto* const buffer = call<unsigned char*>(2, writer);
  EXPECT_NE(buffer, nullptr);                                            // get_current_buffer
  EXPECT_TRUE((call<bool>(9, writer, name.c_str(), 0LL, false)));        // open_file
  EXPECT_EQ((call<Bytes>(11, writer, "0123", Bytes{2}, Bytes{2})), 4U);  // write_file
  EXPECT_EQ(buffer[3], '3');
  EXPECT_EQ(call<Bytes>(7, writer), 4U);               // get_buffer_used
  EXPECT_TRUE(call<bool>(8, writer));                  // data_pending
  EXPECT_EQ(call<Bytes>(13, writer), 4U);              // get_file_position
  EXPECT_TRUE((call<bool>(15, writer, Bytes{8191})));  // is_file_position_inside_current_buffer
  EXPECT_FALSE((call<bool>(15, writer, Bytes{8192})));
  EXPECT_TRUE((call<bool>(3, writer, 16384)));  // ensure_minimum_buffer_size
  EXPECT_TRUE((call<bool>(15, writer, Bytes{8192})));
  EXPECT_TRUE((call<bool>(14, writer, Bytes{2})));  // set_file_position
  EXPECT_EQ(call<Bytes>(13, writer), 2U);
  call<void>(4, writer);  // flush_buffers
  EXPECT_EQ(call<Bytes>(7, writer), 0U);
  const std::string frame(4096, 'f');
  EXPECT_EQ((call<Bytes>(12, writer, frame.data(), Bytes{4096})), 4096U);  // add_write_buffer
  EXPECT_EQ(call<int>(16, writer), 0);                                     // error
  EXPECT_EQ((call<int>(10, writer, true)), 1);                             // close_file
  call<void>(5, writer);                                                   // reset_buffers
  EXPECT_EQ(call<unsigned char*>(2, writer), nullptr);
  char memory[4];
  call<void>(6, writer, memory, 4);  // set_memory_buffer
  EXPECT_EQ(call<unsigned char*>(2, writer), reinterpret_cast<unsigned char*>(memory));
  destroy(writer);

  const std::string written = content("out");
  EXPECT_EQ(written.size(), 8192U);
  EXPECT_EQ(written.substr(0, 4), "0123");
  EXPECT_EQ(written.substr(4096), frame);
}

TEST_F(VirtualSlots, OfTheMemoryBufferAreTheWriters) {
  auto* buffer = new fMemBuffer;
  char memory[4];

  call<void>(6, buffer, memory, 4);
  EXPECT_EQ((call<Bytes>(11, buffer, "012345", Bytes{6}, Bytes{1})), 4U);
  EXPECT_EQ(call<unsigned char*>(2, buffer), reinterpret_cast<unsigned char*>(memory));
  EXPECT_EQ(call<Bytes>(7, buffer), 4U);
  EXPECT_FALSE(call<bool>(8, buffer));
  EXPECT_FALSE((call<bool>(3, buffer, 5)));
  EXPECT_TRUE((call<bool>(14, buffer, Bytes{1})));
  EXPECT_EQ(call<Bytes>(13, buffer), 1U);
  call<void>(4, buffer);
  EXPECT_TRUE((call<bool>(9, buffer, "nowhere", 0LL, false)));
  EXPECT_EQ((call<Bytes>(12, buffer, memory, Bytes{4})), 0U);
  EXPECT_EQ((call<int>(10, buffer, true)), 1);
  EXPECT_EQ(call<int>(16, buffer), 0);
  call<void>(5, buffer);
  EXPECT_EQ(call<unsigned char*>(2, buffer), nullptr);
  EXPECT_TRUE((call<bool>(1, buffer, 100, false)));
  EXPECT_NE(call<unsigned char*>(2, buffer), nullptr);
  destroy(buffer);
}

}  // namespace
}  // namespace orsin
