// Writes beside a name and takes it at the end; see the header.
#include "base/new_file.h"

#include <atomic>
#include <cstring>
#include <string_view>

#include "base/new_file_port.h"
#include "orsincore/utf.h"

namespace orsin {
namespace {

// Names that may be taken already, by what a program left that ended in the middle.
constexpr unsigned kTries = 1000;
constexpr unsigned kNumbers = 1000000;
constexpr std::size_t kModeBytes = 8;  // "wb+N" is the longest.

std::atomic<unsigned> names_tried = 0;

// With the separator, or the colon of a drive.
std::size_t directory_bytes(std::string_view path) {
  return path.find_last_of("\\/:") + 1;  // 0 without one.
}

}  // namespace

NewFile::NewFile(const char* path, const char* mode) {
  if (!fits_path(path)) {
    return;
  }
  path_.cut_assign(path);
  create_beside();
  if (beside_[0] != '\0') {
    // Inherited by a program that is started meanwhile, the file could not take its name.
    char own_mode[kModeBytes];
    static_cast<void>(std::snprintf(own_mode, sizeof(own_mode), "%sN", mode));
    stream_.reset(ov_utf8_fopen(beside_, own_mode));
  }
}

NewFile::~NewFile() {
  stream_.reset();
  if (beside_[0] != '\0') {
    port::remove_new_file(beside_);
  }
}

bool NewFile::commit() {
  if (stream_ == nullptr || std::fclose(stream_.release()) != 0 ||
      !port::rename_new_file(beside_, path_.c_str())) {
    return false;
  }
  beside_[0] = '\0';
  return true;
}

void NewFile::create_beside() {
  const std::size_t directory = directory_bytes(path_.view());
  std::memcpy(beside_, path_.c_str(), directory);
  for (unsigned i = 0; i < kTries; ++i) {
    const unsigned number = names_tried.fetch_add(1, std::memory_order_relaxed) % kNumbers;
    std::snprintf(beside_ + directory, kNameBytes, "~%06u.new", number);
    const port::Creation creation = port::create_new_file(beside_);
    if (creation == port::Creation::kCreated) {
      return;
    }
    if (creation == port::Creation::kRefused) {
      break;
    }
  }
  beside_[0] = '\0';
}

}  // namespace orsin
