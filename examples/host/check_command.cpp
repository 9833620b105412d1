// "check": a folder against its ASC MHL manifests.
#include <charconv>
#include <cstdio>
#include <string>
#include <system_error>

#include "examples/host/command.h"
#include "examples/host/console.h"
#include "examples/host/ingest/console_status.h"
#include "examples/host/ingest/destination.h"
#include "examples/host/ingest/folder_check.h"
#include "examples/host/ingest/options.h"
#include "examples/host/paths.h"
#include "orsincore/files.h"
#include "orsincore/startup.h"
#include "orsincore/threads.h"

namespace host {
namespace {

using namespace ingest;

void print_paths(const char* what, const std::vector<std::string>& paths) {
  for (const std::string& path : paths) {
    std::printf("%-8s  %s\n", what, path.c_str());
  }
}

int print_result(const FolderCheck& check, const std::string& manifest) {
  print_paths("FAILED", check.failed);
  print_paths("MISSING", check.missing);
  print_paths("new", check.added);
  for (const Problem& problem : check.problems) {
    std::fprintf(console_errors(), "host check: %s: %s\n", problem.what.c_str(),
                 problem.reason.c_str());
  }
  std::printf("%llu verified, %zu failed, %zu missing, %zu new\nmanifest  %s\n",
              static_cast<unsigned long long>(check.verified), check.failed.size(),
              check.missing.size(), check.added.size(), manifest.c_str());
  return check.failed.empty() && check.missing.empty() && check.problems.empty() ? kDone : kFailed;
}

int check_folder(const std::string& folder, const Options& options) {
  History history;
  if (const std::string problem = load_history(folder, history); !problem.empty()) {
    return fail(problem);
  }
  if (history.chain.empty()) {
    return fail("no manifest in " + folder);
  }
  catch_cancel();
  ConsoleStatus console(options.plain);
  const double started = mp_getclock();
  const FinishedFiles nothing_fresh;
  const std::set<std::string> nothing_left_out;
  FolderCheck check(folder, history, nothing_fresh, nothing_left_out);
  std::string problem = check.carry_out(options.jobs, [&](std::uint64_t done, std::uint64_t bytes) {
    Status status;
    status.bytes_done = status.work_done = done;
    status.bytes = status.work = bytes;
    status.seconds = mp_getclock() - started;
    status.written = {done};
    console.show(status);
  });
  console.end();
  if (cancel_requested()) {
    std::fputs("host check: stopped, nothing was written\n", console_errors());
    return kCancelled;
  }
  std::string manifest;
  if (problem.empty()) {
    check.manifest.created = now_ticks();
    check.manifest.host_name = host_name();
    problem = add_generation(folder, last_component(folder), history, check.manifest, manifest);
  }
  const int result = print_result(check, manifest);
  return problem.empty() ? result : fail(problem);
}

int run_check(const Arguments& arguments) {
  Options options;
  if (const std::string problem = parse_check_options(arguments, options); !problem.empty()) {
    return bad_usage(kCheckCommand, problem);
  }
  const SharedLibrary library;
  const std::string folder = full_path(options.card);
  if (folder.empty() || file_is_directory(folder.c_str()) == 0) {
    return bad_usage(kCheckCommand, "no such folder: " + options.card);
  }
  // The same lock as that of a run which copies into it.
  const std::size_t separator = folder.rfind('\\');
  OwnFile lock;
  switch (lock.open(lock_path(folder.substr(0, separator)), true)) {
    case OpenResult::kBusy:
      std::fprintf(console_errors(), "host check: %s: busy with another run\n", folder.c_str());
      return kBusy;
    case OpenResult::kFailed:
      return fail("cannot write beside " + folder + ": " + system_reason());
    case OpenResult::kOpen:
      break;
  }
  return check_folder(folder, options);
}

}  // namespace

const Command kCheckCommand = {
    "check", "compare a folder with its manifest",
    "Usage: host check [--jobs N] [--plain] FOLDER\n"
    "\n"
    "Reads every file of FOLDER and compares it with what the folder's ASC MHL manifests say, names\n"
    "what failed, what is missing and what is new, and adds the next generation to the manifests.\n"
    "Manifests that were changed since they were written are refused.\n"
    "\n"
    "The exit code is 0 if everything in the manifests is there and the same, 1 if not, 2 for a\n"
    "command line that makes no sense, 3 when you stopped it, 4 while a run copies into the folder.\n",
    run_check};

}  // namespace host
