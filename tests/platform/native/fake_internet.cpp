#include "tests/platform/native/fake_internet.h"

#include <cstdio>
#include <cstring>

#include "base/log_port.h"
#include "tests/platform/url_split.h"

namespace orsin::test {
namespace {

using platform::InternetKind;
using platform::InternetState;

bool answer(std::uint32_t error) {
  if (error != 0) {
    port::set_last_system_error(error);
  }
  return error == 0;
}

std::string word_for(InternetKind kind) {
  switch (kind) {
    case InternetKind::kSession:
      return "session";
    case InternetKind::kConnection:
      return "connection";
    case InternetKind::kRequest:
      break;
  }
  return "request";
}

std::string hexadecimal(std::uint32_t value) {
  char text[16];
  std::snprintf(text, sizeof(text), "%x", static_cast<unsigned>(value));
  return text;
}

}  // namespace

FakeInternet& fake_internet() {
  static FakeInternet internet;
  return internet;
}

void* FakeInternet::open(std::string_view agent) {
  record("open " + std::string(agent));
  return refuses("open") ? nullptr : add_handle({InternetKind::kSession}, nullptr);
}

bool FakeInternet::set_option(void* handle, std::uint32_t option, std::uint32_t value) {
  const std::string call = "option " + std::to_string(option);
  record("option " + name_of(handle) + ' ' + std::to_string(option) + ' ' + std::to_string(value));
  // Without a handle the real library sets a default of the process and reports success.
  return !refuses(call);
}

void* FakeInternet::open_url(void* session, std::string_view url, std::uint32_t flags) {
  record("open_url " + name_of(session) + ' ' + std::string(url) + ' ' + hexadecimal(flags));
  return !is(InternetKind::kSession, session) || refuses("open_url")
             ? nullptr
             : add_handle({InternetKind::kRequest, true}, session);
}

bool FakeInternet::split_url(std::string_view url, port::UrlParts& parts) {
  record("split " + std::string(url));
  return !refuses("split") && answer(test::split_url(url, parts) ? 0 : platform::kErrorInvalidUrl);
}

void* FakeInternet::connect(void* session, std::string_view host, std::uint16_t port,
                            std::uint32_t flags) {
  record("connect " + name_of(session) + ' ' + std::string(host) + ' ' + std::to_string(port) +
         ' ' + hexadecimal(flags));
  return !is(InternetKind::kSession, session) || refuses("connect")
             ? nullptr
             : add_handle({InternetKind::kConnection}, session);
}

void* FakeInternet::open_request(void* connection, std::string_view method, std::string_view path,
                                 std::uint32_t flags) {
  record("open_request " + name_of(connection) + ' ' + std::string(method) + ' ' +
         std::string(path) + ' ' + hexadecimal(flags));
  return !is(InternetKind::kConnection, connection) || refuses("open_request")
             ? nullptr
             : add_handle({InternetKind::kRequest}, connection);
}

bool FakeInternet::send_request(void* request, std::string_view headers, std::string_view body) {
  record("send " + name_of(request) + " [" + std::string(headers) + "] [" + std::string(body) +
         ']');
  if (!is(InternetKind::kRequest, request) || refuses("send")) {
    return false;
  }
  handles_.at(request).state.is_sent = true;
  return true;
}

bool FakeInternet::query_status(void* request, char* text, std::uint32_t size) {
  record("status " + name_of(request) + ' ' + std::to_string(size));
  if (!is_sent(request) || refuses("status")) {
    return false;
  }
  if (status.size() >= size) {
    return answer(platform::kErrorInsufficientBuffer);
  }
  std::memcpy(text, status.c_str(), status.size() + 1);
  return true;
}

bool FakeInternet::read(void* request, void* buffer, std::uint32_t size, std::uint32_t& bytes) {
  record("read " + name_of(request) + ' ' + std::to_string(size));
  bytes = 0;
  if (!is_sent(request)) {
    return false;
  }
  if (chunks.empty()) {
    if (!refuses("read")) {
      return true;
    }
    bytes = static_cast<std::uint32_t>(cut_chunk.copy(static_cast<char*>(buffer), size));
    return false;
  }
  const std::string chunk = chunks.front().substr(0, size);
  chunks.pop_front();
  std::memcpy(buffer, chunk.data(), chunk.size());
  bytes = static_cast<std::uint32_t>(chunk.size());
  return true;
}

bool FakeInternet::write(void* request, const void* data, std::uint32_t size,
                         std::uint32_t& bytes) {
  record("write " + name_of(request) + ' ' + std::to_string(size));
  bytes = 0;
  if (!is_sent(request)) {
    return false;
  }
  Write answer = {true, size};
  if (!writes.empty()) {
    answer = writes.front();
    writes.pop_front();
  }
  if (answer.done) {
    written.append(static_cast<const char*>(data), answer.bytes);
  }
  bytes = answer.bytes;
  return answer.done;
}

void FakeInternet::close(void* handle) {
  record("close " + name_of(handle));  // "none" when it has gone already.
  if (open_handles.erase(handle) > 0) {
    close_children(handle);
  }
}

void FakeInternet::close_children(void* handle) {
  for (const auto& [child, made] : handles_) {
    if (made.parent == handle && open_handles.erase(child) > 0) {
      close_children(child);
    }
  }
}

bool FakeInternet::is(InternetKind kind, void* handle) const {
  return answer(open_handles.count(handle) == 0
                    ? platform::kErrorInvalidHandle
                    : platform::error_as(kind, handles_.at(handle).state));
}

bool FakeInternet::is_sent(void* request) const {
  return answer(open_handles.count(request) == 0
                    ? platform::kErrorInvalidHandle
                    : platform::error_as_sent(handles_.at(request).state));
}

bool FakeInternet::refuses(const std::string& call) {
  const auto refusal = refusals.find(call);
  return refusal != refusals.end() && !answer(refusal->second);
}

std::string FakeInternet::name_of(void* handle) const {
  const auto found = open_handles.find(handle);
  return found != open_handles.end() ? found->second : "none";
}

void* FakeInternet::add_handle(const InternetState& state, void* parent) {
  void* handle = reinterpret_cast<void*>(handles_.size() + 1);
  handles_.emplace(handle, Handle{state, parent});
  open_handles[handle] = word_for(state.kind) + std::to_string(handles_.size());
  return handle;
}

void FakeInternet::record(const std::string& call) {
  calls.push_back(call);
}

}  // namespace orsin::test
