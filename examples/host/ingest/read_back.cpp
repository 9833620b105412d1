#include "examples/host/ingest/read_back.h"

#include <algorithm>

#include "examples/host/console.h"
#include "examples/host/ingest/storage.h"

namespace host::ingest {
namespace {

// Hashes the file block by block; empty, or why it ended early.
std::string hash_blocks(FileReader& reader, std::uint64_t size, bool with_md5,
                        std::atomic<std::uint64_t>& counter, FileHashes& hashes) {
  XxhHasher xxh64;
  Md5Hasher md5;
  std::uint64_t done = 0;
  while (done < size) {
    std::uint64_t available = 0;
    const unsigned char* const block = reader.look(available);
    const auto bytes = static_cast<std::size_t>(std::min(available, size - done));
    if (bytes == 0) {
      return reader.reason();
    }
    if (cancel_requested()) {
      return "stopped";
    }
    xxh64.add(block, bytes);
    if (with_md5) {
      md5.add(block, bytes);
    }
    reader.step(bytes);
    done += bytes;
    counter += bytes;
  }
  hashes = {xxh64.digest(), md5.digest()};
  return {};
}

}  // namespace

ReadBack read_back(FileReader& reader, const std::string& path, std::uint64_t size, bool with_md5,
                   std::atomic<std::uint64_t>& counter) {
  ReadBack result;
  if (!reader.open(path)) {
    result.problem = "cannot be opened: " + system_reason();
    return result;
  }
  result.problem = reader.size() == size
                       ? hash_blocks(reader, size, with_md5, counter, result.hashes)
                       : "its size is different";
  reader.close();
  return result;
}

}  // namespace host::ingest
