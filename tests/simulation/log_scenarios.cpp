// The log file, opened again and again, with others who hold it.
//
// What one host has written is there when the next has started, in the log itself or in its latest
// generation. Older ones may go when a step of the rotation fails: it goes on with the next, as given.
#include <cstdio>
#include <optional>
#include <string>
#include <utility>

#include "base/program_paths.h"
#include "orsincore/log.h"
#include "startup/log_file.h"
#include "tests/simulation/library_session.h"
#include "tests/simulation/scenario.h"

namespace orsin::simulation {
namespace {

constexpr char kApplication[] = "Take";

// In the log of any generation, wherever it is.
bool is_kept(const Node& directory, const std::string& line) {
  for (const auto& [name, node] : directory.entries) {
    if (node->is_directory ? is_kept(*node, line)
                           : node->content.text().find(line) != std::string::npos) {
      return true;
    }
  }
  return false;
}

bool is_on_disk(Machine& it, const std::string& line) {
  for (const char* root : {"C:\\", "D:\\"}) {
    const auto node = it.disk.find(root);
    if (node != nullptr && is_kept(*node, line)) {
      return true;
    }
  }
  return false;
}

// A viewer, or a predecessor that has not ended yet: nobody can rename the log meanwhile.
std::shared_ptr<OpenedFile> hold_log(Pass& pass) {
  port::OpenMode mode;
  mode.read = true;
  mode.write = pass.choice.one_in(2);
  mode.share_read = true;
  std::shared_ptr<OpenedFile> file;
  bool existed = false;
  static_cast<void>(pass.it.disk.open(program_paths().log_file, mode, file, existed));
  return file;
}

// One life of a host.
void start_and_write(Pass& pass, const std::string& line) {
  {
    const Inside library;
    set_paths_and_open_log(kApplication, nullptr, pass.choice.one_in(4));
    msginfo("%s", line.c_str());
  }
  if (std::FILE* stream = std::exchange(pass.it.standard_error, nullptr)) {
    const Inside library;
    msg_close();
    std::fclose(stream);
  }
}

}  // namespace

void open_log_again(Pass& pass) {
  static int lives = 0;
  const auto starts = pass.choice.between(1, 4);
  const LibrarySession session;
  std::string before;  // On the disk, of the life before; empty: none.
  for (std::uint64_t i = 0; i < starts; ++i) {
    std::optional<std::shared_ptr<OpenedFile>> holder;
    if (pass.choice.one_in(3)) {
      holder = hold_log(pass);
    }
    const std::string line = "this is life number " + std::to_string(++lives) + ".";
    start_and_write(pass, line);
    const bool is_there = is_on_disk(pass.it, line);
    pass.expect_success(is_there || holder, "the log's line", lives);
    ORSIN_EXPECT(before.empty() || is_on_disk(pass.it, before), "lost from the log: %s",
                 before.c_str());
    before = is_there ? line : "";
  }
}

}  // namespace orsin::simulation
