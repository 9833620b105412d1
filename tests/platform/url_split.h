// The parts of a URL, as the stand-ins for the internet library split it.
#pragma once

#include <string_view>

#include "net/internet_port.h"

namespace orsin::test {

/// Scheme, host, perhaps a port, and the path with what follows it. False, with the last error of an
/// unknown scheme, where there is none.
[[nodiscard]] bool split_url(std::string_view url, port::UrlParts& parts);

}  // namespace orsin::test
