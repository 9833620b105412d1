// Receive buffers beyond 32 bits, on a machine that has the memory: the native port plays it.
#include <gtest/gtest.h>

#include "orsincore/network.h"
#include "tests/net/frame_heap.h"
#include "tests/platform/native/fake_websockets.h"
#include "tests/platform/native/pages_native.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

constexpr std::uint64_t kGib = std::uint64_t{1} << 30;

TEST(WebSocketLargeBuffers, KeepsCountingTheRoomIn32Bits) {
  struct Case {
    std::size_t buffer_bytes;
    const char* call;  // Null: none is made.
    test::Lines log;
  };
  const Case cases[] = {
      {4 * kGib - 1, "receive socket4 4294967295", {}},
      {4 * kGib,
       nullptr,
       {"ERROR: WebSocketWinHttp: Insufficient buffer size to receive data: 4294967296"}},
      {4 * kGib + 100, "receive socket4 100", {}},
  };
  const test::PagesScript machine;
  machine->status.total_physical = 64 * kGib;
  machine->status.available_physical = 64 * kGib;
  machine->regions = {{0x10000, std::uint64_t{1} << 46, true}};
  const test::FrameHeap heap;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.buffer_bytes);
    const test::LogCapture log;
    const test::WebSocketScript web;
    web->parts = {{WebSocketContent::kBinaryMessage, "x"}};
    OvWebSocket* socket = OvWebSocket::Create();
    ASSERT_TRUE(socket->Connect("ws://server:9000/live"));
    web->calls.clear();
    socket->SetBufferSize(c.buffer_bytes);

    OvWebSocketData* message = nullptr;
    EXPECT_EQ(socket->Receive(&message), c.call != nullptr);

    EXPECT_EQ(web->calls, c.call != nullptr ? test::Lines{c.call} : test::Lines{});
    EXPECT_EQ(log.lines(), c.log);
    delete message;
    OvWebSocket::Destroy(socket);
  }
  EXPECT_TRUE(heap.is_empty());
}

}  // namespace
}  // namespace orsin
