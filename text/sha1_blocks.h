// The compression function of SHA-1 (FIPS 180-1), twice: in plain C++ and with the processor's SHA
// instructions. Both give the same words.
#pragma once

#include <cstddef>

namespace orsin {

/// Processes `count` blocks of 64 bytes.
void sha1_blocks_plain(unsigned int digest[5], const unsigned char* data, std::size_t count);

/// Only where the processor has the instructions.
void sha1_blocks_instructions(unsigned int digest[5], const unsigned char* data, std::size_t count);

/// True where sha1_blocks_instructions() may be called.
[[nodiscard]] bool has_sha1_instructions();

/// Whichever of the two is faster here.
void sha1_blocks(unsigned int digest[5], const unsigned char* data, std::size_t count);

}  // namespace orsin
