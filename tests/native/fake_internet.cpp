#include "tests/native/fake_internet.h"

#include <cstdio>
#include <cstring>

#include "base/log_port.h"
#include "tests/platform/url_split.h"

namespace orsin::test {
namespace {

constexpr unsigned kInvalidHandle = 6;
constexpr unsigned kInsufficientBuffer = 122;
constexpr unsigned kIncorrectHandleType = 12018;
constexpr unsigned kIncorrectHandleState = 12019;

bool fails(unsigned error) {
  port::set_last_system_error(error);
  return false;
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
  return refuses("open") ? nullptr : add_handle("session", nullptr);
}

bool FakeInternet::set_option(void* handle, std::uint32_t option, std::uint32_t value) {
  const std::string call = "option " + std::to_string(option);
  record("option " + name_of(handle) + ' ' + std::to_string(option) + ' ' + std::to_string(value));
  // Without a handle the real library sets a default of the process and reports success.
  return !refuses(call);
}

void* FakeInternet::open_url(void* session, std::string_view url, std::uint32_t flags) {
  record("open_url " + name_of(session) + ' ' + std::string(url) + ' ' + hexadecimal(flags));
  if (!is("session", session) || refuses("open_url")) {
    return nullptr;
  }
  void* request = add_handle("request", session);
  sent_.insert(request);
  return request;
}

bool FakeInternet::split_url(std::string_view url, port::UrlParts& parts) {
  record("split " + std::string(url));
  return !refuses("split") && test::split_url(url, parts);
}

void* FakeInternet::connect(void* session, std::string_view host, std::uint16_t port,
                            std::uint32_t flags) {
  record("connect " + name_of(session) + ' ' + std::string(host) + ' ' + std::to_string(port) +
         ' ' + hexadecimal(flags));
  return !is("session", session) || refuses("connect") ? nullptr
                                                       : add_handle("connection", session);
}

void* FakeInternet::open_request(void* connection, std::string_view method, std::string_view path,
                                 std::uint32_t flags) {
  record("open_request " + name_of(connection) + ' ' + std::string(method) + ' ' +
         std::string(path) + ' ' + hexadecimal(flags));
  return !is("connection", connection) || refuses("open_request")
             ? nullptr
             : add_handle("request", connection);
}

bool FakeInternet::send_request(void* request, std::string_view headers, std::string_view body) {
  record("send " + name_of(request) + " [" + std::string(headers) + "] [" + std::string(body) +
         ']');
  if (!is("request", request) || refuses("send")) {
    return false;
  }
  sent_.insert(request);
  return true;
}

bool FakeInternet::query_status(void* request, char* text, std::uint32_t size) {
  record("status " + name_of(request) + ' ' + std::to_string(size));
  if (!is_under_way(request) || refuses("status")) {
    return false;
  }
  if (status.size() >= size) {
    return fails(kInsufficientBuffer);
  }
  std::memcpy(text, status.c_str(), status.size() + 1);
  return true;
}

bool FakeInternet::read(void* request, void* buffer, std::uint32_t size, std::uint32_t& bytes) {
  record("read " + name_of(request) + ' ' + std::to_string(size));
  bytes = 0;
  if (!is_under_way(request)) {
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
  if (!is_under_way(request)) {
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
  for (const auto& [child, parent] : parents_) {
    if (parent == handle && open_handles.erase(child) > 0) {
      close_children(child);
    }
  }
}

bool FakeInternet::is(std::string_view kind, void* handle) const {
  const auto found = open_handles.find(handle);
  if (found == open_handles.end()) {
    return fails(kInvalidHandle);
  }
  return found->second.compare(0, kind.size(), kind) == 0 || fails(kIncorrectHandleType);
}

bool FakeInternet::is_under_way(void* request) const {
  return is("request", request) && (sent_.count(request) > 0 || fails(kIncorrectHandleState));
}

bool FakeInternet::refuses(const std::string& call) {
  const auto refusal = refusals.find(call);
  return refusal != refusals.end() && !fails(refusal->second);
}

std::string FakeInternet::name_of(void* handle) const {
  const auto found = open_handles.find(handle);
  return found != open_handles.end() ? found->second : "none";
}

void* FakeInternet::add_handle(const std::string& kind, void* parent) {
  ++handles_made_;
  void* handle = reinterpret_cast<void*>(handles_made_);
  parents_[handle] = parent;
  open_handles[handle] = kind + std::to_string(handles_made_);
  return handle;
}

void FakeInternet::record(const std::string& call) {
  calls.push_back(call);
}

}  // namespace orsin::test
