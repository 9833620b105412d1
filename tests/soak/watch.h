// The figures of a run: a line now and then, and the verdict at the end.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "tests/soak/crew.h"
#include "tests/soak/process_figures.h"

namespace orsin::soak {

class Watch {
 public:
  /// @param works  What is watched; lives as long as the watch.
  explicit Watch(std::vector<const Work*> works) : works_(std::move(works)) {}

  /// Takes the figures, while all work rests.
  void look();

  /// Prints the latest figures and the work done since the last line.
  void print_line(double seconds);

  /// Prints what is not as it should be. False when there is anything.
  [[nodiscard]] bool judge() const;

 private:
  struct Count {
    std::uint64_t done = 0;
    std::uint64_t refused = 0;
  };
  using Counts = std::map<std::string, Count>;  // By family.

  [[nodiscard]] Counts count() const;

  std::vector<const Work*> works_;
  std::vector<ProcessFigures> looks_;
  Counts printed_;
  std::vector<std::string> stalls_;
};

}  // namespace orsin::soak
