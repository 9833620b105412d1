// The command lines of "ingest" and "check".
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace host::ingest {

inline constexpr std::size_t kDestinationsMax = 16;
inline constexpr int kJobsMax = 32;
inline constexpr int kJobsDefault = 4;

struct Options {
  bool verify = false;
  bool manifest = false;
  bool resume = false;
  bool dry_run = false;
  bool plain = false;
  int jobs = kJobsDefault;
  std::string report;  // Empty: none.
  std::string card;
  std::vector<std::string> destinations;
};

/// Reads the arguments of "ingest". Returns empty, or what is wrong with them.
[[nodiscard]] std::string parse_options(const std::vector<std::string>& arguments,
                                        Options& options);

/// Reads those of "check", whose folder is the card.
[[nodiscard]] std::string parse_check_options(const std::vector<std::string>& arguments,
                                              Options& options);

}  // namespace host::ingest
