// The HTTP client: one WinINet session and at most one request, driven step by step.
//
// Handles: the session lives as long as the object; request and connection are closed by the next
// request or the destructor. A handle takes those with it that were opened on it: a session its
// connections and requests, a connection its requests. Each failing member stores the system's error
// code right after the call that failed, before anything else can change it.
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>
#include <utility>

#include "base/log_port.h"
#include "net/http_request.h"
#include "net/internet_port.h"
#include "net/payload_writer.h"
#include "net/response_body.h"
#include "orsincore/network.h"

struct http_socket_layout {
  static_assert(offsetof(ov_http_socket, session_) == 0);
  static_assert(offsetof(ov_http_socket, request_) == 8);
  static_assert(offsetof(ov_http_socket, connection_) == 16);
  static_assert(offsetof(ov_http_socket, response_) == 24);
  static_assert(offsetof(ov_http_socket, status_code_) == 32);
  static_assert(offsetof(ov_http_socket, last_error_) == 36);
  static_assert(offsetof(ov_http_socket, error_text_) == 40);
  static_assert(offsetof(ov_http_socket, secure_) == 296);
  static_assert(sizeof(ov_http_socket) == 304);
};

namespace orsin {
namespace {

constexpr std::uint32_t kNoUrl = 0xFFFFFFFF;
constexpr std::uint32_t kNotEnoughMemory = 8;  // As the system numbers it.

constexpr unsigned kConnectTimeOutMs = 30000;
constexpr unsigned kSendTimeOutMs = 300000;
constexpr unsigned kReceiveTimeOutMs = 300000;

void close_handle(void*& handle) {
  if (void* open = std::exchange(handle, nullptr); open != nullptr) {
    port::internet_close(open);
  }
}

// A request that was opened on the connection has gone with it, and its number may belong to another
// thread's handle by now. A GET's request has no connection of ours.
void close_exchange(void*& request, void*& connection) {
  if (connection != nullptr) {
    request = nullptr;
  }
  close_handle(connection);
  close_handle(request);
}

// A terminated copy; null when memory is short.
std::unique_ptr<char[]> copy_of(std::string_view text) {
  std::unique_ptr<char[]> copy(new (std::nothrow) char[text.size() + 1]);
  if (copy != nullptr) {
    text.copy(copy.get(), text.size());
    copy[text.size()] = '\0';
  }
  return copy;
}

// Reads until nothing more comes. False when memory is short.
//
// Kept on purpose: a read that fails ends the answer as its end does. Required, so an answer cut
// short is returned as far as it came; a caller who must know compares its length.
bool read_answer(void* request, ResponseBody& body) {
  for (;;) {
    std::uint32_t bytes = 0;
    const bool is_read =
        port::internet_read(request, body.room(), ResponseBody::kChunkBytes, bytes);
    if (bytes == 0 ||
        bytes > ResponseBody::kChunkBytes) {  // A failure may say that there is no count.
      return true;
    }
    // A failed read brings what had come before the failure.
    if (!body.add(bytes)) {
      return false;
    }
    if (!is_read) {
      return true;
    }
  }
}

}  // namespace
}  // namespace orsin

using namespace orsin;

ov_http_socket::ov_http_socket()
    : session_(port::internet_open("KORVANE")),
      request_(nullptr),
      connection_(nullptr),
      response_(nullptr),
      status_code_(0),
      last_error_(0),
      error_text_{},
      secure_(true) {
  SetTimeOut(kConnectTimeOutMs, kSendTimeOutMs, kReceiveTimeOutMs);
}

ov_http_socket::~ov_http_socket() {
  ResponseBody::free(response_);
  close_handle(session_);  // With the request and the connection.
}

bool ov_http_socket::SetTimeOut(unsigned int connect_ms, unsigned int send_ms,
                                unsigned int receive_ms) {
  if (session_ == nullptr) {
    return false;  // The library would set its own defaults, and report success.
  }
  const bool connect = port::internet_set_option(session_, port::kConnectTimeOut, connect_ms);
  const bool send = port::internet_set_option(session_, port::kSendTimeOut, send_ms);
  const bool receive = port::internet_set_option(session_, port::kReceiveTimeOut, receive_ms);
  return connect && send && receive;
}

void ov_http_socket::SetSecureFlag(bool secure) {
  secure_ = secure;
}

char* ov_http_socket::GetHttpData(const char* url, ov_http_request_type type, const char* data,
                                  int data_len, const char* headers, unsigned long long* out_len) {
  status_code_ = 0;
  const bool opened =
      type == OV_HTTP_GET ? OpenUrl(url) : PostUrl(url, type, data, data_len, headers);
  if (!opened) {
    port::set_last_system_error(last_error_);
    return nullptr;
  }
  SetStatusCode();

  // The earlier body ends here; its memory takes the next one.
  ResponseBody body(std::exchange(response_, nullptr));
  if (!body.is_valid() || !read_answer(request_, body)) {
    last_error_ = kNotEnoughMemory;
    port::set_last_system_error(last_error_);
    return nullptr;
  }
  if (out_len != nullptr) {
    *out_len = body.size();
  }
  response_ = body.release();
  return response_;
}

int ov_http_socket::PutHttpData(const char* url, unsigned char* payload, int payload_len,
                                ov_http_request_type type, const char* data, int data_len,
                                const char* headers) {
  status_code_ = 0;
  const bool opened =
      type == OV_HTTP_GET ? OpenUrl(url) : PostUrl(url, type, data, data_len, headers);
  if (!opened) {
    port::set_last_system_error(last_error_);
    return -1;
  }
  SetStatusCode();
  if (payload == nullptr || payload_len < 1) {
    return 0;
  }
  const auto size = static_cast<std::uint64_t>(payload_len);
  return static_cast<int>(write_payload(request_, payload, size));
}

int ov_http_socket::GetStatusCode() {
  return status_code_;
}

const char* ov_http_socket::LastErrorString() {
  port::system_error_text(last_error_, error_text_, sizeof(error_text_));
  return error_text_;
}

bool ov_http_socket::OpenUrl(const char* url) {
  close_exchange(request_, connection_);
  if (url == nullptr) {
    last_error_ = kNoUrl;
    return false;
  }
  request_ = port::internet_open_url(session_, url, port::kHyperlink | port::kPragmaNoCache);
  if (request_ == nullptr) {
    last_error_ = port::last_system_error();
    return false;
  }
  return true;
}

bool ov_http_socket::PostUrl(const char* url, ov_http_request_type type, const char* data,
                             int data_len, const char* headers) {
  close_exchange(request_, connection_);
  if (url == nullptr) {
    last_error_ = kNoUrl;
    return false;
  }
  port::UrlParts parts;
  if (!port::internet_split_url(url, parts)) {
    last_error_ = port::last_system_error();
    return false;
  }
  const auto host = copy_of(parts.host);
  const auto path = copy_of(parts.path);
  if (host == nullptr || path == nullptr) {
    last_error_ = kNotEnoughMemory;
    return false;
  }

  connection_ = port::internet_connect(session_, host.get(), parts.port, port::kNoCacheWrite);
  if (connection_ != nullptr) {
    request_ = port::internet_open_request(connection_, method_name(type), path.get(),
                                           request_flags(parts.port, secure_));
  }
  if (request_ == nullptr ||
      !port::internet_send_request(request_, headers != nullptr ? headers : kDefaultHeaders, data,
                                   body_bytes(data, data_len))) {
    last_error_ = port::last_system_error();
    return false;
  }
  return true;
}

void ov_http_socket::SetStatusCode() {
  char text[8] = {};
  if (request_ != nullptr && port::internet_query_status(request_, text, sizeof(text))) {
    status_code_ = std::atoi(text);
  }
}
