#include "examples/host/ingest/destination.h"

#include <utility>
#include <vector>

#include "examples/host/paths.h"
#include "orsincore/files.h"
#include "orsincore/threads.h"

namespace host::ingest {
namespace {

constexpr std::uint64_t kStateBytesMax = std::uint64_t{1} << 30;
constexpr std::size_t kNotesBytes = 64 * 1024;
constexpr double kNotesSeconds = 0.25;

bool ensure_directory(const std::string& path) {
  return file_is_directory(path.c_str()) != 0 || file_create_directory(path.c_str(), true) >= 0;
}

}  // namespace

std::string lock_path(const std::string& folder) {
  return folder + (folder.ends_with('\\') ? "" : "\\") + "ingest.lock";
}

Destination::Destination(std::string folder, const std::string& card_name)
    : folder_(std::move(folder)),
      tree_(folder_ + (folder_.ends_with('\\') ? "" : "\\") + card_name),
      staging_(tree_ + ".ingest") {}

OpenResult Destination::open(bool resume) {
  if (!ensure_directory(folder_)) {
    end("cannot make the folder: " + system_reason());
    return OpenResult::kFailed;
  }
  if (const OpenResult result = lock(); result != OpenResult::kOpen) {
    return result;
  }
  is_new_ = !facts_of(tree_);
  if (!ensure_directory(tree_) || !ensure_directory(staging_)) {
    end("cannot make the folder of the copy: " + system_reason());
    return OpenResult::kFailed;
  }
  if (!open_state(resume)) {
    return OpenResult::kFailed;
  }
  remove_half_files();
  return OpenResult::kOpen;
}

OpenResult Destination::lock() {
  const OpenResult result = lock_.open(lock_path(folder_), true);
  if (result == OpenResult::kFailed) {
    end("cannot write here: " + system_reason());
  }
  return result;
}

bool Destination::open_state(bool resume) {
  const OpenResult result = state_.open(staging_ + "\\state", false);
  if (result != OpenResult::kOpen) {
    end("cannot keep the state of the run here: " + system_reason());
    return false;
  }
  has_state_ = true;
  std::string text;
  if (resume) {
    const auto content = state_.read(kStateBytesMax);
    if (!content) {
      end("cannot read the state of the last run: " + system_reason());
      return false;
    }
    text = *content;
    known = read_state(text);
  }
  // A torn last line would swallow the next one.
  const bool is_whole = text.starts_with(kStateHeader) && text.ends_with('\n');
  if (is_whole) {
    return true;
  }
  std::string fresh(kStateHeader);
  for (const auto& [path, file] : known) {
    fresh += state_line(path, file);
  }
  if (!state_.clear() || !state_.add(fresh)) {
    end("cannot keep the state of the run here: " + system_reason());
    return false;
  }
  return true;
}

// The lock is ours, so these are of a run that is over.
void Destination::remove_half_files() const {
  DiskLister lister;
  std::vector<Entry> entries;
  if (!lister.list(staging_, entries).empty()) {
    return;  // A half file that stays is written over.
  }
  for (const Entry& entry : entries) {
    if (entry.name.ends_with(".part")) {
      const std::string path = staging_ + "\\" + entry.name;
      make_writable(path);
      file_delete(path.c_str());
    }
  }
}

void Destination::close(bool complete) {
  flush(true);
  state_.close();
  if (has_state_) {
    remove_half_files();
  }
  if (complete && !is_ended()) {
    file_delete((staging_ + "\\state").c_str());
    file_delete(staging_.c_str());
  }
  lock_.close();
}

void Destination::end(const std::string& reason) {
  const Guard guard(mutex_.get());
  if (reason_.empty()) {
    reason_ = reason;
  }
  is_ended_.store(true);
}

std::string Destination::reason() {
  const Guard guard(mutex_.get());
  return reason_;
}

void Destination::record(const std::string& path, const FinishedFile& file) {
  {
    const Guard guard(mutex_.get());
    notes_ += state_line(path, file);
    finished_.insert_or_assign(path, file);
  }
  flush(false);
}

FinishedFiles Destination::take_finished() {
  const Guard guard(mutex_.get());
  return finished_;
}

void Destination::flush(bool force) {
  bool is_written = true;
  {
    const Guard guard(mutex_.get());
    const double now = mp_getclock();
    if (notes_.empty() || (!force && notes_.size() < kNotesBytes && now - noted_ < kNotesSeconds)) {
      return;
    }
    is_written = state_.add(notes_);
    notes_.clear();
    noted_ = now;
  }
  if (!is_written) {
    end("cannot keep the state of the run here: " + system_reason());
  }
}

}  // namespace host::ingest
