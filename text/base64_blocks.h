// Blocks of clean base64, decoded with 256-bit vectors where the processor has them.
//
// Only whole blocks of 128 alphabet characters are taken, so the meaning of everything else ("=",
// strangers, unfinished groups, a full target) stays with the plain decoder, the twin that tests
// compare with.
#pragma once

#include <cstddef>

namespace orsin {

constexpr std::size_t kBase64BlockCharacters = 128;
constexpr std::size_t kBase64BlockBytes = kBase64BlockCharacters / 4 * 3;

/// True where decode_base64_blocks() may be called.
[[nodiscard]] bool has_base64_blocks();

/// Decodes blocks up to the first that holds a character outside the alphabet ("=" included) or
/// does not fit. Nothing is written behind the blocks taken. Returns their number.
[[nodiscard]] std::size_t decode_base64_blocks(const char* source, std::size_t source_size,
                                               unsigned char* target, std::size_t target_size);

}  // namespace orsin
