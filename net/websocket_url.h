// How the WebSocket client reads a URL: host, port and path, by three characters and no grammar.
//
//   ws://server:9000/live?take=1
//        host   port path
//
//   - The host begins behind the first "://", or at the start. The scheme is not looked at.
//   - A ":" behind that ends the host. The number after it is the port; the path runs from the next
//     "/" to the end, query included, and is "/" when there is none.
//   - Without such a ":" everything is the host, on port 80 with the path "/".
#pragma once

#include <cstdint>

namespace orsin {

struct WebSocketAddress {
  const char16_t* host;  // Into the split text.
  std::uint16_t port;
  const char16_t* path;  // Into the split text, or a constant "/".
};

/// Splits a terminated URL in place: the ":" behind the host becomes the host's terminator. The
/// result is good for as long as the text.
[[nodiscard]] WebSocketAddress split_websocket_url(char16_t* url);

}  // namespace orsin
