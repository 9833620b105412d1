// The one OvWebSocket there is: a blocking client over WinHTTP.
//
// States: closed (no handles) - connected (session, connection and socket) - and what a failed
// Connect() leaves: a session, perhaps a connection, no socket. Handles are closed in the order
// socket, connection, session. Nothing is locked: an object is used by one thread at a time.
#pragma once

#include "net/websocket_port.h"
#include "orsincore/network.h"

namespace orsin {

class WebSocketWinHttp final : public OvWebSocket {
 public:
  bool Connect(const char* url) override;
  bool Close() override;
  bool SendData(const void* data, unsigned int size) override;
  bool SendText(const char* text) override;
  bool SetBufferSize(std::size_t bytes) override;
  bool Receive(OvWebSocketData** out) override;

 private:
  friend struct WebSocketLayout;  // The tests' look at the order of the fields.

  [[nodiscard]] bool upgrade(const char* url, const char16_t* path);
  [[nodiscard]] bool say_farewell();
  void close_handles();

  WebHandle session_;
  WebHandle connection_;
  WebHandle socket_;
  std::size_t buffer_bytes_ = 0x100000;
};

}  // namespace orsin
