// The WebSocket client over a library that fails where the test wants it to.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

#include "base/log_port.h"
#include "orsincore/network.h"
#include "tests/net/frame_heap.h"
#include "tests/platform/native/fake_websockets.h"
#include "tests/support/log_capture.h"
#include "tests/support/new_refusal.h"

namespace orsin {
namespace {

using enum WebSocketContent;
using test::FrameHeap;
using test::Lines;
using test::LogCapture;
using test::NewRefusal;
using test::WebSocketScript;

constexpr const char* kUrl = "ws://server:9000/live";

struct DestroySocket {
  void operator()(OvWebSocket* socket) const { OvWebSocket::Destroy(socket); }
};
using Socket = std::unique_ptr<OvWebSocket, DestroySocket>;

class WebSocketClient : public testing::Test {
 protected:
  void connect() {
    ASSERT_TRUE(socket_->Connect(kUrl));
    web_->calls.clear();
  }

  // The next message, null when there is none; the payload's bytes are also put into text_.
  std::unique_ptr<OvWebSocketData> receive() {
    OvWebSocketData* message = nullptr;
    const bool received = socket_->Receive(&message);
    EXPECT_EQ(received, message != nullptr);
    if (received) {
      text_.assign(message->GetText(), message->GetSize());
    }
    return std::unique_ptr<OvWebSocketData>(message);
  }

  FrameHeap heap_;  // Before the log: it writes a report.
  LogCapture log_;
  WebSocketScript web_;
  Socket socket_{OvWebSocket::Create()};
  std::string text_;
};

using WebSocketConnecting = WebSocketClient;
using WebSocketClosing = WebSocketClient;
using WebSocketDestroying = WebSocketClient;
using WebSocketSending = WebSocketClient;
using WebSocketReceiving = WebSocketClient;

// --- Connect

TEST_F(WebSocketConnecting, TakesEachStepOnceAndKeepsAllButTheRequest) {
  EXPECT_TRUE(socket_->Connect(kUrl));

  EXPECT_EQ(web_->calls,
            (Lines{"open", "connect session1 server 9000", "open_request connection2 /live",
                   "set_option request3", "send_request request3", "receive_response request3",
                   "complete_upgrade request3", "query_data socket4", "close request3"}));
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(WebSocketConnecting, KeepsLookingForDataWhateverItFinds) {
  web_->refusals["query_data"] = 12018;

  EXPECT_TRUE(socket_->Connect(kUrl));

  EXPECT_EQ(std::count(web_->calls.begin(), web_->calls.end(), "query_data socket4"), 1);
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(WebSocketConnecting, NamesTheStepThatFailedAndLeavesWhatWasOpenBefore) {
  struct Case {
    const char* call;
    const char* line;
    Lines left;
  };
  const Case cases[] = {
      {"open", "ERROR: WebSocketWinHttp: Failed to create session: 12029", {}},
      {"connect",
       "ERROR: WebSocketWinHttp: Failed to connect to server: ws://server:9000/live 12029",
       {"session1"}},
      {"open_request",
       "ERROR: WebSocketWinHttp: Failed to open request: ws://server:9000/live 12029",
       {"session1", "connection2"}},
      {"set_option",
       "ERROR: WebSocketWinHttp: Failed to set websocket option: ws://server:9000/live 12029",
       {"session1", "connection2"}},
      {"send_request",
       "ERROR: WebSocketWinHttp: Failed to send request: ws://server:9000/live 12029",
       {"session1", "connection2"}},
      {"receive_response",
       "ERROR: WebSocketWinHttp: Failed to receive response: ws://server:9000/live 12029",
       {"session1", "connection2"}},
      {"complete_upgrade",
       "ERROR: WebSocketWinHttp: Failed to complete upgrade: ws://server:9000/live 12029",
       {"session1", "connection2"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.call);
    const LogCapture log;
    const WebSocketScript web;
    web->refusals[c.call] = 12029;
    const Socket socket(OvWebSocket::Create());

    EXPECT_FALSE(socket->Connect(kUrl));

    EXPECT_EQ(log.lines(), Lines{c.line});
    Lines left;
    for (const auto& [handle, name] : web->open_handles) {
      left.push_back(name);
    }
    EXPECT_EQ(left, c.left);
    EXPECT_FALSE(socket->SendText("not connected"));
    EXPECT_TRUE(socket->Close());
    EXPECT_TRUE(web->open_handles.empty());
    EXPECT_EQ(log.lines().size(), 1u);
  }
}

TEST_F(WebSocketConnecting, ClosesWhatAnEarlierCallHasOpened) {
  connect();

  EXPECT_TRUE(socket_->Connect("ws://other:1/"));

  EXPECT_EQ(Lines(web_->calls.begin(), web_->calls.begin() + 3),
            (Lines{"close socket4", "close connection2", "close session1"}));
  EXPECT_EQ(web_->open_handles.size(), 3u);
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(WebSocketConnecting, MayFollowAClose) {
  connect();
  EXPECT_TRUE(socket_->Close());

  EXPECT_TRUE(socket_->Connect(kUrl));

  EXPECT_TRUE(socket_->SendText("connected"));
}

TEST_F(WebSocketConnecting, HandsTheUrlOnInUtf16) {
  EXPECT_TRUE(socket_->Connect("ws://s\u00E9rver:80/\u65E5/\U0001F600"));

  EXPECT_EQ(web_->calls[1], "connect session1 s<233>rver 80");
  // The library's own pairs of units, here the two of U+1F600.
  EXPECT_EQ(web_->calls[2].substr(0, 34), "open_request connection2 /<26085>/");
}

TEST_F(WebSocketConnecting, TakesUrlsOfAnyLength) {
  const std::string path = "/" + std::string(100000, 'x');

  EXPECT_TRUE(socket_->Connect(("ws://server:80" + path).c_str()));

  EXPECT_EQ(web_->calls[2], "open_request connection2 " + path);
}

TEST_F(WebSocketConnecting, TakesNullForAnEmptyUrl) {
  web_->refusals["connect"] = 87;

  EXPECT_FALSE(socket_->Connect(nullptr));

  EXPECT_EQ(web_->calls, (Lines{"open", "connect session1  80"}));
  EXPECT_EQ(log_.lines(), Lines{"ERROR: WebSocketWinHttp: Failed to connect to server:  87"});
}

TEST_F(WebSocketConnecting, KeepsAPathWithoutAPortInTheHostName) {
  EXPECT_TRUE(socket_->Connect("ws://server/live"));

  EXPECT_EQ(web_->calls[1], "connect session1 server/live 80");
  EXPECT_EQ(web_->calls[2], "open_request connection2 /");
}

TEST_F(WebSocketConnecting, FailsWhenMemoryIsShort) {
  const NewRefusal refusal;

  EXPECT_FALSE(socket_->Connect(kUrl));

  EXPECT_EQ(web_->calls, Lines{"open"});
}

// --- Close

TEST_F(WebSocketClosing, SaysFarewellAndClosesInReverseOrder) {
  connect();

  EXPECT_TRUE(socket_->Close());

  EXPECT_EQ(web_->calls, (Lines{"close_socket socket4 1000", "query_close_status socket4 123",
                                "close socket4", "close connection2", "close session1"}));
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(WebSocketClosing, IsDoneOnce) {
  connect();
  EXPECT_TRUE(socket_->Close());
  web_->calls.clear();

  EXPECT_TRUE(socket_->Close());

  EXPECT_EQ(web_->calls, Lines{});
}

TEST_F(WebSocketClosing, OfWhatWasNeverConnectedDoesNothing) {
  EXPECT_TRUE(socket_->Close());

  EXPECT_EQ(web_->calls, Lines{});
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(WebSocketClosing, KeepsReportingTheLastErrorInsteadOfTheResultCode) {
  connect();
  web_->refusals["close_socket"] = 12030;
  port::set_last_system_error(5);

  EXPECT_FALSE(socket_->Close());

  EXPECT_EQ(log_.lines(), Lines{"ERROR: WebSocketWinHttp: Failed to close WebSocket: 5"});
  EXPECT_TRUE(web_->open_handles.empty());
}

TEST_F(WebSocketClosing, KeepsReportingTheLastErrorForTheStatusToo) {
  connect();
  web_->refusals["query_close_status"] = 4317;
  port::set_last_system_error(6);

  EXPECT_FALSE(socket_->Close());

  EXPECT_EQ(log_.lines(),
            Lines{"ERROR: WebSocketWinHttp: Failed to query WebSocket close status: 6"});
  EXPECT_TRUE(web_->open_handles.empty());
}

TEST_F(WebSocketClosing, AsksForTheStatusEvenAfterAFailedFarewell) {
  connect();
  web_->refusals["close_socket"] = 12030;
  web_->refusals["query_close_status"] = 4317;
  port::set_last_system_error(0);

  EXPECT_FALSE(socket_->Close());

  EXPECT_EQ(log_.lines(),
            (Lines{"ERROR: WebSocketWinHttp: Failed to close WebSocket: 0",
                   "ERROR: WebSocketWinHttp: Failed to query WebSocket close status: 0"}));
}

// --- Create and Destroy

TEST_F(WebSocketDestroying, OfNullDoesNothing) {
  OvWebSocket::Destroy(nullptr);

  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(WebSocketDestroying, OfAConnectedSocketSaysFarewellAndLogsNothing) {
  connect();

  socket_.reset();

  EXPECT_EQ(web_->calls.front(), "close_socket socket4 1000");
  EXPECT_TRUE(web_->open_handles.empty());
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(WebSocketDestroying, LogsAFailedFarewell) {
  connect();
  web_->refusals["close_socket"] = 12030;
  port::set_last_system_error(7);

  socket_.reset();

  EXPECT_EQ(log_.lines(), Lines{"ERROR: WebSocketWinHttp: Failed to close WebSocket: 7"});
  EXPECT_TRUE(web_->open_handles.empty());
}

TEST_F(WebSocketDestroying, OfAClosedOrHalfConnectedSocketClosesTheRest) {
  connect();
  socket_->Close();
  socket_.reset(OvWebSocket::Create());
  web_->refusals["send_request"] = 12029;
  EXPECT_FALSE(socket_->Connect(kUrl));
  EXPECT_EQ(web_->open_handles.size(), 2u);

  socket_.reset();

  EXPECT_TRUE(web_->open_handles.empty());
}

TEST(WebSocketCreation, GivesNullWhenMemoryIsShort) {
  const NewRefusal refusal;

  EXPECT_EQ(OvWebSocket::Create(), nullptr);
}

// --- Send

TEST_F(WebSocketSending, NeedsAConnectionAndSaysNothingWithoutOne) {
  EXPECT_FALSE(socket_->SendData("x", 1));
  EXPECT_FALSE(socket_->SendText("x"));

  EXPECT_EQ(web_->calls, Lines{});
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(WebSocketSending, SendsBinaryMessagesOfAnySize) {
  connect();

  EXPECT_TRUE(socket_->SendData("a\0b", 3));
  EXPECT_EQ(web_->sent, std::string("a\0b", 3));
  EXPECT_TRUE(socket_->SendData(nullptr, 0));
  EXPECT_EQ(web_->sent, "");

  EXPECT_EQ(web_->calls, (Lines{"send socket4 0 3", "send socket4 0 0"}));
}

TEST_F(WebSocketSending, SendsTextWithoutItsTerminator) {
  connect();

  EXPECT_TRUE(socket_->SendText("t\u00E4ke"));
  EXPECT_EQ(web_->sent, "t\u00E4ke");
  EXPECT_TRUE(socket_->SendText(""));

  EXPECT_EQ(web_->calls, (Lines{"send socket4 2 5", "send socket4 2 0"}));
}

TEST_F(WebSocketSending, LogsTheCodeOfARefusal) {
  connect();
  web_->refusals["send"] = 12030;
  port::set_last_system_error(99);  // Not this.

  EXPECT_FALSE(socket_->SendData("x", 1));
  EXPECT_FALSE(socket_->SendText("x"));

  EXPECT_EQ(log_.lines(), (Lines{"ERROR: WebSocketWinHttp: Failed to send data: 12030",
                                 "ERROR: WebSocketWinHttp: Failed to send text: 12030"}));
}

TEST_F(WebSocketSending, FailsForNullTextInSilence) {
  connect();

  EXPECT_FALSE(socket_->SendText(nullptr));

  EXPECT_EQ(web_->calls, Lines{});
  EXPECT_EQ(log_.lines(), Lines{});
}

// --- Receive

TEST_F(WebSocketReceiving, TakesNothingWithoutAPlaceForIt) {
  connect();

  EXPECT_FALSE(socket_->Receive(nullptr));

  EXPECT_EQ(web_->calls, Lines{});
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(WebSocketReceiving, NeedsAConnectionAndSaysNothingWithoutOne) {
  auto* const untouched = reinterpret_cast<OvWebSocketData*>(&text_);
  OvWebSocketData* message = untouched;

  EXPECT_FALSE(socket_->Receive(&message));

  EXPECT_EQ(message, untouched);
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(WebSocketReceiving, GivesAWholeBinaryMessage) {
  connect();
  web_->parts = {{kBinaryMessage, std::string("a\0b", 3)}};

  const auto message = receive();

  ASSERT_NE(message, nullptr);
  EXPECT_EQ(message->GetType(), 1u);
  EXPECT_EQ(message->GetSize(), 3u);
  EXPECT_EQ(message->GetText(), message->GetData());
  EXPECT_EQ(text_, std::string("a\0b", 3));
  EXPECT_EQ(web_->calls, Lines{"receive socket4 1048576"});
}

TEST_F(WebSocketReceiving, GivesAnEmptyMessage) {
  connect();
  web_->parts = {{kBinaryMessage, ""}};

  const auto message = receive();

  ASSERT_NE(message, nullptr);
  EXPECT_EQ(message->GetType(), 1u);
  EXPECT_EQ(message->GetSize(), 0u);
}

TEST_F(WebSocketReceiving, JoinsFragments) {
  connect();
  web_->parts = {{kBinaryFragment, "one "},
                 {kBinaryFragment, ""},
                 {kUtf8Fragment, "two "},
                 {kBinaryMessage, "three"}};

  ASSERT_NE(receive(), nullptr);

  EXPECT_EQ(text_, "one two three");
  EXPECT_EQ(web_->calls, (Lines{"receive socket4 1048576", "receive socket4 1048572",
                                "receive socket4 1048572", "receive socket4 1048568"}));
}

TEST_F(WebSocketReceiving, TakesAMessageOfExactlyTheBufferInOnePiece) {
  connect();
  socket_->SetBufferSize(100);
  web_->parts = {{kBinaryMessage, std::string(100, 'x')}};

  ASSERT_NE(receive(), nullptr);

  EXPECT_EQ(text_, std::string(100, 'x'));
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(WebSocketReceiving, FailsWhenFragmentsFillTheBufferBeforeTheLast) {
  connect();
  socket_->SetBufferSize(100);
  web_->parts = {{kBinaryFragment, std::string(100, 'x')}, {kBinaryMessage, ""}};

  EXPECT_EQ(receive(), nullptr);

  EXPECT_EQ(log_.lines(),
            Lines{"ERROR: WebSocketWinHttp: Insufficient buffer size to receive data: 100"});
}

TEST_F(WebSocketReceiving, FailsForOneByteMoreUntilTheBufferIsLarger) {
  connect();
  socket_->SetBufferSize(100);
  web_->parts = {{kBinaryMessage, std::string(101, 'x')}};
  EXPECT_EQ(receive(), nullptr);
  EXPECT_EQ(log_.lines(),
            Lines{"ERROR: WebSocketWinHttp: Insufficient buffer size to receive data: 100"});
  EXPECT_TRUE(heap_.is_empty());

  EXPECT_TRUE(socket_->SetBufferSize(101));
  web_->parts = {{kBinaryMessage, std::string(101, 'x')}};

  ASSERT_NE(receive(), nullptr);
  EXPECT_EQ(text_, std::string(101, 'x'));
}

TEST_F(WebSocketReceiving, FailsWithoutABuffer) {
  struct Case {
    std::size_t size;
    const char* capacity;
  };
  // Nothing, what the Frame heap cannot give.
  const Case cases[] = {{0, "0"}, {std::size_t{1} << 50, "0"}};
  connect();
  for (const Case& c : cases) {
    SCOPED_TRACE(c.size);
    socket_->SetBufferSize(c.size);

    EXPECT_EQ(receive(), nullptr);

    EXPECT_EQ(log_.lines().back(),
              std::string("ERROR: WebSocketWinHttp: Insufficient buffer size to receive data: ") +
                  c.capacity);
  }
  EXPECT_EQ(web_->calls, Lines{});
}

TEST_F(WebSocketReceiving, KeepsFailingForTextInSilence) {
  connect();
  web_->parts = {{kUtf8Message, "text"}, {kUtf8Fragment, "more "}, {kUtf8Message, "text"}};

  EXPECT_EQ(receive(), nullptr);
  EXPECT_EQ(receive(), nullptr);

  EXPECT_TRUE(web_->parts.empty());
  EXPECT_EQ(log_.lines(), Lines{});
  EXPECT_TRUE(heap_.is_empty());
}

TEST_F(WebSocketReceiving, FailsInSilenceWhenTheServerCloses) {
  connect();
  web_->parts = {{kBinaryFragment, "half a mess"}, {kClose, ""}};

  EXPECT_EQ(receive(), nullptr);

  EXPECT_EQ(log_.lines(), Lines{});
  EXPECT_TRUE(heap_.is_empty());
}

TEST_F(WebSocketReceiving, FailsInSilenceForAKindThatItDoesNotKnow) {
  connect();
  web_->parts = {{static_cast<WebSocketContent>(5), "?"}};

  EXPECT_EQ(receive(), nullptr);

  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(WebSocketReceiving, LogsTheCodeOfAFailure) {
  connect();
  web_->parts = {{kBinaryFragment, "half a mess"}};
  port::set_last_system_error(99);  // Not this.

  EXPECT_EQ(receive(), nullptr);

  EXPECT_EQ(log_.lines(), Lines{"ERROR: WebSocketWinHttp: Failed to receive: 12030"});
  EXPECT_TRUE(heap_.is_empty());
}

TEST_F(WebSocketReceiving, LeavesTheResultAloneOnFailure) {
  connect();
  auto* const untouched = reinterpret_cast<OvWebSocketData*>(&text_);
  OvWebSocketData* message = untouched;

  EXPECT_FALSE(socket_->Receive(&message));

  EXPECT_EQ(message, untouched);
}

TEST_F(WebSocketReceiving, FailsWhenMemoryIsShort) {
  connect();
  web_->parts = {{kBinaryMessage, "x"}};
  const NewRefusal refusal;

  EXPECT_EQ(receive(), nullptr);

  EXPECT_EQ(web_->calls, Lines{});
}

TEST_F(WebSocketReceiving, GivesAMessageThatOutlivesItsSocket) {
  connect();
  web_->parts = {{kBinaryMessage, "kept"}};
  auto message = receive();
  ASSERT_NE(message, nullptr);

  socket_.reset();

  EXPECT_EQ(std::string(message->GetText(), message->GetSize()), "kept");
  EXPECT_FALSE(heap_.is_empty());
  message.reset();
  EXPECT_TRUE(heap_.is_empty());
}

// --- All of it, often

TEST_F(WebSocketClient, LeaksNothingOver10000Cycles) {
  constexpr int kCycles = 10000;
  for (int i = 0; i < kCycles; ++i) {
    web_->calls.clear();
    web_->parts = {{kBinaryMessage, "x"}};
    ASSERT_TRUE(socket_->Connect(kUrl));
    ASSERT_NE(receive(), nullptr);
    ASSERT_EQ(receive(), nullptr);  // A failure, with a line.
    ASSERT_TRUE(socket_->Close());
    ASSERT_TRUE(web_->open_handles.empty());
  }
  EXPECT_TRUE(heap_.is_empty());
}

}  // namespace
}  // namespace orsin
