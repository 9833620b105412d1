// What a request other than a plain GET is made of. Pure arithmetic on its arguments.
#pragma once

#include <cstdint>

#include "orsincore/network.h"

namespace orsin {

/// The header of requests whose caller gives none.
constexpr const char* kDefaultHeaders = "Content-Type: application/x-www-form-urlencoded";

/// "POST", "PUT", "PATCH" or "DELETE"; "PUT" for every value that has no method of its own.
[[nodiscard]] const char* method_name(ov_http_request_type type);

/// The flags of a request to this port.
[[nodiscard]] std::uint32_t request_flags(std::uint16_t port, bool secure);

/// Bytes of a body given as data and length, where -1 stands for a NUL-terminated string.
[[nodiscard]] std::uint32_t body_bytes(const char* data, int data_len);

}  // namespace orsin
