// A conversation over a WebSocket.
//
// A message that is delivered is the server's next one, whole; what was sent is with the server, once.
// The server's farewell and the end of a text message fail in silence, by contract; every other failure
// has its line, but for memory that is short.
#include <algorithm>
#include <memory>
#include <string>

#include "memory/standard_heaps.h"
#include "orsincore/memory.h"
#include "orsincore/network.h"
#include "tests/simulation/library_session.h"
#include "tests/simulation/scenario.h"

namespace orsin::simulation {
namespace {

constexpr std::size_t kRoom = 16 * 1024;
constexpr unsigned int kBinary = 1;

struct Destroy {
  void operator()(OvWebSocket* socket) const {
    const Inside library;
    OvWebSocket::Destroy(socket);
  }
};
using Socket = std::unique_ptr<OvWebSocket, Destroy>;

// Messages lie in the heaps, which a process makes once.
class Heaps {
 public:
  Heaps() {
    const Inside library;
    machine().refusals.pause(true);
    ORSIN_EXPECT(mem_alloc_pools() != 0, "there are no heaps");
    machine().refusals.pause(false);
  }
  ~Heaps() {
    const Inside library;
    mem_free_pools();
    standard_heaps::reset();
  }
  Heaps(const Heaps&) = delete;
  Heaps& operator=(const Heaps&) = delete;
};

class Conversation {
 public:
  Conversation(Pass& pass, LibrarySession& session) : pass_(pass), session_(session) {
    pass_.it.network.to_be_sent.clear();
    pass_.it.network.received.clear();
    const auto count = pass_.choice.between(1, 5);
    for (std::uint64_t i = 0; i < count; ++i) {
      const std::size_t sizes[] = {0, 1, 1000, pass_.choice.below(kRoom), kRoom - 1, kRoom};
      const std::uint64_t size = pass_.choice.one_of(sizes);
      pass_.it.network.to_be_sent.push_back(
          {pass_.choice.one_in(5), Content::made_of(i, size).text()});
    }
  }

  // The rest of the story is told only as far as everything goes well.
  void run() {
    if (create() && connect() && send()) {
      while (!pass_.it.network.to_be_sent.empty() && receive()) {
      }
      say_farewell();
    }
  }

 private:
  template <typename Call>
  bool is_done(const char* what, Call call) {
    const std::uint64_t refused = pass_.it.refusals.allocations_refused();
    bool is_done = false;
    {
      const Inside library;
      is_done = call();
    }
    pass_.expect_success(is_done, what, is_done);
    ORSIN_EXPECT(
        is_done || session_.has_complained() || pass_.it.refusals.allocations_refused() > refused,
        "%s failed, and no line says so", what);
    return is_done;
  }

  bool create() {
    return is_done("creating", [this] {
      socket_.reset(OvWebSocket::Create());
      return socket_ != nullptr && socket_->SetBufferSize(kRoom);
    });
  }

  bool connect() {
    return is_done("connecting", [this] { return socket_->Connect("ws://server:9000/live"); });
  }

  bool send() {
    const std::string text = "a take";
    const std::string data = Content::made_of(77, pass_.choice.below(kRoom)).text();
    const bool is_sent =
        is_done("sending a text", [&] { return socket_->SendText(text.c_str()); }) &&
        is_done("sending data", [&] {
          return socket_->SendData(data.data(), static_cast<unsigned int>(data.size()));
        });
    const std::vector<Message>& received = pass_.it.network.received;
    ORSIN_EXPECT(
        !is_sent || (received.size() == 2 && received[0].is_text && received[0].bytes == text &&
                     !received[1].is_text && received[1].bytes == data),
        "the server has other messages than were sent");
    return is_sent;
  }

  // False when the connection is of no more use.
  bool receive() {
    const Message next = pass_.it.network.to_be_sent.front();
    OvWebSocketData* data = nullptr;
    const auto receive = [&] { return socket_->Receive(&data); };
    if (next.is_text) {
      return receive_text(receive);
    }
    const bool is_received = is_done("receiving", receive);
    if (is_received) {
      ORSIN_EXPECT(data->GetType() == kBinary && data->GetSize() == next.bytes.size() &&
                       std::equal(next.bytes.begin(), next.bytes.end(), data->GetText()),
                   "a message was received that is not the next one");
    } else {
      ORSIN_EXPECT(data == nullptr, "a message was handed over that was not received");
    }
    const Inside library;
    delete data;
    return is_received;
  }

  template <typename Receive>
  bool receive_text(Receive receive) {
    const auto before = pass_.it.network.to_be_sent.size();
    const Inside library;
    ORSIN_EXPECT(!receive(), "a text was received");
    return pass_.it.network.to_be_sent.size() < before;
  }

  void say_farewell() {
    is_done("closing", [this] { return socket_->Close(); });
  }

  Pass& pass_;
  LibrarySession& session_;
  Socket socket_;
};

}  // namespace

void talk_by_websocket(Pass& pass) {
  LibrarySession session;
  const Heaps heaps;
  Conversation(pass, session).run();
}

}  // namespace orsin::simulation
