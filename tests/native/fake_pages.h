// The memory port of native builds, with knobs: tests make the "system" refuse.
#pragma once

#include <cstdint>

namespace orsin::test {

struct FakePages {
  bool refuse_commit = false;
  bool refuse_pin = false;
  bool refuse_unpin = false;
  bool refuse_release = false;
  std::uint64_t commit_max = ~std::uint64_t{0};  // Larger requests are refused.
  int live = 0;                                  // Commits that were not released.
};

/// The one instance; tests reset it with `fake_pages() = {}`.
FakePages& fake_pages();

}  // namespace orsin::test
