// Times of the system (100 ns since 1601 UTC) as texts.
#pragma once

#include <cstdint>
#include <string>

namespace host::ingest {

inline constexpr std::uint64_t kTicksPerSecond = 10'000'000;

/// "2024-01-31T12:34:56+00:00", for manifests; fractions of a second are cut off.
[[nodiscard]] std::string iso_time(std::uint64_t ticks);

/// "2024-01-31_123456Z", for the names of manifests.
[[nodiscard]] std::string file_name_time(std::uint64_t ticks);

/// "2024-01-31 12:34:56", for people.
[[nodiscard]] std::string plain_time(std::uint64_t ticks);

}  // namespace host::ingest
