// A WebSocket library that does what a test tells it and writes down what it was asked.
//
//   const WebSocketScript web;                 // Back to a willing library at both ends.
//   web->parts = {{kBinaryMessage, "hello"}};  // What arrives.
//   web->refusals["connect"] = 12029;          // That call fails with this error or result code.
//   EXPECT_EQ(web->calls, Lines{...});         // "connect session1 server 9000"
//
// Calls are written as a name and their arguments; handles are named after what they are and
// numbered in the order in which they were opened. Misuse ends the program. Native builds have it below the WebSocket
// client's port; under Windows it stands in for the functions of WinHTTP. One thread.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "net/websocket_port.h"
#include "tests/platform/web_link.h"

namespace orsin::test {

struct FakeWebSockets {
  struct Part {
    WebSocketContent content;
    std::string bytes;
  };

  // The script.
  std::map<std::string, unsigned> refusals;  // By the name of the call.
  std::deque<Part> parts;  // One that is larger than the room arrives as fragments that fill it.
                           // With none left, the connection is lost.

  // What happened so far.
  std::vector<std::string> calls;
  std::map<void*, std::string> open_handles;
  std::string sent;  // The last message.

  void* open();
  void* connect(void* session, std::u16string_view host, std::uint16_t port);
  void* open_request(void* connection, std::u16string_view path);
  bool set_option(void* request);
  bool send_request(void* request);
  bool receive_response(void* request);
  void* complete_upgrade(void* request);
  bool query_data(void* socket);
  std::uint32_t send(void* socket, WebSocketContent content, std::string_view message);
  std::uint32_t receive(void* socket, void* room, std::uint32_t size, std::uint32_t& received,
                        WebSocketContent& content);
  std::uint32_t close_socket(void* socket, std::uint16_t status);
  std::uint32_t query_close_status(void* socket, std::size_t room);
  void close(void* handle);

 private:
  [[nodiscard]] unsigned refusal_of(const std::string& call) const;
  [[nodiscard]] bool allows(const std::string& call);
  using Link = std::shared_ptr<platform::WebLink>;
  void* add_handle(const std::string& kind, platform::WebStep step, const Link& parent);
  bool go_on(const std::string& call, const Link& request, platform::WebStep to);

  /// Writes the call down. What the handle stands for, which must be open and at this step.
  Link at(platform::WebStep step, void* handle, const std::string& call,
          const std::string& details = {});

  std::uintptr_t handles_made_ = 0;
  std::map<void*, Link> links_;  // Of the open handles.
};

/// The library of this process.
FakeWebSockets& fake_websockets();

/// Resets the library at both ends of a test.
class WebSocketScript {
 public:
  WebSocketScript() { fake_websockets() = {}; }
  ~WebSocketScript() { fake_websockets() = {}; }
  WebSocketScript(const WebSocketScript&) = delete;
  WebSocketScript& operator=(const WebSocketScript&) = delete;

  FakeWebSockets* operator->() const { return &fake_websockets(); }
};

}  // namespace orsin::test
