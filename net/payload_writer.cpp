// Hands a payload to an open request, in as few pieces as the system's counts allow.
#include "net/payload_writer.h"

#include <algorithm>

#include "net/internet_port.h"

namespace orsin {
namespace {

constexpr std::uint64_t kWriteBytesMax = 0xFFFFFFFF;  // Counts of the library have 32 bits.

}  // namespace

std::int64_t write_payload(void* request, const void* payload, std::uint64_t size) {
  const auto* rest = static_cast<const unsigned char*>(payload);
  for (;;) {
    std::uint32_t written = 0;
    const auto bytes = static_cast<std::uint32_t>(std::min(size, kWriteBytesMax));
    if (!port::internet_write(request, rest, bytes, written)) {
      return static_cast<std::int32_t>(written);  // A count of -1 means that there is none.
    }
    // Kept on purpose: the result is the last write's count and not the sum. Required; a payload
    // that did not leave in one piece looks like a failed one.
    if (written == 0 || written >= size) {
      return written;
    }
    rest += written;
    size -= written;
  }
}

}  // namespace orsin
