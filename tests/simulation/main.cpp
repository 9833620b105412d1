// The simulator's command line.
//
//   simulation list
//   simulation run SCENARIO FIRST COUNT     that many seeds; stops at the first that fails
//   simulation replay SCENARIO SEED         the same run once more, every step printed
//   simulation points SCENARIO [STRIDE]     every STRIDE-th call and allocation fails, one a run, in each
//                                           of its ways, then it and the next; a row of a table
//   simulation point SCENARIO SEED N KIND ROW   one of those runs once more, every step printed
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tests/simulation/run.h"

using namespace orsin::simulation;

// Remembering where each block was allocated takes a fifth of a run otherwise. A replay that must show more
// sets ASAN_OPTIONS.
extern "C" const char* __asan_default_options() {
  return "malloc_context_size=3";
}

namespace {

unsigned long long number(const char* text) {
  return std::strtoull(text, nullptr, 10);
}

int list() {
  for (const Scenario& scenario : scenarios()) {
    std::puts(scenario.name);
  }
  return 0;
}

int print_failure(const Scenario& scenario, std::uint64_t seed, const RunResult& result) {
  std::printf("%s %llu %llu: %s\n", scenario.name, static_cast<unsigned long long>(seed),
              static_cast<unsigned long long>(result.steps), result.text.c_str());
  return 1;
}

int run(const Scenario& scenario, std::uint64_t first, std::uint64_t count) {
  const Runner runner(scenario);
  if (!runner.trouble().empty()) {
    std::printf("%s fails without any refusal: %s\n", scenario.name, runner.trouble().c_str());
    return 1;
  }
  std::uint64_t steps = 0;
  for (std::uint64_t seed = first; seed < first + count; ++seed) {
    const RunResult result = runner.run({.seed = seed});
    if (!result.is_done) {
      return print_failure(scenario, seed, result);
    }
    steps += result.steps;
  }
  std::printf("%s: %llu seeds, %llu steps, all survived\n", scenario.name,
              static_cast<unsigned long long>(count), static_cast<unsigned long long>(steps));
  return 0;
}

int replay(const Scenario& scenario, std::uint64_t seed) {
  const RunResult result = Runner(scenario).run({.seed = seed, .is_traced = true});
  if (!result.is_done) {
    return print_failure(scenario, seed, result);
  }
  std::printf("%s %llu: survived %llu steps\n", scenario.name,
              static_cast<unsigned long long>(seed), static_cast<unsigned long long>(result.steps));
  return 0;
}

// Of the first few: the longest story has the most that can fail.
std::uint64_t longest_seed(const Runner& runner) {
  constexpr std::uint64_t kLooks = 20;
  std::uint64_t longest = 1;
  std::uint64_t most_points = 0;
  for (std::uint64_t seed = 1; seed <= kLooks; ++seed) {
    const RunResult result = runner.run({.seed = seed, .is_calm = true});
    if (result.points > most_points) {
      most_points = result.points;
      longest = seed;
    }
  }
  return longest;
}

class PointRuns {
 public:
  explicit PointRuns(const Scenario& scenario)
      : scenario_(scenario), runner_(scenario), seed_(longest_seed(runner_)) {}

  int fail_each(std::uint64_t stride) {
    const std::uint64_t points = runner_.run({.seed = seed_, .is_calm = true}).points;
    for (std::uint64_t n = 1; n <= points; n += stride) {
      std::uint64_t kinds = 1;
      for (std::uint64_t kind = 0; kind < kinds; ++kind) {
        kinds = std::max<std::uint64_t>(fail_at({.first_point = n, .kind = kind}).kinds, 1);
      }
      fail_at({.first_point = n, .in_a_row = 2});
    }
    std::printf("| %s | %llu | %llu | %s |\n", scenario_.name, ull(points), ull(runs_),
                failures_ == 0 ? "all" : "not all");
    return failures_ == 0 ? 0 : 1;
  }

 private:
  static unsigned long long ull(std::uint64_t value) { return value; }

  RunResult fail_at(const RefusalPlan& plan) {
    const RunResult result = runner_.run({.seed = seed_, .refusals = plan, .is_calm = true});
    ++runs_;
    if (!result.is_done) {
      ++failures_;
      std::printf("point %s %llu %llu %llu %llu: %s\n", scenario_.name, ull(seed_),
                  ull(plan.first_point), ull(plan.kind), ull(plan.in_a_row), result.text.c_str());
    }
    return result;
  }

  const Scenario& scenario_;
  Runner runner_;
  std::uint64_t seed_;
  std::uint64_t runs_ = 0;
  std::uint64_t failures_ = 0;
};

int replay_point(const Scenario& scenario, char** numbers) {
  const RunResult result = Runner(scenario).run({.seed = number(numbers[0]),
                                                 .refusals = {.first_point = number(numbers[1]),
                                                              .in_a_row = number(numbers[3]),
                                                              .kind = number(numbers[2])},
                                                 .is_calm = true,
                                                 .is_traced = true});
  std::printf("%s\n", result.is_done ? "survived" : result.text.c_str());
  return result.is_done ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  const Scenario* scenario = argc > 2 ? find_scenario(argv[2]) : nullptr;
  if (argc == 2 && std::strcmp(argv[1], "list") == 0) {
    return list();
  }
  if (argc > 2 && scenario == nullptr) {
    std::printf("There is no scenario \"%s\". There are:\n", argv[2]);
    return list() + 2;
  }
  if (argc == 5 && scenario != nullptr && std::strcmp(argv[1], "run") == 0) {
    return run(*scenario, number(argv[3]), number(argv[4]));
  }
  if (argc == 4 && scenario != nullptr && std::strcmp(argv[1], "replay") == 0) {
    return replay(*scenario, number(argv[3]));
  }
  if (argc >= 3 && argc <= 4 && scenario != nullptr && std::strcmp(argv[1], "points") == 0) {
    return PointRuns(*scenario).fail_each(argc == 4 ? number(argv[3]) : 1);
  }
  if (argc == 7 && scenario != nullptr && std::strcmp(argv[1], "point") == 0) {
    return replay_point(*scenario, argv + 3);
  }
  std::fputs(
      "simulation list | run SCENARIO FIRST COUNT | replay SCENARIO SEED | points SCENARIO [STRIDE]\n",
      stderr);
  return 2;
}
