// URL splitting against a second way of saying the same rules.
//
// Input: the URL, a unit a byte; a NUL ends it. 0xFF stands for a unit outside Latin-1.
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "net/websocket_url.h"
#include "tests/net/naive_websocket_url.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr char16_t kFullWidthColon = 0xFF1A;
  std::u16string url;
  for (std::size_t i = 0; i < size && data[i] != 0; ++i) {
    url += data[i] == 0xFF ? kFullWidthColon : char16_t{data[i]};
  }
  // A block of its own size, so that a read behind the terminator is seen.
  const auto text = std::make_unique<char16_t[]>(url.size() + 1);
  url.copy(text.get(), url.size());

  const orsin::WebSocketAddress address = orsin::split_websocket_url(text.get());

  const orsin::test::NaiveAddress expected = orsin::test::naive_websocket_url(url);
  if (address.host != expected.host || address.port != expected.port ||
      address.path != expected.path) {
    std::abort();
  }
  return 0;
}
