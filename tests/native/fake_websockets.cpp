#include "tests/native/fake_websockets.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/log_port.h"

namespace orsin::test {
namespace {

constexpr std::uint32_t kConnectionLost = 12030;

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

void* FakeWebSockets::add_handle(const std::string& kind) {
  void* handle = reinterpret_cast<void*>(++handles_made_);
  open_handles[handle] = kind + std::to_string(handles_made_);
  return handle;
}

// A handle that is not open would be lost on any real platform: no test can go on.
std::string FakeWebSockets::name_of(void* handle) {
  const auto open = open_handles.find(handle);
  if (open == open_handles.end()) {
    std::fputs("a web handle is used that is not open\n", stderr);
    std::abort();
  }
  return open->second;
}

void FakeWebSockets::record(const std::string& call, void* handle, const std::string& details) {
  calls.push_back(call + " " + name_of(handle) + details);
}

void* FakeWebSockets::open() {
  calls.emplace_back("open");
  return allows("open") ? add_handle("session") : nullptr;
}

void* FakeWebSockets::connect(void* session, std::u16string_view host, std::uint16_t port) {
  record("connect", session, " " + narrow(host) + " " + std::to_string(port));
  return allows("connect") ? add_handle("connection") : nullptr;
}

void* FakeWebSockets::open_request(void* connection, std::u16string_view path) {
  record("open_request", connection, " " + narrow(path));
  return allows("open_request") ? add_handle("request") : nullptr;
}

bool FakeWebSockets::set_option(void* request) {
  record("set_option", request);
  return allows("set_option");
}

bool FakeWebSockets::send_request(void* request) {
  record("send_request", request);
  return allows("send_request");
}

bool FakeWebSockets::receive_response(void* request) {
  record("receive_response", request);
  return allows("receive_response");
}

void* FakeWebSockets::complete_upgrade(void* request) {
  record("complete_upgrade", request);
  return allows("complete_upgrade") ? add_handle("socket") : nullptr;
}

bool FakeWebSockets::query_data(void* socket) {
  record("query_data", socket);
  return allows("query_data");
}

std::uint32_t FakeWebSockets::send(void* socket, WebSocketContent content,
                                   std::string_view message) {
  record(
      "send", socket,
      " " + std::to_string(static_cast<unsigned>(content)) + " " + std::to_string(message.size()));
  sent = message;
  return refusal_of("send");
}

std::uint32_t FakeWebSockets::receive(void* socket, void* room, std::uint32_t size,
                                      std::uint32_t& received, WebSocketContent& content) {
  record("receive", socket, " " + std::to_string(size));
  if (refusal_of("receive") != 0) {
    return refusal_of("receive");
  }
  if (parts.empty()) {
    return kConnectionLost;
  }
  Part& part = parts.front();
  content = part.content;
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
  record("close_socket", socket, " " + std::to_string(status));
  return refusal_of("close_socket");
}

std::uint32_t FakeWebSockets::query_close_status(void* socket, std::size_t room) {
  record("query_close_status", socket, " " + std::to_string(room));
  return refusal_of("query_close_status");
}

void FakeWebSockets::close(void* handle) {
  record("close", handle);
  open_handles.erase(handle);
  port::set_last_system_error(0);  // Whoever wants to know an error asks before closing.
}

}  // namespace orsin::test
