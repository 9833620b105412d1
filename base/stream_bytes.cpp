// Reads and writes a C stream in pieces that no C library miscounts; see the header.
#include "base/stream_bytes.h"

#include <algorithm>

namespace orsin {
namespace {

// Ends with the last piece or with the first that is not whole.
template <typename Transfer>
std::size_t in_pieces(std::size_t size, std::size_t piece_bytes, Transfer transfer) {
  std::size_t done = 0;
  while (done < size) {
    const std::size_t piece = std::min(size - done, piece_bytes);
    const std::size_t bytes = transfer(done, piece);
    done += bytes;
    if (bytes < piece) {
      break;
    }
  }
  return done;
}

}  // namespace

std::size_t write_bytes(std::FILE* stream, const void* data, std::size_t size,
                        std::size_t piece_bytes) {
  const auto* bytes = static_cast<const unsigned char*>(data);
  return in_pieces(size, piece_bytes, [&](std::size_t start, std::size_t piece) {
    return std::fwrite(bytes + start, 1, piece, stream);
  });
}

std::size_t read_bytes(std::FILE* stream, void* data, std::size_t size, std::size_t piece_bytes) {
  auto* bytes = static_cast<unsigned char*>(data);
  return in_pieces(size, piece_bytes, [&](std::size_t start, std::size_t piece) {
    return std::fread(bytes + start, 1, piece, stream);
  });
}

}  // namespace orsin
