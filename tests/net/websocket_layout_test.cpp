// What compiled hosts rely on: the order of the virtual functions and of the fields.
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <type_traits>

#include "net/websocket_data.h"
#include "net/websocket_winhttp.h"

namespace orsin {

struct WebSocketLayout {
  using C = WebSocketWinHttp;
  static_assert(offsetof(C, session_) == sizeof(void*));
  static_assert(offsetof(C, connection_) == 2 * sizeof(void*));
  static_assert(offsetof(C, socket_) == 3 * sizeof(void*));
  static_assert(offsetof(C, buffer_bytes_) == 4 * sizeof(void*));
  static_assert(sizeof(C) == 4 * sizeof(void*) + sizeof(std::size_t));
};

struct WebSocketDataLayout {
  using C = WebSocketData;
  static_assert(offsetof(C, type_) == sizeof(void*));
  static_assert(offsetof(C, buffer_) == 2 * sizeof(void*));
  static_assert(offsetof(C, capacity_) == 3 * sizeof(void*));
  static_assert(offsetof(C, size_) == 3 * sizeof(void*) + sizeof(std::size_t));
};

namespace {

static_assert(std::is_abstract_v<OvWebSocket> && !std::has_virtual_destructor_v<OvWebSocket>);
static_assert(sizeof(OvWebSocket) == sizeof(void*));
// Copying and moving the interface is everybody's and does nothing.
static_assert(std::is_nothrow_copy_assignable_v<OvWebSocket>);
static_assert(std::is_nothrow_move_assignable_v<OvWebSocket>);
static_assert(std::is_abstract_v<OvWebSocketData> &&
              std::has_virtual_destructor_v<OvWebSocketData>);
static_assert(sizeof(OvWebSocketData) == sizeof(void*));

// Function `slot` of an object's table, as a host calls it that was compiled long ago.
template <typename Function>
Function slot_of(const void* object, int slot) {
  void* const* const table = *static_cast<void* const* const*>(object);
  return reinterpret_cast<Function>(table[slot]);
}

class RecordingSocket final : public OvWebSocket {
 public:
  bool Connect(const char*) override { return note("Connect"); }
  bool Close() override { return note("Close"); }
  bool SendData(const void*, unsigned int) override { return note("SendData"); }
  bool SendText(const char*) override { return note("SendText"); }
  bool SetBufferSize(std::size_t) override { return note("SetBufferSize"); }
  bool Receive(OvWebSocketData**) override { return note("Receive"); }

  std::string called;

 private:
  bool note(const char* name) {
    called = name;
    return true;
  }
};

TEST(WebSocketLayout, HasItsFunctionsInOrder) {
  RecordingSocket socket;
  const char* const names[] = {"Connect",  "Close",         "SendData",
                               "SendText", "SetBufferSize", "Receive"};
  for (int slot = 0; slot < 6; ++slot) {
    using Function = bool (*)(void*, void*, unsigned int);
    EXPECT_TRUE(slot_of<Function>(&socket, slot)(&socket, nullptr, 0));
    EXPECT_EQ(socket.called, names[slot]);
  }
}

class CountedData final : public OvWebSocketData {
 public:
  unsigned int GetType() const override { return 11; }
  const void* GetData() const override { return this; }
  const char* GetText() const override { return "text"; }
  std::size_t GetSize() const override { return 14; }
};

TEST(WebSocketDataLayout, HasItsFunctionsInOrderAfterTheDestructor) {
  // GCC and Clang keep two entries for a destructor, MSVC one.
#if defined(_MSC_VER)
  constexpr int kFirst = 1;
#else
  constexpr int kFirst = 2;
#endif
  const CountedData data;

  EXPECT_EQ(slot_of<unsigned int (*)(const void*)>(&data, kFirst)(&data), 11u);
  EXPECT_EQ(slot_of<const void* (*)(const void*)>(&data, kFirst + 1)(&data), &data);
  EXPECT_STREQ(slot_of<const char* (*)(const void*)>(&data, kFirst + 2)(&data), "text");
  EXPECT_EQ(slot_of<std::size_t (*)(const void*)>(&data, kFirst + 3)(&data), 14u);
}

}  // namespace
}  // namespace orsin
