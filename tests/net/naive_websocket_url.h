// The URL rules of the WebSocket client once more, a second way: for the fuzzer and random tests.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>

namespace orsin::test {

struct NaiveAddress {
  std::u16string host;
  std::uint16_t port;
  std::u16string path;
};

inline NaiveAddress naive_websocket_url(const std::u16string& url) {
  const std::size_t mark = url.find(u"://");
  const std::u16string rest = mark == std::u16string::npos ? url : url.substr(mark + 3);
  const std::size_t colon = rest.find(u':');
  if (colon == std::u16string::npos) {
    return {rest, 80, u"/"};
  }
  const std::u16string behind = rest.substr(colon);
  const std::size_t slash = behind.find(u'/');

  std::string number;
  for (const char16_t unit : behind.substr(1)) {
    number += unit < 128 ? static_cast<char>(unit) : '?';
  }
  const long long value =
      std::clamp<long long>(std::strtoll(number.c_str(), nullptr, 10),
                            std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
  return {rest.substr(0, colon), static_cast<std::uint16_t>(value),
          slash == std::u16string::npos ? u"/" : behind.substr(slash)};
}

}  // namespace orsin::test
