#include "examples/host/ingest/file_reader.h"

#include "examples/host/ingest/alignment.h"
#include "examples/host/ingest/storage.h"
#include "orsincore/memory.h"

namespace host::ingest {
namespace {

constexpr int kBlocks = 8;
constexpr std::size_t kBlockBytes = 1U << 20;

// Empty when the system has nothing against reading there.
std::string objection(const std::string& path, std::uint64_t position) {
  void* const file = io_open64(path.c_str(), 0, true, true, true);
  if (file == io_invalid_handle()) {
    return system_reason();
  }
  void* const unit = os_alloc(kAlignment, 0);
  const auto offset = static_cast<long long>(position / kAlignment * kAlignment);
  const bool is_readable = unit != nullptr && io_read64(file, unit, offset, kAlignment);
  std::string reason = is_readable ? "" : system_reason();
  os_free(unit);
  io_close64(file);
  return reason;
}

}  // namespace

FileReader::FileReader() {
  reader_.cfg_buffers(kBlocks, kBlockBytes, kBlockBytes);
}

bool FileReader::open(const std::string& path) {
  path_ = path;
  position_ = 0;
  return reader_.open_file(path.c_str(), true, false, true);
}

bool FileReader::read(unsigned char* to, std::size_t bytes) {
  const std::uint64_t done = reader_.read_file(to, 1, bytes);
  position_ += done;
  return done == bytes;
}

const unsigned char* FileReader::look(std::uint64_t& bytes) {
  unsigned long long available = 0;
  const unsigned char* const data = reader_.get_bufptr(&available);
  bytes = data != nullptr ? available : 0;
  return data;
}

void FileReader::step(std::uint64_t bytes) {
  position_ += reader_.skip_file(bytes, 1);
}

std::string FileReader::reason() const {
  const std::string system = objection(path_, position_);
  return system.empty() ? "it ended at byte " + std::to_string(position_)
                        : "cannot be read: " + system;
}

}  // namespace host::ingest
