// One host that uses all of the library at once for as long as it is told.
//
//   soak SECONDS [SEED [FAMILY...]]    only these families, to see which of them a fault needs
//
// It links the DLL as any host does. Its threads do work whose outcome is known, some of it refused
// on purpose; every few seconds all of them rest, and what the process holds is looked at. Exit code
// 0: every outcome was right, all families went on all the time, no log line was lost or torn, and
// resident memory, handles and threads stayed flat. tests/soak/run prepares what it needs and says
// where that is.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>

#include "orsincore/orsincore.h"
#include "tests/soak/log_check.h"
#include "tests/soak/own_log.h"
#include "tests/soak/site.h"
#include "tests/soak/watch.h"

namespace orsin::soak {
namespace {

constexpr int kLooks = 40;  // At least so many in a run, if it is not too short for that.
constexpr double kLookSecondsMin = 1.5;
constexpr double kLookSecondsMax = 10.0;
constexpr double kShortRunSeconds = 300.0;  // Up to it there is a line every ten seconds.

std::string environment(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr ? value : "";
}

Site site_from_environment() {
  Site site;
  site.scratch = environment("ORSIN_SOAK_SCRATCH");
  site.disk = environment("ORSIN_SOAK_DISK");
  site.disk_is_small = !site.disk.empty();
  if (!site.disk_is_small) {
    site.disk = site.scratch + "\\disk";
  }
  site.files_port = environment("ORSIN_HTTP_PORT");
  site.echo_port = environment("ORSIN_ECHO_PORT");
  site.broken_port = environment("ORSIN_BROKEN_PORT");
  site.websocket_port = environment("ORSIN_WEBSOCKET_PORT");
  site.plugin = environment("ORSIN_SOAK_PLUGIN");
  site.child = environment("ORSIN_SOAK_CHILD");
  return site;
}

using Names = std::set<std::string>;  // None: all.

// False when a family could not prepare its work.
bool fill_crew(Crew& crew, const Site& site, std::uint64_t seed, const Names& names) {
  Works families[] = {copy_works(site, seed),        stream_works(site, seed + 100),
                      heap_works(seed + 200),        log_works(seed + 300),
                      thread_works(seed + 400),      list_works(site, seed + 500),
                      http_works(site, seed + 600),  websocket_works(site, seed + 700),
                      module_works(site, seed + 800)};
  bool all = true;
  for (Works& family : families) {
    all = all && !family.empty();
    for (auto& work : family) {
      if (names.empty() || names.contains(work->family())) {
        crew.add(std::move(work));
      }
    }
  }
  return all;
}

struct Pace {
  explicit Pace(double run_seconds)
      : seconds(run_seconds),
        look_seconds(std::clamp(run_seconds / kLooks, kLookSecondsMin, kLookSecondsMax)),
        line_seconds(run_seconds <= kShortRunSeconds ? 10.0 : 60.0) {}

  double seconds;
  double look_seconds;
  double line_seconds;
};

// Works, rests, looks. False when somebody does not come to rest: then nothing can be ended properly.
bool run(Crew& crew, Watch& watch, LogCheck& log, const Pace& pace) {
  const double start = mp_getclock();
  double next_line = pace.line_seconds;
  for (double now = 0.0; now < pace.seconds; now = mp_getclock() - start) {
    mp_timedwait(static_cast<long long>(pace.look_seconds * 1e9));
    const std::string busy = crew.rest();
    if (!busy.empty()) {
      std::printf("HUNG: %s\n", busy.c_str());
      return false;
    }
    watch.look();
    if (!read_and_empty_log(log)) {
      std::printf("The log cannot be read and emptied\n");
      return false;
    }
    now = mp_getclock() - start;
    if (now >= next_line) {
      watch.print_line(now);
      next_line += pace.line_seconds;
    }
    crew.go_on();
  }
  return true;
}

bool judge_log(const LogCheck& log, const Crew& crew) {
  std::uint64_t written = 0;
  for (const Work* work : crew.works()) {
    written += work->family() == "log" ? work->done() : 0;
  }
  std::uint64_t read = 0;
  for (int writer = 0; writer < LogCheck::kWritersMax; ++writer) {
    read += log.lines_of(writer);
  }
  std::printf("log            %llu numbered lines written, %llu read back%s%s\n",
              static_cast<unsigned long long>(written), static_cast<unsigned long long>(read),
              log.complaint().empty() ? "" : "; WRONG: ", log.complaint().c_str());
  for (const std::string& lines : log.before_faults()) {
    std::printf("In the log before a fault:\n%s", lines.c_str());
  }
  return written == read && log.complaint().empty();
}

int soak(const Pace& pace, std::uint64_t seed, const Names& names) {
  const Site site = site_from_environment();
  Crew crew;
  if (!fill_crew(crew, site, seed, names) || !crew.start()) {
    std::printf("The work cannot be prepared in %s\n", site.scratch.c_str());
    return 1;
  }
  std::printf("seed %llu; %s\n", static_cast<unsigned long long>(seed),
              site.disk_is_small ? "a small disk fills up"
                                 : "there is no small disk: none fills up in this run");
  Watch watch(crew.works());
  LogCheck log;
  if (!run(crew, watch, log, pace) || !crew.rest().empty()) {
    std::fflush(stdout);
    std::_Exit(1);
  }
  const bool log_is_well = read_and_empty_log(log) && judge_log(log, crew);
  const bool figures_are_well = watch.judge();
  return crew.stop() && log_is_well && figures_are_well ? 0 : 1;
}

}  // namespace
}  // namespace orsin::soak

int main(int argc, char** argv) {
  const double seconds = argc > 1 ? std::atof(argv[1]) : 0.0;
  const unsigned long long seed = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 1;
  if (!(seconds > 0.0)) {
    std::printf("Usage: soak SECONDS [SEED [FAMILY...]]\n");
    return 2;
  }
  char name[] = "Soak";
  if (!ov_initialize(name, "ORSIN_SOAK_SCRATCH", 1, argv)) {
    std::printf("Another soak is running\n");
    return 2;
  }
  const std::set<std::string> names(argv + std::min(argc, 3), argv + argc);
  const int code = orsin::soak::soak(orsin::soak::Pace(seconds), seed, names);
  ov_closedown();
  return code;
}
