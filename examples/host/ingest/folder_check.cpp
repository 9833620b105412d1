#include "examples/host/ingest/folder_check.h"

#include <algorithm>
#include <utility>

#include "examples/host/console.h"
#include "examples/host/ingest/lanes.h"
#include "examples/host/ingest/names.h"
#include "examples/host/ingest/read_back.h"
#include "examples/host/ingest/storage.h"
#include "orsincore/threads.h"

namespace host::ingest {

FolderCheck::FolderCheck(std::string folder, const History& history, const FinishedFiles& fresh,
                         const std::set<std::string>& left_out)
    : folder_(std::move(folder)), history_(history), fresh_(fresh), left_out_(left_out) {}

std::string FolderCheck::carry_out(
    int jobs, const std::function<void(std::uint64_t, std::uint64_t)>& on_tick) {
  collect();
  const int lanes =
      static_cast<int>(std::min<std::size_t>(static_cast<std::size_t>(jobs), to_read_.size()));
  const std::size_t started = run_lanes("check lane", lanes, run_lane, this, lanes_at_work_,
                                        [this, &on_tick] { on_tick(bytes_read_, bytes_); });
  if (cancel_requested()) {
    return "stopped";
  }
  if (lanes > 0 && started == 0) {
    return "no thread could be started";
  }
  judge();
  return {};
}

// What is there, and which of it has to be read.
void FolderCheck::collect() {
  DiskLister lister;
  const Plan plan = make_plan(lister, folder_, folder_.size());
  for (const Refusal& refusal : plan.refusals) {
    problems.push_back({refusal.path, refusal.reason});
  }
  for (const PlannedEntry& directory : plan.directories) {
    if (!is_ignored(with_slashes(directory.path))) {
      manifest.directories.push_back({with_slashes(directory.path), directory.write_time});
    }
  }
  for (const PlannedEntry& entry : plan.files) {
    if (is_ignored(with_slashes(entry.path)) || left_out_.contains(entry.path)) {
      continue;
    }
    ManifestFile file;
    file.path = with_slashes(entry.path);
    file.size = entry.size;
    file.write_time = entry.write_time;
    if (const auto known = fresh_.find(entry.path); known != fresh_.end()) {
      file.xxh64 = known->second.hashes.xxh64;
      file.md5 = known->second.hashes.md5;
      file.hash_time = known->second.hash_time;
    } else {
      to_read_.push_back(manifest.files.size());
      bytes_ += entry.size;
    }
    manifest.files.push_back(std::move(file));
  }
  read_problems_.resize(manifest.files.size());
}

void FolderCheck::run_lane(void* self) {
  auto* const check = static_cast<FolderCheck*>(self);
  check->work();
  check->lanes_at_work_ -= 1;
}

void FolderCheck::work() {
  FileReader reader;
  for (std::size_t i = next_++; i < to_read_.size() && !cancel_requested(); i = next_++) {
    ManifestFile& file = manifest.files[to_read_[i]];
    ReadBack found = read_back(reader, folder_ + "\\" + with_backslashes(file.path),
                               file.size.value_or(0), true, bytes_read_);
    if (found.problem.empty()) {
      file.xxh64 = found.hashes.xxh64;
      file.md5 = found.hashes.md5;
      file.hash_time = now_ticks();
    }
    read_problems_[to_read_[i]] = std::move(found.problem);
  }
}

void FolderCheck::judge() {
  std::set<std::string> seen;
  for (std::size_t i = 0; i < manifest.files.size(); ++i) {
    ManifestFile& file = manifest.files[i];
    seen.insert(file.path);
    if (read_problems_[i].empty()) {
      judge_file(file);
    } else {
      problems.push_back({file.path, read_problems_[i]});
    }
  }
  // What could not be read has no hash to write down.
  std::erase_if(manifest.files, [](const ManifestFile& file) { return !file.xxh64; });
  for (const auto& [path, expected] : history_.expected) {
    if (!seen.contains(path) && !is_ignored(path) && !left_out_.contains(with_backslashes(path))) {
      missing.push_back(path);
    }
  }
}

void FolderCheck::judge_file(ManifestFile& file) {
  const auto found = history_.expected.find(file.path);
  if (found == history_.expected.end()) {
    file.xxh64_action = file.md5_action = Action::kOriginal;
    added.push_back(file.path);
    return;
  }
  const Expected& expected = found->second;
  if (!expected.xxh64 && !expected.md5) {
    problems.push_back({file.path, "its manifest holds no hash that can be checked here"});
    return;
  }
  const bool is_same = (!expected.xxh64 || expected.xxh64 == file.xxh64) &&
                       (!expected.md5 || expected.md5 == file.md5) &&
                       (!expected.size || expected.size == file.size);
  file.xxh64_action =
      is_same ? (expected.xxh64 ? Action::kVerified : Action::kOriginal) : Action::kFailed;
  file.md5_action =
      is_same ? (expected.md5 ? Action::kVerified : Action::kOriginal) : Action::kFailed;
  if (is_same) {
    verified += 1;
  } else {
    failed.push_back(file.path);
  }
}

}  // namespace host::ingest
