#include "examples/host/ingest/job_setup.h"

#include <algorithm>
#include <map>
#include <optional>

#include "examples/host/ingest/names.h"
#include "examples/host/ingest/status_text.h"
#include "examples/host/ingest/storage.h"
#include "examples/host/paths.h"
#include "orsincore/files.h"

namespace host::ingest {
namespace {

// What the longest of our own names adds to the tree's path: a manifest on its way.
constexpr std::size_t kOwnNameBytes = 64;

// A root keeps its backslash as a path but not in front of names.
std::string without_end(std::string path) {
  while (path.ends_with('\\')) {
    path.pop_back();
  }
  return path;
}

// A whole drive is called after its label, as the camera or the user named it.
std::string card_name(const std::string& card) {
  const std::string path = without_end(card);
  if (!path.ends_with(':')) {
    return last_component(path);
  }
  const std::string label = volume_label(path + "\\");
  return name_problem(label).empty() ? label : path.substr(0, 1);
}

bool is_below(const std::string& path, const std::string& folder) {
  return folded(path + "\\").starts_with(folded(without_end(folder) + "\\"));
}

std::string add_destination(const std::string& typed, Setup& setup) {
  const std::string folder = full_path(typed);
  if (folder.empty()) {
    return "not a usable path: " + typed;
  }
  auto destination = std::make_unique<Destination>(folder, setup.card_name);
  if (destination->tree().size() + setup.card_name.size() + kOwnNameBytes > kPathBytesMax) {
    return "the path is too long: " + typed;
  }
  if (is_below(folder, setup.card) || is_below(setup.card, destination->tree()) ||
      is_same_file(destination->tree(), setup.card)) {
    return "the destination lies on the card: " + typed;
  }
  for (const auto& other : setup.destinations) {
    if (folded(other->folder()) == folded(folder) || is_same_file(other->folder(), folder)) {
      return "destination given twice: " + typed;
    }
  }
  setup.destinations.push_back(std::move(destination));
  return {};
}

// The folder itself or, as long as it is not there, the one that it is going to be made in.
std::string existing_parent(std::string path) {
  while (!path.empty() && file_is_directory(path.c_str()) == 0) {
    const std::size_t separator = path.rfind('\\');
    if (separator == std::string::npos) {
      return {};
    }
    path.resize(separator);
    if (path.ends_with(':')) {
      return path + "\\";
    }
  }
  return path;
}

// What the plan adds to a destination, in whole clusters of the usual size.
std::uint64_t bytes_needed(const Plan& plan, const Destination& destination) {
  constexpr std::uint64_t kCluster = 4096;
  const bool is_new = file_is_directory(destination.tree().c_str()) == 0;
  std::uint64_t bytes = plan.directories.size() * kCluster;
  for (const PlannedEntry& file : plan.files) {
    const auto there = is_new ? std::nullopt : facts_of(destination.path_of(file.path));
    if (!there || there->size != file.size) {
      bytes += (file.size + kCluster - 1) / kCluster * kCluster;
    }
  }
  return bytes;
}

}  // namespace

std::string set_up(const Options& options, Setup& setup) {
  setup.card = without_end(full_path(options.card));
  if (setup.card.empty()) {
    return "not a usable path: " + options.card;
  }
  if (file_is_directory((setup.card + "\\").c_str()) == 0) {
    return "no such folder: " + options.card;
  }
  setup.card_name = card_name(setup.card);
  for (const std::string& typed : options.destinations) {
    if (std::string problem = add_destination(typed, setup); !problem.empty()) {
      return problem;
    }
  }
  return {};
}

std::size_t longest_root(const Setup& setup) {
  std::size_t bytes = setup.card.size();
  for (const auto& destination : setup.destinations) {
    bytes = std::max(bytes, destination->tree().size());
  }
  return bytes;
}

// Destinations on one volume need their room together; the later ones find what the earlier leave.
void compare_space(const Plan& plan, const Setup& setup) {
  std::map<std::uint64_t, std::uint64_t> promised;  // By volume.
  for (const auto& destination : setup.destinations) {
    const std::string folder = existing_parent(destination->folder());
    const auto available = folder.empty() ? std::nullopt : free_space(folder);
    if (!available) {
      destination->end("cannot be reached: " +
                       (folder.empty() ? "there is no such drive" : system_reason()));
      continue;
    }
    const std::uint64_t needed = bytes_needed(plan, *destination);
    const auto volume = volume_of(folder);
    const std::uint64_t taken = volume ? promised[*volume] : 0;
    if (*available < taken || *available - taken < needed) {
      destination->end("not enough room: " + size_text(needed) + " needed, " +
                       size_text(*available - std::min(taken, *available)) + " free");
    } else if (volume) {
      promised[*volume] += needed;
    }
  }
}

}  // namespace host::ingest
