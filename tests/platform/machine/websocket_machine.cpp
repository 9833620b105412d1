// The WebSocket library of a simulated machine, and its server, which sends what it has and then says
// farewell.
//
// A connection that fails once fails for good.
#include <algorithm>
#include <cstring>

#include "net/websocket_port.h"
#include "tests/platform/machine/machine.h"
#include "tests/platform/web_link.h"

namespace orsin::port {

using namespace orsin::simulation;

namespace {

struct Link : Object, WebLink {
  using WebLink::WebLink;

  std::uint32_t failure = 0;  // From then on.
};

std::shared_ptr<Link> at(const void* handle, WebStep step) {
  auto link = machine().handles.get<Link>(handle);
  ORSIN_EXPECT(link->step == step, "a web handle is used at step %d and not %d",
               static_cast<int>(link->step), static_cast<int>(step));
  return link;
}

WebHandle open_link(WebStep step, const std::shared_ptr<WebLink>& parent) {
  return WebHandle(machine().handles.open(std::make_shared<Link>(step, parent)));
}

// The answer of a call over a connection that has failed, or fails now.
std::uint32_t failure_of(Call& call, Link& link) {
  machine().take_time();
  if (link.failure == 0 &&
      call.is_refused({kErrorConnectionAborted, kErrorTimeout, kErrorInvalidServerResponse})) {
    link.failure = call.last_error();
  }
  return link.failure;
}

bool go_on(Call& call, void* request, WebStep from, WebStep to) {
  const auto link = at(request, from);
  machine().take_time();
  if (call.is_refused({kErrorNameNotResolved, kErrorCannotConnect, kErrorTimeout,
                       kErrorConnectionAborted, kErrorInvalidServerResponse})) {
    return false;
  }
  link->step = to;
  return true;
}

// The next of a message; the last part may be empty.
WebSocketPart next_part(Message& message, void* room, std::uint32_t size) {
  Machine& it = machine();
  const auto most = static_cast<std::uint32_t>(std::min<std::size_t>(message.bytes.size(), size));
  const bool is_piece = it.chance.one_in(it.network.pieces_one_in);
  const auto count = is_piece ? static_cast<std::uint32_t>(it.chance.between(0, most)) : most;
  if (count > 0) {
    std::memcpy(room, message.bytes.data(), count);
  }
  message.bytes.erase(0, count);
  const bool is_last = message.bytes.empty() && (!is_piece || count == 0);
  if (is_last) {
    return {0, count,
            message.is_text ? WebSocketContent::kUtf8Message : WebSocketContent::kBinaryMessage};
  }
  it.was_unkind = true;  // Room may end before the message does.
  return {0, count,
          message.is_text ? WebSocketContent::kUtf8Fragment : WebSocketContent::kBinaryFragment};
}

bool is_end(WebSocketContent content) {
  return content == WebSocketContent::kBinaryMessage || content == WebSocketContent::kUtf8Message;
}

}  // namespace

void close_web_handle(void* handle) noexcept {
  Call call("close web handle");
  const auto link = machine().handles.get<Link>(handle);
  ORSIN_EXPECT(link->children == 0, "a web handle is closed before those that were made on it");
  machine().handles.close(handle);
}

WebHandle open_web_session() noexcept {
  Call call("open web session");
  return call.is_refused({kErrorNotEnoughMemory}) ? nullptr : open_link(WebStep::kSession, nullptr);
}

WebHandle connect_web_server(void* session, const char16_t* /*host*/,
                             std::uint16_t /*port*/) noexcept {
  Call call("connect web server");
  const auto parent = at(session, WebStep::kSession);
  return call.is_refused({kErrorNotEnoughMemory, kErrorInvalidUrl})
             ? nullptr
             : open_link(WebStep::kConnection, parent);
}

WebHandle open_web_request(void* connection, const char16_t* /*path*/) noexcept {
  Call call("open web request");
  const auto parent = at(connection, WebStep::kConnection);
  return call.is_refused({kErrorNotEnoughMemory}) ? nullptr : open_link(WebStep::kRequest, parent);
}

bool request_websocket(void* request) noexcept {
  Call call("request websocket");
  const auto link = at(request, WebStep::kRequest);
  if (call.is_refused({kErrorInvalidOption})) {
    return false;
  }
  link->step = WebStep::kAsking;
  return true;
}

bool send_web_request(void* request) noexcept {
  Call call("send web request");
  return go_on(call, request, WebStep::kAsking, WebStep::kSent);
}

bool receive_web_response(void* request) noexcept {
  Call call("receive web response");
  return go_on(call, request, WebStep::kSent, WebStep::kAnswered);
}

WebHandle complete_websocket(void* request) noexcept {
  Call call("complete websocket");
  const auto link = at(request, WebStep::kAnswered);
  return call.is_refused({kErrorNotEnoughMemory, kErrorInvalidOperation})
             ? nullptr
             : open_link(WebStep::kSocket, link->parent);
}

void query_web_data(void* socket) noexcept {
  Call call("query web data");
  static_cast<void>(at(socket, WebStep::kSocket));
}

std::uint32_t send_websocket(void* socket, WebSocketContent content, const void* data,
                             std::uint32_t size) noexcept {
  Call call("send websocket", size);
  const std::uint32_t failure = failure_of(call, *at(socket, WebStep::kSocket));
  if (failure == 0) {
    machine().network.received.push_back({content == WebSocketContent::kUtf8Message,
                                          std::string(static_cast<const char*>(data), size)});
  }
  return failure;
}

WebSocketPart receive_websocket(void* socket, void* room, std::uint32_t size) noexcept {
  Call call("receive websocket", size);
  const auto link = at(socket, WebStep::kSocket);
  if (const std::uint32_t failure = failure_of(call, *link); failure != 0) {
    return {failure, 0, WebSocketContent::kBinaryMessage};
  }
  if (link->has_heard_farewell) {
    return {kErrorInvalidOperation, 0, WebSocketContent::kBinaryMessage};
  }
  std::deque<Message>& messages = machine().network.to_be_sent;
  if (messages.empty()) {
    link->has_heard_farewell = true;
    return {0, 0, WebSocketContent::kClose};
  }
  const WebSocketPart part = next_part(messages.front(), room, size);
  if (is_end(part.content)) {
    messages.pop_front();
  }
  return part;
}

std::uint32_t close_websocket(void* socket) noexcept {
  Call call("close websocket");
  const auto link = at(socket, WebStep::kSocket);
  link->step = WebStep::kClosed;
  link->has_heard_farewell = failure_of(call, *link) == 0;
  return link->failure;
}

// There is nothing to tell before the server has said farewell.
std::uint32_t query_websocket_farewell(void* socket, WebSocketFarewell& farewell) noexcept {
  Call call("query farewell");
  farewell = {1000, {}, 0};
  return at(socket, WebStep::kClosed)->has_heard_farewell ? 0 : kErrorInvalidOperation;
}

}  // namespace orsin::port
