// Splits a WebSocket URL by three characters; see the header.
#include "net/websocket_url.h"

#include <algorithm>
#include <limits>
#include <string_view>

namespace orsin {
namespace {

constexpr std::uint16_t kPortDefault = 80;
constexpr const char16_t* kPathDefault = u"/";

bool is_blank(char16_t unit) {
  return unit == u' ' || (unit >= u'\t' && unit <= u'\r');
}

// As atoi reads it: blanks, one sign, digits up to anything else; nothing reads as 0. A number
// that no int holds stops at the nearest one that does.
int leading_number(const char16_t* text) {
  while (is_blank(*text)) {
    ++text;
  }
  const bool is_negative = *text == u'-';
  if (*text == u'-' || *text == u'+') {
    ++text;
  }
  constexpr std::int64_t kMagnitudeMax = std::int64_t{std::numeric_limits<int>::max()} + 1;
  std::int64_t magnitude = 0;
  for (; *text >= u'0' && *text <= u'9'; ++text) {
    magnitude = std::min(magnitude * 10 + (*text - u'0'), kMagnitudeMax);
  }
  return static_cast<int>(is_negative ? -magnitude : std::min(magnitude, kMagnitudeMax - 1));
}

}  // namespace

WebSocketAddress split_websocket_url(char16_t* url) {
  constexpr std::u16string_view kSchemeEnd = u"://";
  const std::u16string_view text = url;
  const std::size_t scheme = text.find(kSchemeEnd);
  const std::size_t host = scheme == std::u16string_view::npos ? 0 : scheme + kSchemeEnd.size();

  const std::size_t colon = text.find(u':', host);
  if (colon == std::u16string_view::npos) {
    // Kept on purpose: without a port the whole rest is the host, whatever path it seems to end in.
    // Host names are handed to the system as they were written; callers name the port.
    return {url + host, kPortDefault, kPathDefault};
  }
  const std::size_t slash = text.find(u'/', colon);
  url[colon] = u'\0';
  // The system takes 16 bits of the number, so 65616 is port 80 and -1 is port 65535.
  return {url + host, static_cast<std::uint16_t>(leading_number(url + colon + 1)),
          slash == std::u16string_view::npos ? kPathDefault : url + slash};
}

}  // namespace orsin
