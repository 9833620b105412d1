// Writes a payload on an open request.
#pragma once

#include <cstdint>

namespace orsin {

/// Writes until everything is written, a write takes nothing or a write fails.
///
/// @return What the last write reported: `size` when one write took everything; negative when a
///         failing write reported no count.
[[nodiscard]] std::int64_t write_payload(void* request, const void* payload, std::uint64_t size);

}  // namespace orsin
