#include "tests/platform/native/fake_websockets.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/log_port.h"
#include "tests/platform/system_errors.h"

namespace orsin::test {
namespace {

using platform::WebStep;

// Lost on any real platform: no test can go on.
void refuse_misuse(const char* what) {
  std::fprintf(stderr, "%s\n", what);
  std::abort();
}

// Units outside ASCII in brackets.
std::string narrow(std::u16string_view text) {
  constexpr char16_t kAsciiMax = 127;
  std::string narrow;
  for (const char16_t unit : text) {
    narrow += unit <= kAsciiMax ? std::string(1, static_cast<char>(unit))
                                : "<" + std::to_string(unit) + ">";
  }
  return narrow;
}

}  // namespace

FakeWebSockets& fake_websockets() {
  static FakeWebSockets library;
  return library;
}

unsigned FakeWebSockets::refusal_of(const std::string& call) const {
  const auto refusal = refusals.find(call);
  return refusal != refusals.end() ? refusal->second : 0;
}

bool FakeWebSockets::allows(const std::string& call) {
  const unsigned error = refusal_of(call);
  if (error != 0) {
    port::set_last_system_error(error);
  }
  return error == 0;
}

void* FakeWebSockets::add_handle(const std::string& kind, WebStep step, const Link& parent) {
  void* handle = reinterpret_cast<void*>(++handles_made_);
  open_handles[handle] = kind + std::to_string(handles_made_);
  links_[handle] = std::make_shared<platform::WebLink>(step, parent);
  return handle;
}

FakeWebSockets::Link FakeWebSockets::at(WebStep step, void* handle, const std::string& call,
                                        const std::string& details) {
  const auto found = links_.find(handle);
  if (found == links_.end()) {
    refuse_misuse("a web handle is used that is not open");
  }
  if (found->second->step != step) {
    refuse_misuse("a web handle is used before its time, or after it");
  }
  calls.push_back(call + " " + open_handles.at(handle) + details);
  return found->second;
}

bool FakeWebSockets::go_on(const std::string& call, const Link& request, WebStep to) {
  const bool is_done = allows(call);
  request->step = is_done ? to : request->step;
  return is_done;
}

void* FakeWebSockets::open() {
  calls.emplace_back("open");
  return allows("open") ? add_handle("session", WebStep::kSession, nullptr) : nullptr;
}

void* FakeWebSockets::connect(void* session, std::u16string_view host, std::uint16_t port) {
  const Link link =
      at(WebStep::kSession, session, "connect", " " + narrow(host) + " " + std::to_string(port));
  return allows("connect") ? add_handle("connection", WebStep::kConnection, link) : nullptr;
}

void* FakeWebSockets::open_request(void* connection, std::u16string_view path) {
  const Link link = at(WebStep::kConnection, connection, "open_request", " " + narrow(path));
  return allows("open_request") ? add_handle("request", WebStep::kRequest, link) : nullptr;
}

bool FakeWebSockets::set_option(void* request) {
  return go_on("set_option", at(WebStep::kRequest, request, "set_option"), WebStep::kAsking);
}

bool FakeWebSockets::send_request(void* request) {
  return go_on("send_request", at(WebStep::kAsking, request, "send_request"), WebStep::kSent);
}

bool FakeWebSockets::receive_response(void* request) {
  return go_on("receive_response", at(WebStep::kSent, request, "receive_response"),
               WebStep::kAnswered);
}

void* FakeWebSockets::complete_upgrade(void* request) {
  const Link link = at(WebStep::kAnswered, request, "complete_upgrade");
  return allows("complete_upgrade") ? add_handle("socket", WebStep::kSocket, link->parent)
                                    : nullptr;
}

bool FakeWebSockets::query_data(void* socket) {
  static_cast<void>(at(WebStep::kSocket, socket, "query_data"));
  return allows("query_data");
}

std::uint32_t FakeWebSockets::send(void* socket, WebSocketContent content,
                                   std::string_view message) {
  static_cast<void>(at(
      WebStep::kSocket, socket, "send",
      " " + std::to_string(static_cast<unsigned>(content)) + " " + std::to_string(message.size())));
  sent = message;
  return refusal_of("send");
}

std::uint32_t FakeWebSockets::receive(void* socket, void* room, std::uint32_t size,
                                      std::uint32_t& received, WebSocketContent& content) {
  const Link link = at(WebStep::kSocket, socket, "receive", " " + std::to_string(size));
  if (refusal_of("receive") != 0) {
    return refusal_of("receive");
  }
  if (link->has_heard_farewell) {
    return platform::kErrorInvalidOperation;
  }
  if (parts.empty()) {
    return platform::kErrorConnectionAborted;
  }
  Part& part = parts.front();
  content = part.content;
  link->has_heard_farewell = content == WebSocketContent::kClose;
  received = static_cast<std::uint32_t>(std::min<std::size_t>(part.bytes.size(), size));
  if (received != 0) {
    std::memcpy(room, part.bytes.data(), received);
  }
  if (received < part.bytes.size()) {
    part.bytes.erase(0, received);
    content = content == WebSocketContent::kUtf8Message ? WebSocketContent::kUtf8Fragment
                                                        : WebSocketContent::kBinaryFragment;
    return 0;
  }
  parts.pop_front();
  return 0;
}

std::uint32_t FakeWebSockets::close_socket(void* socket, std::uint16_t status) {
  const Link link = at(WebStep::kSocket, socket, "close_socket", " " + std::to_string(status));
  link->step = WebStep::kClosed;
  return refusal_of("close_socket");
}

std::uint32_t FakeWebSockets::query_close_status(void* socket, std::size_t room) {
  static_cast<void>(at(WebStep::kClosed, socket, "query_close_status", " " + std::to_string(room)));
  return refusal_of("query_close_status");
}

void FakeWebSockets::close(void* handle) {
  const auto found = links_.find(handle);
  if (found == links_.end()) {
    refuse_misuse("a web handle is closed that is not open");
  }
  if (found->second->children > 0) {
    refuse_misuse("a web handle is closed before those that were made on it");
  }
  calls.push_back("close " + open_handles.at(handle));
  links_.erase(found);
  open_handles.erase(handle);
  port::set_last_system_error(0);  // Whoever wants to know an error asks before closing.
}

}  // namespace orsin::test
