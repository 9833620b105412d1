#include "examples/host/ingest/plan.h"

#include <algorithm>
#include <set>
#include <utility>

#include "examples/host/ingest/names.h"

namespace host::ingest {
namespace {

class Planner {
 public:
  Planner(Lister& lister, std::string card, std::size_t root_bytes)
      : lister_(lister), card_(std::move(card)), root_bytes_(root_bytes) {}

  Plan take() {
    pending_.emplace_back();
    while (!pending_.empty()) {
      const std::string directory = std::move(pending_.back());
      pending_.pop_back();
      walk(directory);
    }
    const auto by_path = [](const auto& a, const auto& b) { return a.path < b.path; };
    std::sort(plan_.files.begin(), plan_.files.end(), by_path);
    std::sort(plan_.directories.begin(), plan_.directories.end(), by_path);
    std::sort(plan_.refusals.begin(), plan_.refusals.end(), by_path);
    std::sort(plan_.links.begin(), plan_.links.end());
    return std::move(plan_);
  }

 private:
  void walk(const std::string& directory) {
    std::vector<Entry> entries;
    const std::string problem =
        lister_.list(directory.empty() ? card_ : card_ + "\\" + directory, entries);
    if (!problem.empty()) {
      plan_.refusals.push_back({directory, "the directory cannot be read: " + problem});
      return;
    }
    std::sort(entries.begin(), entries.end(),
              [](const Entry& a, const Entry& b) { return a.name < b.name; });
    for (const Entry& entry : entries) {
      add(directory.empty() ? entry.name : directory + "\\" + entry.name, entry);
    }
  }

  // What is refused below a directory would be lost in silence, so it is said to be part of it.
  void add(const std::string& path, const Entry& entry) {
    if (entry.kind == EntryKind::kLink) {
      plan_.links.push_back(path);
      return;
    }
    if (std::string reason = problem(path, entry); !reason.empty()) {
      if (entry.kind == EntryKind::kDirectory) {
        reason += "; everything below it is refused with it";
      }
      plan_.refusals.push_back({path, std::move(reason)});
      return;
    }
    PlannedEntry planned{path, entry.size, entry.write_time, entry.creation_time, entry.attributes};
    if (entry.kind == EntryKind::kDirectory) {
      planned.size = 0;
      plan_.directories.push_back(std::move(planned));
      pending_.push_back(path);
    } else {
      plan_.bytes += entry.size;
      plan_.files.push_back(std::move(planned));
    }
  }

  std::string problem(const std::string& path, const Entry& entry) {
    if (!entry.is_name_exact) {
      return "it is no valid Unicode";
    }
    if (std::string reason = name_problem(entry.name); !reason.empty()) {
      return reason;
    }
    if (root_bytes_ + 1 + path.size() > kPathBytesMax) {
      return "its path would have more than " + std::to_string(kPathBytesMax) + " bytes";
    }
    if (!taken_.insert(folded(path)).second) {
      return "another name differs from it only by capital letters";
    }
    return {};
  }

  Lister& lister_;
  std::string card_;
  std::size_t root_bytes_;
  std::vector<std::string> pending_;
  std::set<std::string> taken_;
  Plan plan_;
};

}  // namespace

Plan make_plan(Lister& lister, const std::string& card, std::size_t root_bytes) {
  return Planner(lister, card, root_bytes).take();
}

}  // namespace host::ingest
