// One run: a process of its own, a machine, a scenario told twice, and what is left in the end.
//
// Each run begins from the same state, as it is a fork of one that has run nothing: so a seed replays
// alone exactly as it ran among thousands, and a run that crashes takes nothing along.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tests/simulation/scenario.h"

namespace orsin::simulation {

struct RunSettings {
  std::uint64_t seed = 1;
  RefusalPlan refusals = {};
  bool is_calm = false;  // No refusals by chance, no late or short transfers.
  bool is_traced = false;
};

struct RunResult {
  bool is_done = false;
  std::string text = {};  // What was wrong.
  std::uint64_t steps = 0;
  std::uint64_t hash = 0;    // Of all steps.
  std::uint64_t points = 0;  // In the first telling.
  std::uint64_t refused = 0;
  std::uint64_t kinds = 0;  // Ways to fail of the first that was refused.
};

/// What the library holds after success.
struct Usual {
  Holdings holdings;
  bool has_last_word = false;  // Nothing better is tried after it.
};

class Runner {
 public:
  /// Finds out what the library holds after success.
  explicit Runner(const Scenario& scenario);

  [[nodiscard]] RunResult run(const RunSettings& settings) const;

  /// Null, or why there is nothing to run: the scenario fails without any refusal.
  [[nodiscard]] const std::string& trouble() const { return trouble_; }

 private:
  [[nodiscard]] RunResult run_once(const RunSettings& settings,
                                   const std::optional<Usual>& usual) const;

  const Scenario& scenario_;
  std::optional<Usual> usual_;
  std::string trouble_;
};

}  // namespace orsin::simulation
