// WebSocket streams of 1 MiB messages in one direction, against the bare platform calls.
//
//   Receive   messages that the server sends without end: Receive() with a fresh buffer of the
//             Frame heap each, against WinHttpWebSocketReceive into one buffer that stays.
//   Send      messages that the server takes, with one small answer after each batch.
//
// One iteration is a batch of messages. The server is tests/net/servers/websocket.py in a process
// of its own. A good result: at most 1.05 of the bare calls' time in both directions.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

#include "base/win/windows.h"
#include "orsincore/network.h"
#include "orsincore/startup.h"
#include "tests/net/child_server_win.h"

#include <winhttp.h>

namespace {

constexpr int kBatch = 32;
constexpr DWORD kMessageBytes = 1 << 20;
constexpr const char* kStream = "/stream?size=1048576";
constexpr const char* kSink = "/sink?count=32";  // kBatch.

int server_port() {
  static const orsin::test::ChildServer server(orsin::test::server_script("websocket.py"));
  return server.port();
}

// The library with its heaps, for the whole run.
struct Library {
  Library() { ov_fast_initialize("websocket_bench", true); }
  ~Library() { ov_closedown(); }
};

class OrsinSocket {
 public:
  explicit OrsinSocket(const std::string& path) : socket_(OvWebSocket::Create()) {
    static const Library library;
    const std::string url = "ws://127.0.0.1:" + std::to_string(server_port()) + path;
    connected_ = socket_->Connect(url.c_str());
  }
  ~OrsinSocket() { OvWebSocket::Destroy(socket_); }
  OrsinSocket(const OrsinSocket&) = delete;
  OrsinSocket& operator=(const OrsinSocket&) = delete;

  [[nodiscard]] bool connected() const { return connected_; }
  bool receive() {
    OvWebSocketData* message = nullptr;
    const bool received = socket_->Receive(&message);
    delete message;
    return received;
  }
  bool send(const void* data, DWORD size) { return socket_->SendData(data, size); }

 private:
  OvWebSocket* socket_;
  bool connected_;
};

class BareSocket {
 public:
  explicit BareSocket(const std::string& path) {
    const std::wstring wide_path(path.begin(), path.end());
    session_ = WinHttpOpen(L"OvWebSocket", WINHTTP_ACCESS_TYPE_DEFAULT_PROXY, WINHTTP_NO_PROXY_NAME,
                           WINHTTP_NO_PROXY_BYPASS, 0);
    connection_ =
        WinHttpConnect(session_, L"127.0.0.1", static_cast<INTERNET_PORT>(server_port()), 0);
    HINTERNET request = WinHttpOpenRequest(connection_, L"GET", wide_path.c_str(), nullptr,
                                           WINHTTP_NO_REFERER, WINHTTP_DEFAULT_ACCEPT_TYPES, 0);
    if (WinHttpSetOption(request, WINHTTP_OPTION_UPGRADE_TO_WEB_SOCKET, nullptr, 0) &&
        WinHttpSendRequest(request, WINHTTP_NO_ADDITIONAL_HEADERS, 0, WINHTTP_NO_REQUEST_DATA, 0, 0,
                           0) &&
        WinHttpReceiveResponse(request, nullptr)) {
      socket_ = WinHttpWebSocketCompleteUpgrade(request, 0);
    }
    WinHttpCloseHandle(request);
  }
  ~BareSocket() {
    WinHttpWebSocketClose(socket_, WINHTTP_WEB_SOCKET_SUCCESS_CLOSE_STATUS, nullptr, 0);
    WinHttpCloseHandle(socket_);
    WinHttpCloseHandle(connection_);
    WinHttpCloseHandle(session_);
  }
  BareSocket(const BareSocket&) = delete;
  BareSocket& operator=(const BareSocket&) = delete;

  [[nodiscard]] bool connected() const { return socket_ != nullptr; }
  bool receive() {
    DWORD size = 0;
    WINHTTP_WEB_SOCKET_BUFFER_TYPE type = WINHTTP_WEB_SOCKET_BINARY_FRAGMENT_BUFFER_TYPE;
    while (type == WINHTTP_WEB_SOCKET_BINARY_FRAGMENT_BUFFER_TYPE) {
      DWORD received = 0;
      if (WinHttpWebSocketReceive(socket_, buffer_.data() + size, kMessageBytes - size, &received,
                                  &type) != 0) {
        return false;
      }
      size += received;
    }
    return type == WINHTTP_WEB_SOCKET_BINARY_MESSAGE_BUFFER_TYPE;
  }
  bool send(const void* data, DWORD size) {
    return WinHttpWebSocketSend(socket_, WINHTTP_WEB_SOCKET_BINARY_MESSAGE_BUFFER_TYPE,
                                const_cast<void*>(data), size) == 0;
  }

 private:
  HINTERNET session_ = nullptr;
  HINTERNET connection_ = nullptr;
  HINTERNET socket_ = nullptr;
  std::vector<char> buffer_ = std::vector<char>(kMessageBytes);
};

template <typename Socket, typename Exchange>
void exchange_batches(benchmark::State& state, const char* path, Exchange exchange) {
  Socket socket(path);
  if (!socket.connected()) {
    state.SkipWithError("cannot connect");
    return;
  }
  for (auto _ : state) {
    if (!exchange(socket)) {
      state.SkipWithError("the connection was lost");
      break;
    }
  }
  state.SetBytesProcessed(state.iterations() * kBatch * std::int64_t{kMessageBytes});
  state.SetItemsProcessed(state.iterations() * kBatch);
}

template <typename Socket>
void Receive(benchmark::State& state) {
  exchange_batches<Socket>(state, kStream, [](Socket& socket) {
    bool is_good = true;
    for (int i = 0; i < kBatch && is_good; ++i) {
      is_good = socket.receive();
    }
    return is_good;
  });
}
BENCHMARK_TEMPLATE(Receive, OrsinSocket)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(Receive, BareSocket)->UseRealTime()->Unit(benchmark::kMillisecond);

template <typename Socket>
void Send(benchmark::State& state) {
  const std::vector<char> message(kMessageBytes, 'x');
  exchange_batches<Socket>(state, kSink, [&](Socket& socket) {
    bool is_good = true;
    for (int i = 0; i < kBatch && is_good; ++i) {
      is_good = socket.send(message.data(), kMessageBytes);
    }
    return is_good && socket.receive();
  });
}
BENCHMARK_TEMPLATE(Send, OrsinSocket)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(Send, BareSocket)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace
