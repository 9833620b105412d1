#include "tests/platform/machine/refusals.h"

namespace orsin::simulation {

bool Refusals::is_chosen() {
  if (is_paused_) {
    return false;
  }
  ++points_;
  const bool is_in_row = plan_.first_point != 0 && points_ >= plan_.first_point &&
                         points_ < plan_.first_point + plan_.in_a_row;
  const bool chosen = is_in_row || random_.one_in(plan_.one_in);
  refused_ += chosen ? 1 : 0;
  return chosen;
}

std::uint32_t Refusals::at_call(std::initializer_list<std::uint32_t> errors) {
  if (!is_chosen()) {
    return 0;
  }
  if (refused_ == 1) {
    kinds_ = errors.size();
  }
  const std::uint64_t kind = plan_.first_point != 0 ? plan_.kind : random_.next();
  return errors.begin()[kind % errors.size()];
}

bool Refusals::at_allocation() {
  const bool chosen = is_chosen();
  allocations_refused_ += chosen ? 1 : 0;
  if (chosen && refused_ == 1) {
    kinds_ = 1;
  }
  return chosen;
}

}  // namespace orsin::simulation
