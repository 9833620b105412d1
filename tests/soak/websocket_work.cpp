// WebSocket connections that are used, closed by either side, or dropped without a word.
#include <cstring>
#include <string>
#include <vector>

#include "orsincore/network.h"
#include "tests/soak/site.h"

namespace orsin::soak {
namespace {

constexpr std::size_t kBufferBytes = 128 * 1024;
constexpr std::uint32_t kMessageMax = 60'000;

class WebSocketWork : public Work {
 public:
  WebSocketWork(const Site& site, std::uint64_t seed)
      : Work("websocket", seed),
        server_("ws://127.0.0.1:" + site.websocket_port),
        message_(kMessageMax),
        socket_(OvWebSocket::Create()) {
    if (expect(socket_ != nullptr, "no socket")) {
      socket_->SetBufferSize(kBufferBytes);
    }
  }

  ~WebSocketWork() override { OvWebSocket::Destroy(socket_); }

  void step() override {
    if (socket_ == nullptr) {
      return;
    }
    switch (dice_.below(4)) {
      case 0:
        be_dropped();
        break;
      case 1:
        be_closed();
        break;
      default:
        exchange();
    }
    mp_timedwait(5'000'000);
  }

 private:
  bool connect(const std::string& path) {
    return expect(socket_->Connect((server_ + path).c_str()), "no connection to " + path);
  }

  void exchange() {
    if (!connect("/echo")) {
      return;
    }
    for (int i = 0; i < 3; ++i) {
      const std::uint32_t size = dice_.below(kMessageMax);
      fill_pattern(++number_, message_.data(), size);
      OvWebSocketData* answer = nullptr;
      if (expect(socket_->SendData(message_.data(), size) && socket_->Receive(&answer) &&
                     answer->GetSize() == size &&
                     std::memcmp(answer->GetData(), message_.data(), size) == 0,
                 "another message came back")) {
        count_done();
      }
      delete answer;
    }
    expect(socket_->Close(), "Close failed");
  }

  void be_dropped() {
    if (!connect("/abort")) {
      return;
    }
    OvWebSocketData* answer = nullptr;
    expect(socket_->SendText("drop me"), "SendText failed");
    if (expect(!socket_->Receive(&answer), "a dropped connection brought a message")) {
      count_refused();
    }
    delete answer;  // The next Connect() drops the rest of the connection.
  }

  void be_closed() {
    if (!connect("/close?code=1001&reason=soak")) {
      return;
    }
    OvWebSocketData* answer = nullptr;
    if (expect(!socket_->Receive(&answer), "a farewell was taken for a message")) {
      count_refused();
    }
    delete answer;
    static_cast<void>(socket_->Close());
  }

  std::string server_;
  std::vector<unsigned char> message_;
  OvWebSocket* socket_;
  std::uint64_t number_ = 0;
};

}  // namespace

Works websocket_works(const Site& site, std::uint64_t seed) {
  Works works;
  works.push_back(std::make_unique<WebSocketWork>(site, seed));
  return works;
}

}  // namespace orsin::soak
