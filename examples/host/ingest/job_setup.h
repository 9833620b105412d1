// From a command line to a job that can begin: full paths, the card's name, what cannot be meant.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "examples/host/ingest/destination.h"
#include "examples/host/ingest/options.h"
#include "examples/host/ingest/plan.h"

namespace host::ingest {

struct Setup {
  std::string card;       // Full path without a backslash at its end.
  std::string card_name;  // What the copies are called.
  std::vector<std::unique_ptr<Destination>> destinations;
};

/// Returns empty, or why the command line makes no sense.
[[nodiscard]] std::string set_up(const Options& options, Setup& setup);

/// The length of the longest path that the card's names are put behind.
[[nodiscard]] std::size_t longest_root(const Setup& setup);

/// Ends the destinations whose volumes have less room than the plan needs there.
void compare_space(const Plan& plan, const Setup& setup);

}  // namespace host::ingest
