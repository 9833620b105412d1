// The WebSocket client against a real server on 127.0.0.1; servers/websocket.py says what each path
// does. Where Wine's WinHTTP differs from Windows', the test says how.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "base/win/windows.h"
#include "orsincore/network.h"
#include "orsincore/text.h"
#include "tests/net/child_server_win.h"
#include "tests/net/frame_heap.h"
#include "tests/support/handle_count_win.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::ChildServer;
using test::FrameHeap;
using test::Lines;
using test::LogCapture;

const std::string kScript = test::server_script("websocket.py");

// One server for all tests of a run; started by the first that needs it.
class SharedServer : public testing::Environment {
 public:
  static int port() {
    if (server_ == nullptr) {
      server_ = std::make_unique<ChildServer>(kScript);
      EXPECT_NE(server_->port(), 0);
    }
    return server_->port();
  }
  void TearDown() override { server_.reset(); }

 private:
  static inline std::unique_ptr<ChildServer> server_;
};

[[maybe_unused]] const auto* const shared_server =
    testing::AddGlobalTestEnvironment(new SharedServer);

bool is_wine() {
  return GetProcAddress(GetModuleHandleA("ntdll.dll"), "wine_get_version") != nullptr;
}

std::string url_of(int port, std::string_view path) {
  return "ws://127.0.0.1:" + std::to_string(port) + std::string(path);
}

std::string url_of(std::string_view path) {
  return url_of(SharedServer::port(), path);
}

// The bytes that the server sends for a size.
std::string payload(std::size_t size) {
  constexpr std::size_t kPeriod = 251;
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) {
    bytes[i] = static_cast<char>(i % kPeriod);
  }
  return bytes;
}

std::string sha1_of(std::string_view bytes) {
  SHA1Context context;
  ov_SHA1Reset(&context);
  ov_SHA1Input(&context, reinterpret_cast<const unsigned char*>(bytes.data()),
               static_cast<unsigned int>(bytes.size()));
  ov_SHA1Result(&context);
  char text[41];
  std::snprintf(text, sizeof(text), "%08x%08x%08x%08x%08x", context.Message_Digest[0],
                context.Message_Digest[1], context.Message_Digest[2], context.Message_Digest[3],
                context.Message_Digest[4]);
  return text;
}

struct DestroySocket {
  void operator()(OvWebSocket* socket) const { OvWebSocket::Destroy(socket); }
};
using Socket = std::unique_ptr<OvWebSocket, DestroySocket>;

Socket connect_to(std::string_view path) {
  Socket socket(OvWebSocket::Create());
  EXPECT_TRUE(socket->Connect(url_of(path).c_str()));
  return socket;
}

constexpr const char* kFailed = "(failed)";

// The payload of the next message, or kFailed.
std::string receive(const Socket& socket) {
  OvWebSocketData* message = nullptr;
  if (!socket->Receive(&message)) {
    return kFailed;
  }
  const std::unique_ptr<OvWebSocketData> owner(message);
  EXPECT_EQ(message->GetType(), 1u);
  return {message->GetText(), message->GetSize()};
}

bool begins_with(const std::string& line, std::string_view beginning) {
  return line.compare(0, beginning.size(), beginning) == 0;
}

class WebSocketServer : public testing::Test {
 protected:
  WebSocketServer() { SharedServer::port(); }
  ~WebSocketServer() override { EXPECT_TRUE(heap_.is_empty()); }

  FrameHeap heap_;
  LogCapture log_;
};

// --- Connect

TEST_F(WebSocketServer, IsAskedForAnUpgradeOfThePath) {
  const Socket socket = connect_to("/request?take=1&name=a:b/c");

  const std::string request = receive(socket);

  EXPECT_TRUE(begins_with(request, "/request?take=1&name=a:b/c\n")) << request;
  for (const char* line :
       {"\nUser-Agent: OvWebSocket\n", "\nUpgrade: websocket\n", "\nSec-WebSocket-Version: 13\n"}) {
    EXPECT_NE((request + "\n").find(line), std::string::npos) << line << request;
  }
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(WebSocketServer, IsFoundWithAnySchemeOrNone) {
  for (const char* scheme : {"ws://", "wss://", "", "nonsense://"}) {
    SCOPED_TRACE(scheme);
    const Socket socket(OvWebSocket::Create());
    const std::string url =
        scheme + std::string("127.0.0.1:") + std::to_string(SharedServer::port());

    EXPECT_TRUE(socket->Connect(url.c_str()));

    EXPECT_TRUE(begins_with(receive(socket), "/\n"));
  }
}

TEST_F(WebSocketServer, ThatIsNotThereIsAFailureToSend) {
  ChildServer short_lived(kScript);
  short_lived.stop();
  const std::string url = url_of(short_lived.port(), "/echo");
  const Socket socket(OvWebSocket::Create());

  EXPECT_FALSE(socket->Connect(url.c_str()));

  EXPECT_EQ(log_.lines(),
            Lines{"ERROR: WebSocketWinHttp: Failed to send request: " + url + " 12029"});
}

TEST_F(WebSocketServer, WhoseNameDoesNotResolveIsAFailureToSend) {
  const Socket socket(OvWebSocket::Create());

  EXPECT_FALSE(socket->Connect("ws://nobody.invalid:9000/live"));

  EXPECT_EQ(log_.lines(), Lines{"ERROR: WebSocketWinHttp: Failed to send request: "
                                "ws://nobody.invalid:9000/live 12007"});
}

TEST_F(WebSocketServer, KeepsBeingLookedForUnderANameWithThePathWithoutAPort) {
  const Socket socket(OvWebSocket::Create());

  EXPECT_FALSE(socket->Connect("ws://127.0.0.1/live"));

  // Wine finds no such host when it sends; Windows may refuse the name before.
  ASSERT_EQ(log_.lines().size(), 1u);
  EXPECT_TRUE(begins_with(log_.lines()[0], "ERROR: WebSocketWinHttp: Failed to "));
  EXPECT_NE(log_.lines()[0].find(": ws://127.0.0.1/live "), std::string::npos);
}

TEST_F(WebSocketServer, MayRefuseTheUpgrade) {
  for (const char* path : {"/refuse?status=200", "/refuse?status=404"}) {
    SCOPED_TRACE(path);
    const LogCapture log;
    const Socket socket(OvWebSocket::Create());

    const bool connected = socket->Connect(url_of(path).c_str());

    if (is_wine()) {
      // Wine takes any answer for an upgrade; the first message shows that it was none.
      EXPECT_TRUE(connected);
      EXPECT_EQ(receive(socket), kFailed);
      ASSERT_EQ(log.lines().size(), 1u);
      EXPECT_TRUE(begins_with(log.lines()[0], "ERROR: WebSocketWinHttp: Failed to receive: "));
    } else {
      EXPECT_FALSE(connected);
      ASSERT_EQ(log.lines().size(), 1u);
      EXPECT_TRUE(begins_with(
          log.lines()[0],
          "ERROR: WebSocketWinHttp: Failed to complete upgrade: " + url_of(path) + " "));
    }
  }
}

TEST_F(WebSocketServer, MayBeReplacedByAnother) {
  const Socket socket = connect_to("/farewell");

  EXPECT_TRUE(socket->Connect(url_of("/echo").c_str()));

  EXPECT_TRUE(socket->SendData("here", 4));
  EXPECT_EQ(receive(socket), "here");
  // No farewell: the connection was dropped.
  EXPECT_EQ(receive(connect_to("/noted")), "1006 ");
  EXPECT_EQ(log_.lines(), Lines{});
}

// --- Messages

TEST_F(WebSocketServer, SendsMessagesOfAnySizeUpToTheBuffer) {
  constexpr std::size_t kBufferBytes = 0x100000;
  const Socket socket = connect_to("/send?sizes=0,1,125,126,65535,65536,1048575,1048576");

  for (const std::size_t size :
       {std::size_t{0}, std::size_t{1}, std::size_t{125}, std::size_t{126}, std::size_t{65535},
        std::size_t{65536}, kBufferBytes - 1, kBufferBytes}) {
    SCOPED_TRACE(size);
    EXPECT_TRUE(receive(socket) == payload(size));
  }
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(WebSocketServer, SendsOneByteMoreThanTheBufferOnlyToALargerOne) {
  {
    const Socket socket = connect_to("/send?sizes=1048577");
    EXPECT_EQ(receive(socket), kFailed);
    EXPECT_EQ(log_.lines(),
              Lines{"ERROR: WebSocketWinHttp: Insufficient buffer size to receive data: 1048576"});
  }
  const Socket socket = connect_to("/send?sizes=1048577");
  EXPECT_TRUE(socket->SetBufferSize(1048577));

  EXPECT_TRUE(receive(socket) == payload(1048577));
}

TEST_F(WebSocketServer, ExchangesAHundredMegabytes) {
  constexpr std::size_t kSize = 100'000'000;
  const std::string bytes = payload(kSize);
  const Socket socket = connect_to("/send?sizes=100000000");
  EXPECT_TRUE(socket->SetBufferSize(kSize));
  EXPECT_TRUE(receive(socket) == bytes);

  const Socket other = connect_to("/check");
  EXPECT_TRUE(other->SendData(bytes.data(), kSize));

  EXPECT_EQ(receive(other), "binary 100000000 " + sha1_of(bytes));
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(WebSocketServer, MaySendFragments) {
  const Socket socket = connect_to("/fragments?sizes=1,0,70000,126,5");

  EXPECT_EQ(receive(socket), payload(1) + payload(70000) + payload(126) + payload(5));
}

TEST_F(WebSocketServer, SendsFragmentsThatFillTheBufferInVain) {
  {
    const Socket socket = connect_to("/fragments?sizes=60,40");  // And the last one, of 0 bytes.
    socket->SetBufferSize(100);
    EXPECT_EQ(receive(socket), kFailed);
    EXPECT_EQ(log_.lines(),
              Lines{"ERROR: WebSocketWinHttp: Insufficient buffer size to receive data: 100"});
  }
  const Socket socket = connect_to("/fragments?sizes=60,40");
  socket->SetBufferSize(101);

  EXPECT_EQ(receive(socket), payload(60) + payload(40));
}

TEST_F(WebSocketServer, KeepsSendingTextInVain) {
  for (const char* path : {"/text?word=hello", "/text?word=hello&parts=3", "/text?word="}) {
    SCOPED_TRACE(path);
    const Socket socket = connect_to(path);

    EXPECT_EQ(receive(socket), kFailed);

    // The connection is as good as before.
    EXPECT_TRUE(socket->SendData("binary", 6));
    EXPECT_EQ(receive(socket), "binary");
  }
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(WebSocketServer, GetsTextAndBinaryMessagesAsTheyWereSent) {
  const Socket socket = connect_to("/check");
  const std::string text = "T\u00E4ke \u65E5\u672C \U0001F600";
  const std::string bytes = payload(70000);

  EXPECT_TRUE(socket->SendText(text.c_str()));
  EXPECT_EQ(receive(socket), "text " + std::to_string(text.size()) + " " + sha1_of(text));
  EXPECT_TRUE(socket->SendData(bytes.data(), static_cast<unsigned int>(bytes.size())));
  EXPECT_EQ(receive(socket), "binary 70000 " + sha1_of(bytes));
  EXPECT_TRUE(socket->SendText(""));
  EXPECT_EQ(receive(socket), "text 0 " + sha1_of(""));
  EXPECT_TRUE(socket->SendData(nullptr, 0));
  EXPECT_EQ(receive(socket), "binary 0 " + sha1_of(""));
}

TEST_F(WebSocketServer, HasItsPingsAnsweredDuringAReceive) {
  const Socket socket = connect_to("/ping?payload=");

  EXPECT_EQ(receive(socket), "answered");

  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(WebSocketServer, HasItsPingsWithAPayloadAnswered) {
  const Socket socket = connect_to("/ping?payload=are+you+there");

  const std::string message = receive(socket);

  if (is_wine()) {
    // Wine takes the ping's payload for the next frame and gives up.
    EXPECT_EQ(message, kFailed);
    EXPECT_EQ(log_.lines(), Lines{"ERROR: WebSocketWinHttp: Failed to receive: 12152"});
  } else {
    EXPECT_EQ(message, "answered");
    EXPECT_EQ(log_.lines(), Lines{});
  }
}

// --- The end of a connection

TEST_F(WebSocketServer, GetsAFarewellWithoutAReason) {
  Socket socket = connect_to("/farewell");
  EXPECT_TRUE(socket->Close());
  EXPECT_EQ(receive(connect_to("/noted")), "1000 ");

  socket = connect_to("/farewell");
  socket.reset();

  EXPECT_EQ(receive(connect_to("/noted")), "1000 ");
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(WebSocketServer, MayBeConnectedAgainAfterAClose) {
  const Socket socket = connect_to("/echo");
  EXPECT_TRUE(socket->Close());
  EXPECT_FALSE(socket->SendText("closed"));
  EXPECT_EQ(receive(socket), kFailed);

  EXPECT_TRUE(socket->Connect(url_of("/echo").c_str()));

  EXPECT_TRUE(socket->SendData("again", 5));
  EXPECT_EQ(receive(socket), "again");
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(WebSocketServer, MayCloseWithAReason) {
  const std::string reason(123, 'r');  // The longest there is.
  const Socket socket = connect_to("/lastwords?reason=" + reason);

  EXPECT_EQ(receive(socket), "last words");
  EXPECT_EQ(receive(socket), kFailed);

  EXPECT_TRUE(socket->Close());
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(WebSocketServer, MayCloseAtOnce) {
  const Socket socket = connect_to("/close?code=4001&reason=not+today");

  EXPECT_EQ(receive(socket), kFailed);

  EXPECT_TRUE(socket->Close());
  EXPECT_EQ(log_.lines(), Lines{});
}

// What the client says about a connection that is gone. The codes are the system's: Windows calls
// it 12030, Wine an invalid answer.
void expect_the_loss_is_logged(const Socket& socket) {
  const LogCapture log;

  EXPECT_EQ(receive(socket), kFailed);
  EXPECT_FALSE(socket->Close());

  const Lines lines = log.lines();
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[0], is_wine() ? "ERROR: WebSocketWinHttp: Failed to receive: 12152"
                                : "ERROR: WebSocketWinHttp: Failed to receive: 12030");
  EXPECT_TRUE(begins_with(lines[1], "ERROR: WebSocketWinHttp: Failed to close WebSocket: "));
  EXPECT_TRUE(
      begins_with(lines[2], "ERROR: WebSocketWinHttp: Failed to query WebSocket close status: "));
}

TEST_F(WebSocketServer, MayDropTheConnection) {
  const Socket socket = connect_to("/abort");
  EXPECT_TRUE(socket->SendText("go"));

  expect_the_loss_is_logged(socket);

  EXPECT_TRUE(socket->Connect(url_of("/echo").c_str()));
}

TEST_F(WebSocketServer, MayDie) {
  ChildServer mortal(kScript);
  const Socket socket(OvWebSocket::Create());
  EXPECT_TRUE(socket->Connect(url_of(mortal.port(), "/die").c_str()));
  EXPECT_TRUE(socket->SendText("go"));

  expect_the_loss_is_logged(socket);
}

TEST_F(WebSocketServer, ThatDroppedTheConnectionTakesNoMoreMessages) {
  constexpr int kSendsMax = 1000;  // The first ones may still find room in the system's buffers.
  const std::string bytes = payload(100000);
  const Socket socket = connect_to("/abort");
  EXPECT_TRUE(socket->SendText("go"));
  EXPECT_EQ(receive(socket), kFailed);

  int sends = 0;
  while (sends < kSendsMax &&
         socket->SendData(bytes.data(), static_cast<unsigned int>(bytes.size()))) {
    ++sends;
  }

  EXPECT_LT(sends, kSendsMax);
  EXPECT_FALSE(socket->SendText("text"));
  const Lines lines = log_.lines();
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_TRUE(begins_with(lines[1], "ERROR: WebSocketWinHttp: Failed to send data: "));
  EXPECT_TRUE(begins_with(lines[2], "ERROR: WebSocketWinHttp: Failed to send text: "));
}

TEST_F(WebSocketServer, MayHaveMoreToSayWhenTheClientCloses) {
  const Socket socket = connect_to("/send?sizes=10,3000000,10");
  EXPECT_EQ(receive(socket), payload(10));

  EXPECT_TRUE(socket->Close());

  EXPECT_EQ(log_.lines(), Lines{});
}

// --- Many connections

void connect_and_close(int cycles, std::atomic<int>& failures) {
  const Socket socket(OvWebSocket::Create());
  const std::string url = url_of("/echo");
  for (int i = 0; i < cycles; ++i) {
    const bool is_good = socket->Connect(url.c_str()) && socket->SendData("x", 1) &&
                         receive(socket) == "x" && socket->Close();
    failures += is_good ? 0 : 1;
  }
}

TEST_F(WebSocketServer, LeavesNoHandleBehindIn10000Connections) {
  constexpr int kThreads = 16;  // A connection mostly waits.
  constexpr int kCycles = 10000;
  std::atomic<int> failures = 0;
  const auto run = [&](int cycles) {
    std::vector<std::jthread> threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back(connect_and_close, cycles / kThreads, std::ref(failures));
    }
  };
  run(kThreads);  // What the system opens once stays open.
  const std::size_t before = test::count_own_handles();
  {
    const Socket open = connect_to("/echo");
    EXPECT_GT(test::count_own_handles(), before) << "the count does not see connections";
  }

  run(kCycles);

  EXPECT_LE(test::count_own_handles(),
            before + kThreads);  // Of threads that the system keeps for later.
  EXPECT_EQ(failures, 0);
  EXPECT_EQ(log_.lines(), Lines{});
}

}  // namespace
}  // namespace orsin
