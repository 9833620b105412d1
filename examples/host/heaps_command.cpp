// "heaps": the standard heaps under an editor's load, printed and drawn.
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "examples/host/command.h"
#include "examples/host/console.h"
#include "examples/host/editor_workload.h"
#include "examples/host/heap_chart.h"
#include "examples/host/paths.h"
#include "orsincore/log.h"
#include "orsincore/memory.h"
#include "orsincore/text.h"

namespace host {
namespace {

struct HeapsOptions {
  std::string svg;  // Full paths; empty when not asked for.
  std::string config;
};

// A folder with nothing but the configuration file, as the current one: that is where the library
// looks for "memory.cfg" first.
class ConfigurationFolder {
 public:
  explicit ConfigurationFolder(const std::string& configuration) {
    namespace fs = std::filesystem;
    std::error_code error;
    before_ = fs::current_path(error);
    folder_ = fs::temp_directory_path(error) / ("orsin-heaps-" + std::to_string(process_id()));
    fs::create_directory(folder_, error);
    const std::u8string source(configuration.begin(), configuration.end());
    is_ready_ = fs::copy_file(fs::path(source), folder_ / "memory.cfg",
                              fs::copy_options::overwrite_existing, error);
    if (is_ready_) {
      fs::current_path(folder_, error);
      is_ready_ = !error;
    }
  }
  ~ConfigurationFolder() {
    std::error_code error;
    std::filesystem::current_path(before_, error);
    std::filesystem::remove_all(folder_, error);
  }
  ConfigurationFolder(const ConfigurationFolder&) = delete;
  ConfigurationFolder& operator=(const ConfigurationFolder&) = delete;

  [[nodiscard]] bool is_ready() const { return is_ready_; }

 private:
  std::filesystem::path before_;
  std::filesystem::path folder_;
  bool is_ready_ = false;
};

int parse(const Arguments& arguments, HeapsOptions& options) {
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& name = arguments[i];
    if (name != "--svg" && name != "--config") {
      return bad_usage(kHeapsCommand, "unexpected " + name);
    }
    if (++i == arguments.size()) {
      return bad_usage(kHeapsCommand, name + " needs a file");
    }
    const std::string path = full_path(arguments[i]);
    if (path.empty()) {
      return bad_usage(kHeapsCommand, "no usable path: " + arguments[i]);
    }
    (name == "--svg" ? options.svg : options.config) = path;
  }
  return kDone;
}

// Makes the heaps with the log on standard output, so that the "Memory setup" block is part of it.
bool make_heaps(const HeapsOptions& options, int& result) {
  std::optional<ConfigurationFolder> folder;
  if (!options.config.empty()) {
    folder.emplace(options.config);
    if (!folder->is_ready()) {
      result = fail("cannot read the configuration " + options.config);
      return false;
    }
  }
  msg_close();
  msg_open(stdout);
  const bool are_made = mem_alloc_pools() != 0;
  msg_setlevel(1);  // Warnings stay, closing lines do not.
  result = are_made ? kDone : fail("the heaps could not be made");
  return are_made;
}

std::string tally_text(const EditorWorkload::Tally& tally) {
  return std::to_string(tally.moved) + " buffers moved, " + std::to_string(tally.discarded) +
         " discarded, " + std::to_string(tally.live) + " alive";
}

bool write_file(const std::string& path, const std::string& text) {
  std::FILE* file = ov_utf8_fopen(path.c_str(), "wb");
  if (file == nullptr) {
    return false;
  }
  const bool is_written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
  return std::fclose(file) == 0 && is_written;
}

void show(const Moment& moment) {
  std::printf("\n%s", describe(moment).c_str());
}

int run_workload(const HeapsOptions& options) {
  constexpr unsigned int kSeed = 20;
  EditorWorkload editor(kSeed);
  std::vector<Moment> moments;
  if (!editor.play()) {
    return fail("the heaps are too small for this film");
  }
  std::printf("\n%s", legend_line().c_str());
  moments.push_back(take_moment("At work", "a film has been played and cut"));
  show(moments.back());

  if (editor.load_panorama() == 0) {
    return fail("the Image heap has no gaps to join");
  }
  EditorWorkload::Tally tally = editor.take_stock();
  moments.push_back(take_moment("After a compaction",
                                "an image fits no gap of the Image heap; " + tally_text(tally)));
  show(moments.back());

  if (!editor.open_next_scene()) {
    return fail("the heaps are too small for the next scene");
  }
  tally = editor.take_stock();
  moments.push_back(
      take_moment("After a discard", "the next scene needs room everywhere; " + tally_text(tally)));
  show(moments.back());

  std::printf("\nStamps: %zu of the buffers damaged\n", tally.damaged);
  if (tally.damaged != 0) {
    return fail("a buffer has lost its contents");
  }
  if (!options.svg.empty()) {
    if (!write_file(options.svg, draw_chart(moments))) {
      return fail("cannot write " + options.svg);
    }
    std::printf("Picture: %s\n", options.svg.c_str());
  }
  return kDone;
}

int heaps(const Arguments& arguments) {
  HeapsOptions options;
  int result = parse(arguments, options);
  if (result != kDone) {
    return result;
  }
  const FastLibrary library;
  return make_heaps(options, result) ? run_workload(options) : result;
}

}  // namespace

const Command kHeapsCommand = {
    "heaps", "play an editor's memory load and draw the heaps",
    "Usage: host heaps [--svg FILE] [--config FILE]\n"
    "\n"
    "Makes the four standard heaps, plays a film through them, and shows them three times: at work,\n"
    "after a compaction, and after a discard.\n"
    "\n"
    "  --svg FILE     also draw them, for a browser; an existing file is replaced\n"
    "  --config FILE  size the heaps from this file instead of \"memory.cfg\"\n",
    heaps};

}  // namespace host
