// Reads manifests and chains that anybody may have written, and trusts none of them.
//
// Refused with a reason: what is no XML, has a document type (and so could define entities), is of
// another kind or version, names a path twice, or a path that leads out of its folder. Formats of
// hashes that this program cannot compute are stepped over.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "examples/host/ingest/manifest.h"

namespace host::ingest {

inline constexpr std::uint64_t kManifestBytesMax = 512U << 20;  // Some two million files.

/// Returns empty, or why the text is refused.
[[nodiscard]] std::string read_manifest(std::string_view text, Manifest& manifest);

/// The same for a chain; its entries in the order of their numbers, which must not repeat.
[[nodiscard]] std::string read_chain(std::string_view text, std::vector<ChainEntry>& chain);

}  // namespace host::ingest
