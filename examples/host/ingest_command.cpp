// "ingest": a card, whole, to up to 16 places in one read pass.
#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "examples/host/command.h"
#include "examples/host/console.h"
#include "examples/host/ingest/console_status.h"
#include "examples/host/ingest/copy_run.h"
#include "examples/host/ingest/folder_check.h"
#include "examples/host/ingest/history.h"
#include "examples/host/ingest/job_setup.h"
#include "examples/host/ingest/names.h"
#include "examples/host/ingest/options.h"
#include "examples/host/ingest/report_page.h"
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
      if (!destination->is_ended() && !destination->is_new()) {
        read_history(*destination);
      }
    }
    return kDone;
  }

  // What a manifest says counts as finished for --resume, and the next generation follows it.
  void read_history(Destination& destination) {
    if (!options_.manifest && !options_.resume) {
      return;
    }
    History& history = histories_[&destination];
    if (const std::string problem = load_history(destination.tree(), history); !problem.empty()) {
      destination.end(problem);
      return;
    }
    if (!options_.resume) {
      return;
    }
    for (const PlannedEntry& file : plan_.files) {
      const auto found = history.expected.find(with_slashes(file.path));
      if (found != history.expected.end() && found->second.size && found->second.xxh64 &&
          found->second.md5) {
        // The time of the last write is the copy's own, which was the card's.
        const auto there = facts_of(destination.path_of(file.path));
        destination.known[file.path] = {*found->second.size,
                                        there ? there->write_time : 0,
                                        {*found->second.xxh64, *found->second.md5},
                                        0,
                                        true};
      }
    }
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

  // The next generation for a copy: with what this run copied, and, beside manifests of earlier
  // runs, with everything else in the folder read once more. Returns its name.
  std::string write_manifest(Destination& destination, const FinishedFiles& finished) {
    FinishedFiles fresh;
    std::set<std::string> left_out;
    for (const PlannedEntry& file : plan_.files) {
      const auto found = finished.find(file.path);
      if (found == finished.end()) {
        left_out.insert(file.path);
      } else if (!found->second.is_sealed && !is_ignored(with_slashes(file.path))) {
        fresh.insert(*found);
      }
    }
    const History& history = histories_[&destination];
    if (fresh.empty() && !history.chain.empty()) {
      return history.chain.back().path;  // It says all of this already.
    }
    FolderCheck check(destination.tree(), history, fresh, left_out);
    std::string name;
    std::string problem = check.carry_out(options_.jobs, [](std::uint64_t, std::uint64_t) {});
    if (cancel_requested()) {
      record_.is_stopped = true;
      return {};
    }
    if (problem.empty()) {
      check.manifest.is_transfer = true;
      check.manifest.created = now_ticks();
      check.manifest.host_name = host_name();
      problem = add_generation(destination.tree(), setup_.card_name, history, check.manifest, name);
    }
    if (!problem.empty()) {
      destination.end(problem);
    }
    for (const std::string& path : check.failed) {
      record_.problems.push_back(
          {destination.path_of(with_backslashes(path)), "is not what its manifest says any more"});
    }
    for (const std::string& path : check.missing) {
      record_.problems.push_back(
          {destination.path_of(with_backslashes(path)), "is in the manifest and not there"});
    }
    record_.problems.insert(record_.problems.end(), check.problems.begin(), check.problems.end());
    return name;
  }

  // After everything that was made inside. The attributes are not taken: a drive's root is hidden.
  void take_card_times(Destination& destination) {
    const auto card = facts_of(setup_.card);
    const auto tree = facts_of(destination.tree());
    if (!card || !tree) {
      return;  // The system does not tell them of every drive's root.
    }
    PlannedEntry facts;
    facts.write_time = card->write_time;
    facts.creation_time = card->creation_time;
    facts.attributes = tree->attributes;
    if (!apply_directory_facts(destination.tree(), facts)) {
      record_.problems.push_back(
          {destination.tree(), "its times cannot be set: " + system_reason()});
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
      const FinishedFiles finished = destination.take_finished();
      if (options_.manifest && !destination.is_ended() && !record_.is_stopped) {
        record.manifest = write_manifest(destination, finished);
      }
      if (!destination.is_ended() && !record_.is_stopped) {
        take_card_times(destination);
      }
      destination.close(finished.size() == plan_.files.size() && !record_.is_stopped);
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
    const bool is_reported = write_report();
    return is_reported || result() != kDone ? result() : kFailed;
  }

  [[nodiscard]] bool write_report() const {
    if (options_.report.empty()) {
      return true;
    }
    const std::string path = full_path(options_.report);
    if (!path.empty() && write_small_file(path, report_page(record_))) {
      std::printf("report  %s\n", path.c_str());
      return true;
    }
    print_error(options_.report, "the report cannot be written: " + system_reason());
    return false;
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
  std::map<const Destination*, History> histories_;
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
