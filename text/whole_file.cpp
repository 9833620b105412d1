// Reads a small file into one vector; see the header.
#include "text/whole_file.h"

#include <cstdio>

#include "base/unique_file.h"
#include "orsincore/text.h"

namespace orsin {

std::optional<std::vector<char>> read_whole_file(const char* path) {
  constexpr std::size_t kStepBytes = 64 * 1024;
  const UniqueFile file(ov_utf8_fopen(path, "rbN"));
  if (!file) {
    return std::nullopt;
  }
  std::vector<char> bytes;
  std::size_t used = 0;
  std::size_t got = 0;
  do {
    bytes.resize(used + kStepBytes);
    got = std::fread(bytes.data() + used, 1, kStepBytes, file.get());
    used += got;
  } while (got == kStepBytes);
  if (std::ferror(file.get()) != 0) {
    return std::nullopt;
  }
  bytes.resize(used);
  return bytes;
}

}  // namespace orsin
