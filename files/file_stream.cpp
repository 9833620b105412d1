// A small file as a stream: read whole when it is opened, and from memory from then on.
//
// `position` goes wherever ov_seek() puts it, before the start included, which an unsigned position
// shows as far beyond the end. So whoever reads asks bytes_left(), never the difference itself.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <new>

#include "base/compiler.h"
#include "base/path_buffer.h"
#include "base/stream_bytes.h"
#include "base/unique_file.h"
#include "orsincore/files.h"
#include "orsincore/text.h"

namespace orsin {
namespace {

static_assert(offsetof(ov_stream, data) == 0);
static_assert(offsetof(ov_stream, size) == 8);
static_assert(offsetof(ov_stream, position) == 16);
static_assert(offsetof(ov_stream, end) == 24);

constexpr auto kNothingLeft = static_cast<std::size_t>(-1);

// Bytes from the start to the end of the file; negative when it has no length, as a pipe has none.
std::int64_t measure(std::FILE* file) {
  if (ORSIN_FSEEK64(file, 0, SEEK_END) != 0) {
    return -1;
  }
  const std::int64_t length = ORSIN_FTELL64(file);
  return ORSIN_FSEEK64(file, 0, SEEK_SET) == 0 ? length : -1;
}

// False when memory is exhausted. In text mode fewer bytes may arrive than were measured.
bool read_whole(std::FILE* file, std::size_t length, ov_stream& stream) {
  if (length == 0) {
    return true;
  }
  std::unique_ptr<unsigned char[]> data(new (std::nothrow) unsigned char[length]);
  if (data == nullptr) {
    return false;
  }
  stream.size = read_bytes(file, data.get(), length);
  stream.data = stream.size > 0 ? data.release() : nullptr;
  return true;
}

// Nothing is left of no stream.
std::size_t bytes_left(const ov_stream* stream) {
  return stream != nullptr && stream->position < stream->size
             ? static_cast<std::size_t>(stream->size - stream->position)
             : 0;
}

std::size_t product_or_max(std::size_t a, std::size_t b) {
  constexpr std::size_t kMax = std::numeric_limits<std::size_t>::max();
  return a != 0 && b > kMax / a ? kMax : a * b;
}

}  // namespace
}  // namespace orsin

using namespace orsin;

ov_stream* ov_open(const char* path, const char* mode) {
  const UniqueFile file(fits_path(path) ? ov_utf8_fopen(path, mode) : nullptr);
  if (file == nullptr) {
    return nullptr;
  }
  const std::int64_t length = measure(file.get());
  std::unique_ptr<ov_stream> stream(new (std::nothrow) ov_stream{});
  if (length < 0 || stream == nullptr ||
      !read_whole(file.get(), static_cast<std::size_t>(length), *stream)) {
    return nullptr;
  }
  return stream.release();
}

int ov_close(ov_stream* stream) {
  if (stream == nullptr) {
    return -1;
  }
  delete[] stream->data;
  delete stream;
  return 0;
}

long ov_seek(ov_stream* stream, long offset, int whence) {
  if (stream == nullptr) {
    return -1;
  }
  const auto distance = static_cast<unsigned long long>(offset);  // Wraps: a step back is one.
  switch (whence) {
    case SEEK_SET:
      stream->position = distance;
      break;
    case SEEK_CUR:
      stream->position += distance;
      break;
    case SEEK_END:
      // Kept on purpose: the offset counts backwards from the end, unlike in the C library.
      // Required.
      stream->position = stream->size - distance;
      break;
    default:
      return -1;
  }
  return static_cast<long>(stream->position);
}

long ov_tell(ov_stream* stream) {
  return stream != nullptr ? static_cast<long>(stream->position) : -1;
}

// Kept on purpose: the result counts bytes whatever the element size, and the end is (size_t)-1.
// Required.
std::size_t ov_read(void* out, std::size_t size, std::size_t count, ov_stream* stream) {
  const std::size_t left = bytes_left(stream);
  if (left == 0 || size == 0 || (out == nullptr && count != 0)) {
    return kNothingLeft;
  }
  std::size_t wanted = product_or_max(size, count);
  if (wanted > left) {
    wanted = left;
    stream->end = 1;
  }
  if (wanted > 0) {
    std::memcpy(out, stream->data + stream->position, wanted);
    stream->position += wanted;
  }
  return wanted;
}

// Kept on purpose: `n` bounds nothing, and the result points past the terminator. Required.
char* ov_gets(char* out, int n, ov_stream* stream) {
  const std::size_t left = bytes_left(stream);
  if (left == 0 || n < 2 || out == nullptr) {
    return nullptr;
  }
  const unsigned char* line = stream->data + stream->position;
  const unsigned char* end =
      std::find_if(line, line + left, [](unsigned char c) { return c == '\n' || c == '\0'; });
  if (end == line + left) {
    stream->end = 1;
  } else {
    ++end;  // What ended the line belongs to it.
  }
  const auto length = static_cast<std::size_t>(end - line);
  std::memcpy(out, line, length);
  out[length] = '\0';
  stream->position += length;
  return out + length + 1;
}

int ov_eof(ov_stream* stream) {
  return stream != nullptr ? stream->end : 1;
}
