// Bytes of any number to and from a C stream.
//
// A C library may count the bytes of one call in an int somewhere on the way, and then nothing of
// 2 GiB or more arrives. So a large transfer is made in pieces.
#pragma once

#include <cstddef>
#include <cstdio>

namespace orsin {

constexpr std::size_t kStreamPieceBytes = std::size_t{1} << 30;

/// Bytes that were written; less than `size` after a failure. std::fwrite.
/// @param piece_bytes  At most this much in one call; tests make it small.
[[nodiscard]] std::size_t write_bytes(std::FILE* stream, const void* data, std::size_t size,
                                      std::size_t piece_bytes = kStreamPieceBytes);

/// Bytes that were read; less than `size` at the end of the stream or after a failure. std::fread.
/// @param piece_bytes  At most this much in one call; tests make it small.
[[nodiscard]] std::size_t read_bytes(std::FILE* stream, void* data, std::size_t size,
                                     std::size_t piece_bytes = kStreamPieceBytes);

}  // namespace orsin
