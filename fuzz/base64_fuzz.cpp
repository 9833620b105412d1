// The base64 decoder with vectors against its plain twin, in a target of any size.
//
// Input: two bytes of target size, then the text. Bytes behind the decoded ones must stay.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "text/base64.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) {
    return 0;
  }
  const std::size_t room = data[0] + (data[1] & 3U) * 256U;
  const std::string text(reinterpret_cast<const char*>(data + 2), size - 2);
  std::string expected(room, '?');
  std::string actual(room, '?');

  const std::size_t expected_size = orsin::decode_base64_span_plain(
      text.data(), text.size(), reinterpret_cast<unsigned char*>(expected.data()), room);
  const std::size_t actual_size = orsin::decode_base64_span(
      text.data(), text.size(), reinterpret_cast<unsigned char*>(actual.data()), room);

  if (actual_size != expected_size || actual != expected) {
    std::abort();
  }
  return 0;
}
