// Prints and judges the figures; what flat means stands in flatness.h.
#include "tests/soak/watch.h"

#include <cstdio>
#include <utility>

#include "tests/soak/flatness.h"

namespace orsin::soak {
namespace {

constexpr std::int64_t kMib = 1 << 20;

struct Figure {
  const char* name;
  std::int64_t ProcessFigures::*member;
  std::int64_t allowance;
};

// What the system's own caches and pools of threads breathe by. Much less than a leak of one block of
// a step, one handle or one thread makes of a minute's thousands of steps.
constexpr Figure kFigures[] = {{"resident bytes", &ProcessFigures::resident_bytes, 4 * kMib},
                               {"handles", &ProcessFigures::handles, 4},
                               {"threads", &ProcessFigures::threads, 2}};

bool judge(const Figure& figure, const std::vector<ProcessFigures>& looks) {
  std::vector<std::int64_t> figures;
  for (const ProcessFigures& look : looks) {
    figures.push_back(look.*figure.member);
  }
  const Flatness flatness = judge_flatness(figures, figure.allowance);
  const bool is_told = flatness.after > 0;
  std::printf("%-14s %s: %lld, then %lld (%+lld; allowed +%lld)\n", figure.name,
              !is_told           ? "NOT KNOWN"
              : flatness.is_flat ? "flat"
                                 : "NOT FLAT",
              static_cast<long long>(flatness.before), static_cast<long long>(flatness.after),
              static_cast<long long>(flatness.growth()), static_cast<long long>(figure.allowance));
  return is_told && flatness.is_flat;
}

}  // namespace

void Watch::look() {
  looks_.push_back(process_figures());
}

Watch::Counts Watch::count() const {
  Counts counts;
  for (const Work* work : works_) {
    counts[work->family()].done += work->done();
    counts[work->family()].refused += work->refused();
  }
  return counts;
}

void Watch::print_line(double seconds) {
  const ProcessFigures& figures = looks_.back();
  std::printf("%6.0f s  %6.1f MiB  %3lld handles  %2lld threads ", seconds,
              static_cast<double>(figures.resident_bytes) / static_cast<double>(kMib),
              static_cast<long long>(figures.handles), static_cast<long long>(figures.threads));
  Counts now = count();
  for (const auto& [family, total] : now) {
    const Count& before = printed_[family];
    std::printf(" %s %llu", family.c_str(),
                static_cast<unsigned long long>(total.done - before.done));
    if (total.refused != before.refused) {
      std::printf("-%llu", static_cast<unsigned long long>(total.refused - before.refused));
    }
    if (total.done == before.done) {
      stalls_.push_back(family + " did nothing in the " +
                        std::to_string(static_cast<int>(seconds)) + " s line");
    }
  }
  std::printf("\n");
  std::fflush(stdout);
  printed_ = std::move(now);
}

bool Watch::judge() const {
  bool is_well = true;
  for (const Figure& figure : kFigures) {
    is_well = soak::judge(figure, looks_) && is_well;
  }
  for (const std::string& stall : stalls_) {
    std::printf("STALLED: %s\n", stall.c_str());
    is_well = false;
  }
  for (const Work* work : works_) {
    for (const std::string& fault : work->faults()) {
      std::printf("WRONG: %s: %s\n", work->family().c_str(), fault.c_str());
      is_well = false;
    }
  }
  return is_well;
}

}  // namespace orsin::soak
