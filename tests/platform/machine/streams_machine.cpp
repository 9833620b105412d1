// The C library's streams on files of a simulated disk.
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "orsincore/utf.h"
#include "tests/platform/machine/machine.h"

using namespace orsin;
using namespace orsin::simulation;

namespace {

struct Stream {
  void* handle;
  bool appends;
};

OpenedFile& file_of(void* cookie) {
  return *machine().handles.get<OpenedFile>(static_cast<Stream*>(cookie)->handle);
}

ssize_t read_stream(void* cookie, char* buffer, std::size_t size) {
  Call call("read stream", size);
  if (call.is_refused({EIO})) {
    return -1;
  }
  OpenedFile& file = file_of(cookie);
  const std::uint64_t length = file.node->content.size();
  const std::uint64_t left = file.position < length ? length - file.position : 0;
  const std::uint64_t bytes = std::min<std::uint64_t>(size, left);
  file.node->content.read(file.position, buffer, bytes);
  file.position += bytes;
  return static_cast<ssize_t>(bytes);
}

// 0 says that it failed.
ssize_t write_stream(void* cookie, const char* data, std::size_t size) {
  Call call("write stream", size);
  OpenedFile& file = file_of(cookie);
  if (call.is_refused({ENOSPC, EIO})) {
    return 0;
  }
  if (static_cast<Stream*>(cookie)->appends) {
    file.position = file.node->content.size();
  }
  if (Disk::write(*file.node, file.position, data, size) != 0) {
    call.fail(ENOSPC);
    return 0;
  }
  file.position += size;
  return static_cast<ssize_t>(size);
}

int seek_stream(void* cookie, off64_t* offset, int whence) {
  Call call("seek stream");
  OpenedFile& file = file_of(cookie);
  const auto base = static_cast<off64_t>(whence == SEEK_CUR   ? file.position
                                         : whence == SEEK_END ? file.node->content.size()
                                                              : 0);
  if (base + *offset < 0) {
    call.fail(EINVAL);
    return -1;
  }
  *offset += base;
  file.position = static_cast<std::uint64_t>(*offset);
  return 0;
}

int close_stream(void* cookie) {
  Call call("close stream");
  auto* stream = static_cast<Stream*>(cookie);
  machine().handles.close(stream->handle);
  delete stream;
  return 0;
}

// As the C library opens them: others may read and write it meanwhile.
std::uint32_t open_stream(const char* name, const char* mode, std::shared_ptr<OpenedFile>& file) {
  port::OpenMode wanted;
  wanted.read = mode[0] == 'r' || std::strchr(mode, '+') != nullptr;
  wanted.write = mode[0] != 'r' || std::strchr(mode, '+') != nullptr;
  wanted.create = mode[0] != 'r';
  wanted.share_read = true;
  bool existed = false;
  const std::uint32_t error = machine().disk.open(name, wanted, file, existed);
  if (error == 0 && mode[0] == 'w') {
    static_cast<void>(Disk::resize(*file->node, 0));
  }
  return error;
}

}  // namespace

std::FILE* ov_utf8_fopen(const char* name, const char* mode) {
  if (name == nullptr || mode == nullptr) {
    return nullptr;
  }
  Call call("open stream");
  if (call.is_refused({EACCES, EMFILE})) {
    return nullptr;
  }
  std::shared_ptr<OpenedFile> file;
  if (const std::uint32_t error = open_stream(name, mode, file); error != 0) {
    call.fail(error == kErrorFileNotFound || error == port::kErrorPathNotFound ? ENOENT : EACCES);
    return nullptr;
  }
  auto* stream = new Stream{machine().handles.open(file), mode[0] == 'a'};
  constexpr cookie_io_functions_t kCalls = {read_stream, write_stream, seek_stream, close_stream};
  return ::fopencookie(stream, mode[0] == 'r' ? "r" : mode[0] == 'a' ? "a" : "w+", kCalls);
}

std::FILE* ov_utf8_freopen(const char* name, const char* mode, std::FILE* /*stream*/) {
  return ov_utf8_fopen(name, mode);
}
