// Any text decodes into its room, and clean text into the length that is foretold.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "orsincore/text.h"
#include "text/base64.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto* text = reinterpret_cast<const char*>(data);
  std::vector<unsigned char> bytes(size + 4);
  const std::size_t all = ov_base64_decode(text, size, bytes.data(), bytes.size());
  const std::size_t half = ov_base64_decode(text, size, bytes.data(), all / 2);
  if (all > orsin::base64_decoded_size(text, size) || half != all / 2) {
    std::abort();
  }
  return 0;
}
