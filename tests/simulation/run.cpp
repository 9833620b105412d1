#include "tests/simulation/run.h"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tests/platform/machine/process_memory.h"

extern "C" void __sanitizer_print_stack_trace();

namespace orsin::simulation {
namespace {

constexpr unsigned kMostSeconds = 120;  // Of real time: a loop that makes no step.
constexpr std::size_t kTextBytes = 512;
constexpr const char* kLeftOver = "left over";
constexpr std::uint64_t kLarge = std::uint64_t{1} << 40;

/// Lies in memory that the run shares with whoever started it.
struct Report {
  bool is_done;
  char text[kTextBytes];
  std::uint64_t steps;
  std::uint64_t hash;
  std::uint64_t points;
  std::uint64_t refused;
  std::uint64_t kinds;
  Holdings holdings;
};

Report& report() {
  static auto* const shared = static_cast<Report*>(
      ::mmap(nullptr, sizeof(Report), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  return *shared;
}

void choose_manners(Machine& machine, const RunSettings& settings) {
  if (settings.is_calm) {
    return;
  }
  Random choice(settings.seed, 5);
  constexpr std::uint64_t kPending[] = {0, 1, 1, 2, 4};
  constexpr std::uint64_t kShort[] = {0, 0, 0, 50, 500};
  constexpr std::uint64_t kLate[] = {0, 0, 0, 200};
  constexpr Nanoseconds kLatencies[] = {50 * kMicrosecond, 20 * kMillisecond, 300 * kMillisecond};
  constexpr std::uint64_t kNoEvents[] = {0, 0, 0, 1, 8};
  machine.transfers = {choice.one_of(kPending), choice.one_of(kShort), choice.one_of(kLate),
                       choice.one_of(kNoEvents), choice.one_of(kLatencies)};
  constexpr std::uint64_t kPieces[] = {0, 1, 4};
  machine.network.pieces_one_in = choice.one_of(kPieces);
  machine.disk.add_volume('D', choice.one_in(8) ? choice.below(std::uint64_t{24} << 20) : kLarge);
}

RefusalPlan plan_of(const RunSettings& settings) {
  if (settings.is_calm) {
    return settings.refusals;
  }
  Random choice(settings.seed, 6);
  constexpr std::uint64_t kOneIn[] = {0, 0, 20, 200, 1000};
  return {choice.one_of(kOneIn)};
}

// Where memory was refused some may be left, on purpose: pages and chunks of small blocks that there was
// no memory to write down serve their caller all the same, and only closedown misses them. No more of
// them than refusals.
void expect_nothing_kept(const Machine& machine, const Usual& usual) {
  const Holdings& before = usual.holdings;
  Holdings now = machine.holdings();
  const auto unwritten = static_cast<long>(machine.refusals.allocations_refused());
  now.page_ranges = now.page_ranges <= unwritten ? before.page_ranges : now.page_ranges;
  now.blocks = now.blocks > before.blocks + unwritten ? now.blocks : before.blocks;
  if (!(now == before) && usual.has_last_word) {
    print_library_blocks();
  }
  ORSIN_EXPECT(now == before,
               "left over: %ld blocks (%ld), %d handles (%d), %d threads (%d), %d locks (%d), %d "
               "conditions (%d), %d keys (%d), %d page ranges (%d)",
               now.blocks, before.blocks, now.handles, before.handles, now.threads, before.threads,
               now.mutexes, before.mutexes, now.conditions, before.conditions, now.keys,
               before.keys, now.page_ranges, before.page_ranges);
}

// In the child.
[[noreturn]] void tell(const Scenario& scenario, const RunSettings& settings,
                       const std::optional<Usual>& usual) {
  ::alarm(kMostSeconds);
  Machine machine({settings.seed, plan_of(settings), settings.is_traced, &report().steps});
  machine.disk.add_volume('C', kLarge);
  machine.disk.add_volume('D', kLarge);
  choose_manners(machine, settings);
  {
    Pass pass(machine, settings.seed, false);
    scenario.run(pass);
  }
  report().points = machine.refusals.points();
  report().refused = machine.refusals.refused();
  report().kinds = machine.refusals.kinds();
  machine.become_willing();
  {
    Pass pass(machine, settings.seed, true);
    scenario.run(pass);
  }
  report().holdings = machine.holdings();
  report().hash = machine.schedule.hash();
  if (usual) {
    expect_nothing_kept(machine, *usual);
  }
  report().is_done = true;
  std::_Exit(0);
}

}  // namespace

void fail(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(report().text, kTextBytes, format, arguments);
  va_end(arguments);
  if (has_machine() && machine().schedule.is_traced()) {
    __sanitizer_print_stack_trace();
  }
  std::_Exit(1);
}

Runner::Runner(const Scenario& scenario) : scenario_(scenario) {
  const RunResult result = run({.is_calm = true});
  usual_ = {report().holdings, false};
  trouble_ = result.is_done ? "" : result.text;
}

// What the process keeps for its life depends on the story, and each seed's is another one: where more
// is left than after the first, the same story without refusals has the last word.
RunResult Runner::run(const RunSettings& settings) const {
  RunResult result = run_once(settings, usual_);
  if (!usual_ || !result.text.starts_with(kLeftOver)) {
    return result;
  }
  static_cast<void>(run_once({.seed = settings.seed, .is_calm = true}, {}));
  return run_once(settings, Usual{report().holdings, true});
}

RunResult Runner::run_once(const RunSettings& settings, const std::optional<Usual>& usual) const {
  report() = {};
  std::fflush(nullptr);
  const pid_t child = ::fork();
  if (child == 0) {
    tell(scenario_, settings, usual);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  const Report& end = report();
  RunResult result{end.is_done, end.text, end.steps, end.hash, end.points, end.refused, end.kinds};
  if (!end.is_done && result.text.empty()) {
    result.text = WIFSIGNALED(status) ? ::strsignal(WTERMSIG(status)) : "the process has ended";
  }
  return result;
}

}  // namespace orsin::simulation
