// "ws": sends standard input to a WebSocket server as one message and prints what comes back.
#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>
#include <string>

#include "examples/host/command.h"
#include "examples/host/console.h"
#include "orsincore/network.h"

namespace host {
namespace {

struct DestroySocket {
  void operator()(OvWebSocket* socket) const { OvWebSocket::Destroy(socket); }
};
using Socket = std::unique_ptr<OvWebSocket, DestroySocket>;

struct Options {
  std::string url;
  std::uint32_t messages = 1;  // 0: all until the server closes.
};

constexpr std::size_t kBufferBytesMin = 64 << 20;  // For answers much larger than the question.

std::string read_input() {
  std::string bytes;
  char buffer[65536];
  std::size_t count = 0;
  while ((count = std::fread(buffer, 1, sizeof(buffer), stdin)) > 0) {
    bytes.append(buffer, count);
  }
  return bytes;
}

// False when the connection or the output ended first.
bool print_messages(OvWebSocket& socket, std::uint32_t count) {
  for (std::uint32_t i = 0; i < count; ++i) {
    OvWebSocketData* message = nullptr;
    if (!socket.Receive(&message)) {
      return false;
    }
    const std::unique_ptr<OvWebSocketData> owner(message);
    if (std::fwrite(message->GetData(), 1, message->GetSize(), stdout) != message->GetSize() ||
        std::fflush(stdout) != 0) {
      return false;
    }
  }
  return true;
}

int exchange(const Options& options) {
  const std::string bytes = read_input();
  if (std::ferror(stdin) != 0) {
    return fail("cannot read standard input");
  }
  if (bytes.size() > std::numeric_limits<std::uint32_t>::max()) {
    return fail("standard input is more than a message can hold");
  }
  const FastLibrary library(true);
  const Socket socket(OvWebSocket::Create());
  if (socket == nullptr || !socket->Connect(options.url.c_str())) {
    return fail("cannot connect to " + options.url);
  }
  socket->SetBufferSize(std::max(kBufferBytesMin, bytes.size()));
  if (!bytes.empty() && !socket->SendData(bytes.data(), static_cast<std::uint32_t>(bytes.size()))) {
    return fail("cannot send to " + options.url);
  }
  const bool until_closed = options.messages == 0;
  const bool complete = print_messages(
      *socket, until_closed ? std::numeric_limits<std::uint32_t>::max() : options.messages);
  if (!complete && !until_closed) {
    return fail("no more binary messages from " + options.url);
  }
  return socket->Close() ? kDone : fail("lost the connection to " + options.url);
}

bool read_number(const std::string& text, std::uint32_t& number) {
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && rest == end;
}

int websocket(const Arguments& arguments) {
  Options options;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    if (arguments[i] == "--messages") {
      if (++i == arguments.size() || !read_number(arguments[i], options.messages)) {
        return bad_usage(kWebSocketCommand, "--messages takes a number");
      }
    } else if (arguments[i].starts_with("--") || !options.url.empty()) {
      return bad_usage(kWebSocketCommand, "unexpected " + arguments[i]);
    } else {
      options.url = arguments[i];
    }
  }
  if (options.url.empty()) {
    return bad_usage(kWebSocketCommand, "needs a URL");
  }
  carry_bytes();
  return exchange(options);
}

}  // namespace

const Command kWebSocketCommand = {
    "ws", "send standard input to a WebSocket server, print what arrives",
    "Usage: host ws [--messages N] URL\n"
    "\n"
    "Sends the bytes of standard input as one binary message (none for an empty input), then\n"
    "prints binary messages as they arrive and closes the connection. The URL needs a port when\n"
    "it has a path: ws://localhost:9000/live.\n"
    "\n"
    "  --messages N   print N messages (1); with 0, all until the server closes\n",
    websocket};

}  // namespace host
