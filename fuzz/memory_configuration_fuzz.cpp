// Lines of "memory.cfg" against a second, slower reading of the same rules.
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "memory/heap_sizes.h"

namespace {

using orsin::HeapSizes;

// The rule once more, with the library's own conversion: blanks, at least one digit, no overflow.
void apply_slowly(std::string_view line, std::string_view key, std::uint64_t& size) {
  if (!line.starts_with(key)) {
    return;
  }
  std::size_t begin = key.size();
  while (begin < line.size() && (line[begin] == ' ' || line[begin] == '\t')) {
    ++begin;
  }
  std::size_t end = begin;
  while (end < line.size() && line[end] >= '0' && line[end] <= '9') {
    ++end;
  }
  if (end == begin) {
    return;
  }
  const std::string digits(line.substr(begin, end - begin));
  errno = 0;
  const unsigned long long number = std::strtoull(digits.c_str(), nullptr, 10);
  if (errno == 0) {
    size = std::uint64_t{number} * 1048576;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view line(reinterpret_cast<const char*>(data), size);
  HeapSizes sizes = {1, 2, 3, 4};
  HeapSizes expected = sizes;

  orsin::apply_configuration_line(line, sizes);
  apply_slowly(line, "frame_heap_size=", expected.frame);
  apply_slowly(line, "proxy_heap_size=", expected.proxy);
  apply_slowly(line, "audio_heap_size=", expected.audio);
  apply_slowly(line, "image_heap_size=", expected.image);

  if (sizes.frame != expected.frame || sizes.proxy != expected.proxy ||
      sizes.audio != expected.audio || sizes.image != expected.image) {
    std::abort();
  }
  return 0;
}
