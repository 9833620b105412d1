// "ingest": a card, whole, to up to 16 places in one read pass.
#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "examples/host/command.h"
#include "examples/host/console.h"
#include "examples/host/ingest/console_status.h"
#include "examples/host/ingest/copy_run.h"
#include "examples/host/ingest/job_setup.h"
#include "examples/host/ingest/options.h"
#include "examples/host/paths.h"
#include "orsincore/threads.h"

namespace host {
namespace {

using namespace ingest;

constexpr double kSampleSeconds = 0.5;

void print_error(const std::string& what, const std::string& reason) {
  std::fprintf(console_errors(), "host ingest: %s: %s\n", what.c_str(), reason.c_str());
}

// One run of the command from its plan to its exit code.
class Ingest {
 public:
  Ingest(const Options& options, Setup& setup) : options_(options), setup_(setup) {}

  int carry_out() {
    record_.card = setup_.card;
    record_.started = now_ticks();
    record_.is_verified = options_.verify;
    DiskLister lister;
    plan_ = make_plan(lister, setup_.card, longest_root(setup_));
    for (const Refusal& refusal : plan_.refusals) {
      print_error("refused: " + refusal.path, refusal.reason);
      record_.problems.push_back({refusal.path, "refused: " + refusal.reason});
    }
    compare_space(plan_, setup_);
    if (const int code = open_destinations(); code != kDone) {
      return code;
    }
    copy();
    gather();
    return finish();
  }

 private:
  int open_destinations() {
    for (const auto& destination : setup_.destinations) {
      if (!destination->is_ended() && destination->open(options_.resume) == OpenResult::kBusy) {
        print_error(destination->folder(), "busy with another run");
        return kBusy;
      }
      run_.destinations.push_back(destination.get());
    }
    return kDone;
  }

  void copy() {
    run_.card = setup_.card;
    run_.verify = options_.verify;
    for (const PlannedEntry& file : plan_.files) {
      record_.files.push_back({file.path, file.size, {}});
    }
    record_.destinations.resize(setup_.destinations.size());
    catch_cancel();
    ConsoleStatus console(options_.plain);
    CopyRun copy_run(run_, plan_, record_.files);
    const std::string problem = copy_run.carry_out(options_.jobs, [&](const Status& status) {
      console.show(status);
      take_samples(status);
    });
    console.end();
    record_.seconds = copy_run.status().seconds;
    if (!problem.empty()) {
      run_.add_problem(setup_.card, problem);
    }
  }

  void take_samples(const Status& status) {
    for (std::size_t i = 0; i < status.written.size(); ++i) {
      std::vector<Sample>& samples = record_.destinations[i].samples;
      if (samples.empty() || status.seconds - samples.back().seconds >= kSampleSeconds) {
        samples.push_back({status.seconds, status.written[i]});
      }
    }
  }

  // What the report and the last lines tell.
  void gather() {
    record_.is_stopped = cancel_requested();
    record_.bytes = plan_.bytes;
    record_.directories = plan_.directories.size();
    record_.links = plan_.links;
    record_.problems.insert(record_.problems.end(), run_.problems.begin(), run_.problems.end());
    for (std::size_t i = 0; i < setup_.destinations.size(); ++i) {
      Destination& destination = *setup_.destinations[i];
      DestinationRecord& record = record_.destinations[i];
      record.folder = destination.folder();
      record.tree = destination.tree();
      record.bytes = destination.bytes_written;
      record.files = destination.files_written;
      record.already_there = destination.files_there;
      destination.flush(true);
      const bool is_whole = destination.take_finished().size() == plan_.files.size();
      destination.close(is_whole && !record_.is_stopped);
      record.ended = destination.reason();
    }
  }

  [[nodiscard]] int finish() {
    for (const Problem& problem : record_.problems) {
      if (!problem.reason.starts_with("refused: ")) {
        print_error(problem.what, problem.reason);
      }
    }
    for (const DestinationRecord& destination : record_.destinations) {
      if (!destination.ended.empty()) {
        print_error(destination.folder, destination.ended);
      }
    }
    print_summary();
    return result();
  }

  void print_summary() const {
    for (const std::string& link : plan_.links) {
      std::printf("link, not followed  %s\n", link.c_str());
    }
    for (const DestinationRecord& destination : record_.destinations) {
      const std::uint64_t files = destination.files + destination.already_there;
      const bool is_whole = destination.ended.empty() && files == plan_.files.size();
      std::printf("%s  %s  %llu of %zu files", is_whole ? "complete" : "INCOMPLETE",
                  destination.tree.c_str(), static_cast<unsigned long long>(files),
                  plan_.files.size());
      if (destination.already_there > 0) {
        std::printf(", %llu were there",
                    static_cast<unsigned long long>(destination.already_there));
      }
      std::printf(options_.verify ? ", verified\n" : "\n");
    }
    std::printf("%zu files, %zu directories, %s in %s\n", plan_.files.size(),
                plan_.directories.size(), size_text(plan_.bytes).c_str(),
                duration_text(record_.seconds).c_str());
    if (record_.is_stopped) {
      std::fputs("host ingest: stopped. The same command with --resume goes on from here.\n",
                 console_errors());
    }
  }

  [[nodiscard]] int result() const {
    if (record_.is_stopped) {
      return kCancelled;
    }
    const bool all_there =
        record_.problems.empty() &&
        std::all_of(record_.destinations.begin(), record_.destinations.end(),
                    [this](const DestinationRecord& destination) {
                      return destination.ended.empty() &&
                             destination.files + destination.already_there == plan_.files.size();
                    });
    return all_there ? kDone : kFailed;
  }

  const Options& options_;
  Setup& setup_;
  Plan plan_;
  SharedRun run_;
  RunRecord record_;
};

int list_plan(const Setup& setup) {
  DiskLister lister;
  const Plan plan = make_plan(lister, setup.card, longest_root(setup));
  for (const PlannedEntry& directory : plan.directories) {
    std::printf("make    %s\\\n", directory.path.c_str());
  }
  for (const PlannedEntry& file : plan.files) {
    std::printf("copy    %s  %s\n", file.path.c_str(), size_text(file.size).c_str());
  }
  for (const std::string& link : plan.links) {
    std::printf("skip    %s  (a link)\n", link.c_str());
  }
  for (const Refusal& refusal : plan.refusals) {
    std::printf("refuse  %s  (%s)\n", refusal.path.c_str(), refusal.reason.c_str());
  }
  compare_space(plan, setup);
  for (const auto& destination : setup.destinations) {
    if (destination->is_ended()) {
      std::printf("refuse  %s  (%s)\n", destination->folder().c_str(),
                  destination->reason().c_str());
    }
  }
  std::printf("%zu files, %zu directories, %s; %zu links skipped, %zu names refused\n",
              plan.files.size(), plan.directories.size(), size_text(plan.bytes).c_str(),
              plan.links.size(), plan.refusals.size());
  const bool all_taken = std::none_of(setup.destinations.begin(), setup.destinations.end(),
                                      [](const auto& to) { return to->is_ended(); });
  return plan.refusals.empty() && all_taken ? kDone : kFailed;
}

int run_ingest(const Arguments& arguments) {
  Options options;
  if (const std::string problem = parse_options(arguments, options); !problem.empty()) {
    return bad_usage(kIngestCommand, problem);
  }
  const SharedLibrary library;
  Setup setup;
  if (const std::string problem = set_up(options, setup); !problem.empty()) {
    return bad_usage(kIngestCommand, problem);
  }
  return options.dry_run ? list_plan(setup) : Ingest(options, setup).carry_out();
}

}  // namespace

const Command kIngestCommand = {
    "ingest", "copy a card to one or more drives, verified, with a manifest",
    "Usage: host ingest [OPTIONS] CARD DESTINATION...\n"
    "       host ingest --dry-run CARD [DESTINATION...]\n"
    "\n"
    "Reads CARD once and writes it to up to 16 destinations, below each into a folder named after\n"
    "the card. A file takes its name only when it is complete (and verified); nothing that was there\n"
    "is replaced. A destination that fails ends with its reason, the others go on.\n"
    "\n"
    "  --verify       read every copy back past the cache and compare it\n"
    "  --manifest     write an ASC MHL manifest into each copy\n"
    "  --resume       go on where an earlier run was stopped\n"
    "  --report FILE  write a page about the run (HTML)\n"
    "  --jobs N       files in flight, 1 to 32; 4 if not given\n"
    "  --plain        a line of progress every ten seconds instead of a moving one\n"
    "  --dry-run      list what would be copied, skipped and refused; writes nothing\n"
    "\n"
    "The exit code is 0 only if everything is there (with --verify: was read back the same),\n"
    "1 if something failed, 2 for a command line that makes no sense, 3 when you stopped it,\n"
    "4 when a destination is busy with another run.\n",
    run_ingest};

}  // namespace host
