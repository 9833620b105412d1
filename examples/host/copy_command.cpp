// "copy": one source to up to 16 destinations in one read pass, verified on request.
#include <cstdint>
#include <cstdio>
#include <cstring>
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

// A destination that is a directory receives the source under its own name.
std::string destination_path(const std::string& typed, const std::string& source) {
  std::string path = full_path(typed);
  if (path.empty() || file_is_directory(path.c_str()) == 0) {
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
    } else if (argument.starts_with("--")) {
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
  if (source.empty() || file_exists(source.c_str()) == 0) {
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

const char* copy_failure(int code) {
  switch (code) {
    case -1:
      return "the source cannot be opened";
    case -2:
      return "a destination cannot be created";
    case -3:
      return "the source cannot be read";
    case -4:
      return "a destination path is not allowed";
    case -5:
      return "a destination directory cannot be created";
    case -8:
      return "a destination cannot be written (is the disk full?)";
    default:
      return "the copy failed";
  }
}

bool verify(const GuardedWriter& writer, md5_state_s& expected) {
  md5_state_s found;
  const int code = file_read_secure(writer.partial().c_str(), found, nullptr, &expected);
  if (code != 0) {
    std::fprintf(console_errors(), "host: verification failed (%d): %s\n", code,
                 writer.destination().c_str());
  }
  return code == 0;
}

int copy(const CopyOptions& options) {
  std::vector<std::unique_ptr<GuardedWriter>> writers;
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
  md5_state_s md5;
  {
    SourcePass pass{ProgressLine(size), options.verify, {}};
    ov_md5_init(&pass.md5);
    const int code = file_copy(options.source.c_str(), names.data(), true, bytes, nullptr,
                               writer_list.data(), on_block, &pass, true);
    if (cancel_requested()) {
      std::fputs("host: cancelled, nothing was changed\n", console_errors());
      return kCancelled;
    }
    if (code != 0) {
      return fail(copy_failure(code));
    }
    unsigned char digest[16];
    ov_md5_finish(&pass.md5, digest);
    md5 = pass.md5;
  }
  if (bytes != size) {
    return fail("the source changed while it was copied");
  }

  for (const auto& writer : writers) {
    if (options.verify && !verify(*writer, md5)) {
      return kFailed;
    }
    if (cancel_requested()) {
      std::fputs("host: cancelled, unfinished destinations were removed\n", console_errors());
      return kCancelled;
    }
    if (!writer->commit()) {
      return fail("cannot put the copy in place: " + writer->destination());
    }
    std::printf("%s  %s\n", options.verify ? "verified" : "copied", writer->destination().c_str());
  }
  const double seconds = mp_getclock() - started;
  std::printf("bytes %llu  destinations %zu  seconds %.2f\n", bytes, writers.size(), seconds);
  return kDone;
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
    "Reads SOURCE once and writes it to up to 16 destinations. A destination that is a directory\n"
    "receives the file under its own name; missing directories are made.\n"
    "\n"
    "  --verify     hash the source as it passes and read every destination back\n"
    "  --overwrite  replace destinations that exist\n"
    "\n"
    "The copy grows as DESTINATION.partial and takes its name only when it is complete (and\n"
    "verified), so an interrupted copy never looks whole and an old file is never lost.\n"
    "Prints one line a destination, 'verified' or 'copied' and the path, then the totals.\n"
    "The exit code is 0 only if every byte arrived (with --verify: was read back the same).\n",
    copy_command};

}  // namespace host
