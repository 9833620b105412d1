// Base64 in blocks of 128 characters, 96 bytes, with vector instructions.
#pragma once

#include <cstddef>

namespace orsin {

constexpr std::size_t kBase64BlockCharacters = 128;
constexpr std::size_t kBase64BlockBytes = 96;
constexpr std::size_t kBase64StreamAlignment = 32;

/// Decodes blocks while they hold nothing but characters of the alphabet; touches exactly the 96
/// bytes of each. Returns the number of blocks decoded, at most `count`. Only where the processor
/// has the instructions.
[[nodiscard]] std::size_t decode_base64_blocks(const char* source, std::size_t count,
                                               unsigned char* target);

/// The same past the caches, for targets that do not fit into them: the old content of the target is
/// not read first.
///
/// @param target  Aligned to kBase64StreamAlignment.
[[nodiscard]] std::size_t stream_base64_blocks(const char* source, std::size_t count,
                                               unsigned char* target);

/// True where these may be called.
[[nodiscard]] bool has_base64_instructions();

}  // namespace orsin
