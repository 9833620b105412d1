// "copy": one source to up to 16 destinations in one read pass, verified on request.
#include <array>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "examples/host/command.h"
#include "examples/host/console.h"
#include "examples/host/guarded_writer.h"
#include "examples/host/paths.h"
#include "examples/host/progress_line.h"
#include "orsincore/files.h"
#include "orsincore/text.h"
#include "orsincore/threads.h"

namespace host {
namespace {

constexpr std::size_t kDestinationsMax = 16;

using Digest = std::array<unsigned char, 16>;  // MD5.
using WriterList = std::vector<std::unique_ptr<GuardedWriter>>;

struct CopyOptions {
  bool verify = false;
  bool overwrite = false;
  std::string source;
  std::vector<std::string> destinations;
};

// What one pass over the source carries along.
struct SourcePass {
  ProgressLine progress;
  bool hash;
  md5_state_s md5;
};

void on_block(void* user, unsigned char* data, unsigned long long length) {
  auto* pass = static_cast<SourcePass*>(user);
  if (pass->hash && length > 0) {
    ov_md5_append(&pass->md5, data, static_cast<int>(length));
  }
  pass->progress.add(length);
}

// A destination that is a directory, or is to be one, receives the source under its own name.
std::string destination_path(const std::string& typed, const std::string& source) {
  std::string path = full_path(typed);
  const bool ends_in_separator = !typed.empty() && (typed.back() == '/' || typed.back() == '\\');
  if (path.empty() || (!ends_in_separator && file_is_directory(path.c_str()) == 0)) {
    return path;
  }
  return full_path(path + "\\" + last_component(source));
}

int parse(const Arguments& arguments, CopyOptions& options) {
  std::vector<std::string> names;
  for (const std::string& argument : arguments) {
    if (argument == "--verify") {
      options.verify = true;
    } else if (argument == "--overwrite") {
      options.overwrite = true;
    } else if (argument.starts_with('-')) {
      return bad_usage(kCopyCommand, "no option " + argument);
    } else {
      names.push_back(argument);
    }
  }
  if (names.size() < 2) {
    return bad_usage(kCopyCommand, "needs a source and at least one destination");
  }
  if (names.size() > kDestinationsMax + 1) {
    return bad_usage(kCopyCommand, "takes at most 16 destinations");
  }
  options.source = names.front();
  options.destinations.assign(names.begin() + 1, names.end());
  return kDone;
}

// Turns typed names into full paths and refuses what could destroy data.
int resolve(CopyOptions& options) {
  const std::string source = full_path(options.source);
  if (file_is_directory(source.c_str()) != 0) {
    return fail("a directory, not a file: " + options.source);
  }
  if (file_exists(source.c_str()) == 0) {
    return fail("no such file: " + options.source);
  }
  options.source = source;
  for (std::size_t i = 0; i < options.destinations.size(); ++i) {
    const std::string path = destination_path(options.destinations[i], source);
    if (path.empty()) {
      return fail("not a usable path: " + options.destinations[i]);
    }
    if (is_same_file(path, source)) {
      return fail("source and destination are the same file: " + path);
    }
    if (!options.overwrite && file_exists(path.c_str()) != 0) {
      return fail("already exists (--overwrite replaces it): " + path);
    }
    for (std::size_t other = 0; other < i; ++other) {
      if (options.destinations[other] == path) {
        return fail("destination given twice: " + path);
      }
    }
    options.destinations[i] = path;
  }
  return kDone;
}

// Why the copy ended early, with the name of the destination that it ended at.
std::string copy_failure(int code, const CopyOptions& options, const WriterList& writers) {
  for (const auto& writer : writers) {
    if (std::string problem = writer->problem(); !problem.empty()) {
      return problem;
    }
  }
  switch (code) {
    case -1:
      return "cannot open " + options.source;
    case -3:
      return "cannot read " + options.source;
    case -5:
      return "cannot make the directory of a destination";
    default:
      return "the copy failed (" + std::to_string(code) + ")";
  }
}

// Reads what was written back from the disk, past the system's cache, and compares the hashes.
// Empty when they are the same, or when somebody asked to stop.
std::string verification_problem(const GuardedWriter& writer, std::uint64_t size,
                                 const Digest& expected) {
  constexpr unsigned long long kBufferBytes = 0x100000;
  fReadBuffer reader(io_invalid_handle());
  reader.cfg_buffers(8, kBufferBytes, kBufferBytes);
  if (!reader.open_file(writer.partial().c_str(), true, false, true)) {
    return "cannot read back " + writer.destination();
  }
  ProgressLine progress("verifying", size);
  md5_state_s md5;
  ov_md5_init(&md5);
  unsigned long long length = 0;
  reader.getNextBlock();
  while (const unsigned char* data = reader.get_bufptr(&length)) {
    if (cancel_requested()) {
      return {};
    }
    ov_md5_append(&md5, data, static_cast<int>(length));
    progress.add(length);
    reader.skip_file(length, 1);
  }
  Digest found;
  ov_md5_finish(&md5, found.data());
  return found == expected ? std::string()
                           : "what was written reads back differently: " + writer.destination();
}

// One destination after the other is verified and put in place; one that fails does not cost the
// others.
int finish(const CopyOptions& options, const WriterList& writers, std::uint64_t size,
           const Digest& expected) {
  int result = kDone;
  for (const auto& writer : writers) {
    std::string problem =
        options.verify ? verification_problem(*writer, size, expected) : std::string();
    if (cancel_requested()) {
      std::fputs("host: cancelled, unfinished destinations were removed\n", console_errors());
      return kCancelled;
    }
    if (problem.empty() && !writer->commit()) {
      problem = "cannot put the copy in place (is the old file read-only, or open?): " +
                writer->destination();
    }
    if (!problem.empty()) {
      result = fail(problem);
      continue;
    }
    std::printf("%s  %s\n", options.verify ? "verified" : "copied", writer->destination().c_str());
  }
  return result;
}

int copy(const CopyOptions& options) {
  WriterList writers;
  std::vector<fWriteBuffer*> writer_list;
  std::vector<const char*> names;
  for (const std::string& destination : options.destinations) {
    writers.push_back(std::make_unique<GuardedWriter>(destination));
    writer_list.push_back(writers.back().get());
    names.push_back(writers.back()->partial().c_str());
  }
  writer_list.push_back(nullptr);
  names.push_back(nullptr);

  const double started = mp_getclock();
  const auto size = static_cast<std::uint64_t>(file_size(options.source.c_str()));
  unsigned long long bytes = 0;
  Digest digest = {};
  {
    SourcePass pass{ProgressLine("copying", size), options.verify, {}};
    ov_md5_init(&pass.md5);
    const int code = file_copy(options.source.c_str(), names.data(), true, bytes, nullptr,
                               writer_list.data(), on_block, &pass, true);
    if (cancel_requested()) {
      std::fputs("host: cancelled, nothing was changed\n", console_errors());
      return kCancelled;
    }
    if (code != 0) {
      return fail(copy_failure(code, options, writers));
    }
    ov_md5_finish(&pass.md5, digest.data());
  }
  if (bytes != size) {
    return fail("the source changed, or could not be read to its end: " + options.source);
  }
  const int result = finish(options, writers, size, digest);
  if (result == kDone) {
    std::printf("bytes %llu  destinations %zu  seconds %.2f\n", bytes, writers.size(),
                mp_getclock() - started);
  }
  return result;
}

int copy_command(const Arguments& arguments) {
  CopyOptions options;
  if (const int code = parse(arguments, options); code != kDone) {
    return code;
  }
  const FullLibrary library;
  if (!library.started()) {
    return busy();
  }
  if (const int code = resolve(options); code != kDone) {
    return code;
  }
  catch_cancel();
  return copy(options);
}

}  // namespace

const Command kCopyCommand = {
    "copy", "copy a file to one or more places, verified on request",
    "Usage: host copy [--verify] [--overwrite] SOURCE DESTINATION...\n"
    "\n"
    "Reads SOURCE once and writes it to up to 16 destinations. A destination that is a directory,\n"
    "or ends in a separator, receives the file under its own name; missing directories are made.\n"
    "\n"
    "  --verify     hash the source as it passes and read every destination back\n"
    "  --overwrite  replace destinations that exist\n"
    "\n"
    "The copy grows as DESTINATION.partial and takes its name only when it is complete (and\n"
    "verified), so an interrupted copy never looks whole and an old file is never lost. Ctrl-C\n"
    "stops it at once and removes what is not complete.\n"
    "Prints one line a destination, 'verified' or 'copied' and the path, then the totals.\n"
    "The exit code is 0 only if every byte arrived (with --verify: was read back the same).\n",
    copy_command};

}  // namespace host
