// C4 identifiers: a SHA-512 digest as a number in base 58, 88 digits after the letters "c4".
#pragma once

#include <array>
#include <string>

namespace host::ingest {

using Sha512Digest = std::array<unsigned char, 64>;

[[nodiscard]] std::string c4_of(const Sha512Digest& digest);

}  // namespace host::ingest
