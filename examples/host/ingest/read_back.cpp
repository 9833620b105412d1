#include "examples/host/ingest/read_back.h"

#include <algorithm>

#include "examples/host/console.h"
#include "examples/host/ingest/reads_in_flight.h"
#include "examples/host/ingest/storage.h"
#include "orsincore/io.h"

namespace host::ingest {
namespace {

constexpr std::size_t kHalf = kReadBackBytes / 2;

// Hashes the file piece by piece; empty, or why it ended early.
std::string hash_pieces(void* file, std::uint64_t size, bool with_md5, unsigned char* buffer,
                        std::atomic<std::uint64_t>& counter, FileHashes& hashes) {
  XxhHasher xxh64;
  Md5Hasher md5;
  ReadsInFlight reads(file);
  std::uint64_t started = 0;
  std::uint64_t done = 0;
  while (done < size) {
    for (; started < size && reads.size() < 2;
         started += std::min<std::uint64_t>(kHalf, size - started)) {
      const auto bytes = static_cast<std::size_t>(std::min<std::uint64_t>(kHalf, size - started));
      if (!reads.start(buffer + started / kHalf % 2 * kHalf, started, bytes)) {
        return "cannot be read: " + system_reason();
      }
    }
    const unsigned char* const piece = buffer + done / kHalf % 2 * kHalf;
    const std::size_t bytes = reads.take();
    if (bytes == 0) {
      return "cannot be read: " + system_reason();
    }
    if (cancel_requested()) {
      return "stopped";
    }
    xxh64.add(piece, bytes);
    if (with_md5) {
      md5.add(piece, bytes);
    }
    done += bytes;
    counter += bytes;
  }
  hashes = {xxh64.digest(), md5.digest()};
  return {};
}

}  // namespace

ReadBack read_back(const std::string& path, std::uint64_t size, bool with_md5,
                   unsigned char* buffer, std::atomic<std::uint64_t>& counter) {
  ReadBack result;
  void* const file = io_open64(path.c_str(), 0, true, true, true);
  if (file == io_invalid_handle()) {
    result.problem = "cannot be opened: " + system_reason();
    return result;
  }
  result.problem = io_get_filesize64(file, nullptr) == static_cast<long long>(size)
                       ? hash_pieces(file, size, with_md5, buffer, counter, result.hashes)
                       : "its size is different";
  io_close64(file);
  return result;
}

}  // namespace host::ingest
