// Downloads to a file and uploads from one: the two helpers of the HTTP client that use the log.
#include <cstdio>

#include "base/given_text.h"
#include "base/log_port.h"
#include "base/new_file.h"
#include "base/stream_bytes.h"
#include "base/unique_file.h"
#include "net/payload_writer.h"
#include "orsincore/files.h"
#include "orsincore/log.h"
#include "orsincore/memory.h"
#include "orsincore/network.h"
#include "orsincore/text.h"

namespace orsin {
namespace {

constexpr int kStatusOk = 200;

// A buffer of the standard heaps that stays where it is until the end of the scope.
class LockedBuffer {
 public:
  explicit LockedBuffer(std::uint64_t size) {
    static_cast<void>(mem_alloc_locked_buffer(&data_, size, MEM_HEAP_ANY));
  }
  ~LockedBuffer() {
    if (data_ != nullptr) {
      mem_free_locked_buffer(&data_);
    }
  }
  LockedBuffer(const LockedBuffer&) = delete;
  LockedBuffer& operator=(const LockedBuffer&) = delete;

  [[nodiscard]] void* data() const { return data_; }

 private:
  void* data_ = nullptr;
};

bool write_whole_file(const char* path, const char* data, std::size_t size) {
  NewFile file(path, "wb+");
  return file.stream() != nullptr && write_bytes(file.stream(), data, size) == size &&
         file.commit();
}

bool read_whole_file(const char* path, void* data, std::size_t size) {
  const UniqueFile file(ov_utf8_fopen(path, "rbN"));
  return file != nullptr && read_bytes(file.get(), data, size) == size;
}

// The code becomes the thread's last error, too.
bool fail_with_code(ov_http_socket& socket, std::uint32_t code) {
  msgerror("HTTP: File loader failed: code %d [%s]", socket.GetStatusCode(),
           socket.LastErrorString());
  port::set_last_system_error(code);
  return false;
}

}  // namespace
}  // namespace orsin

using namespace orsin;

bool ov_http_socket::ReadFile(const char* url, const char* path) {
  ov_http_socket socket;
  unsigned long long bytes = 0;
  const char* data = socket.GetHttpData(url, OV_HTTP_GET, nullptr, -1, nullptr, &bytes);
  if (data == nullptr || socket.GetStatusCode() != kStatusOk) {
    return fail_with_code(socket, socket.last_error_);
  }
  if (!write_whole_file(path, data, bytes)) {
    msgerror("HTTP: File loader failed: Can't write '%s'", given(path));
    return false;
  }
  return true;
}

bool ov_http_socket::WriteFile(const char* url, const char* path) {
  const long long size = file_size(path);
  if (size < 1) {
    return false;
  }
  const LockedBuffer buffer(static_cast<std::uint64_t>(size));
  if (buffer.data() == nullptr) {
    return false;
  }
  if (!read_whole_file(path, buffer.data(), static_cast<std::size_t>(size))) {
    msgerror("HTTP: File loader failed: Can't read '%s'", path);
    return false;
  }

  ov_http_socket socket;
  if (!socket.OpenUrl(url)) {
    return fail_with_code(socket, socket.last_error_);
  }
  socket.SetStatusCode();
  // Kept on purpose: the bytes follow a request that has been sent and answered already. Required;
  // a platform that refuses it ends in the line with the code.
  const std::int64_t written =
      write_payload(socket.request_, buffer.data(), static_cast<std::uint64_t>(size));
  if (written < 1 || socket.status_code_ != kStatusOk) {
    return fail_with_code(socket, socket.last_error_);
  }
  if (written != size) {
    msgerror("HTTP: File loader failed: Can't write all data..");
    return false;
  }
  return true;
}
