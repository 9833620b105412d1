#include "examples/host/ingest/copy_run.h"

#include <algorithm>
#include <string>

#include "examples/host/console.h"
#include "examples/host/ingest/lanes.h"
#include "orsincore/files.h"
#include "orsincore/memory.h"
#include "orsincore/threads.h"

namespace host::ingest {
namespace {

constexpr std::size_t kLargeAtOnce = kRings + 1;  // One may be read back meanwhile.

}  // namespace

CopyRun::CopyRun(SharedRun& run, const Plan& plan, std::vector<FileRecord>& records)
    : run_(run), plan_(plan), records_(records), started_(mp_getclock()) {
  for (std::size_t i = 0; i < plan.files.size(); ++i) {
    (plan.files[i].size > kSmallFileBytes ? large_ : small_).push_back(i);
  }
}

CopyRun::~CopyRun() {
  for (void* const memory : memory_) {
    os_free(memory);
  }
}

std::string CopyRun::carry_out(int jobs, const std::function<void(const Status&)>& on_tick) {
  buffers_ = allocate(static_cast<std::size_t>(jobs) * kSmallFileBytes);
  bool has_memory = buffers_ != nullptr;
  for (Ring& ring : run_.rings) {
    // Without large files nobody looks at it.
    ring.memory = large_.empty() ? nullptr : allocate(kRingBlocks * kRingBlockBytes);
    has_memory = has_memory && (large_.empty() || ring.memory != nullptr);
  }
  if (!has_memory) {
    return "not enough memory";
  }
  make_directories();
  const std::size_t started =
      run_lanes("ingest lane", jobs, run_lane, this, lanes_at_work_, [this, &on_tick] {
        on_tick(status());
        for (Destination* destination : run_.destinations) {
          destination->flush(false);
        }
      });
  if (started == 0) {
    return "no thread could be started";
  }
  finish_directories();
  on_tick(status());
  return {};
}

unsigned char* CopyRun::allocate(std::size_t bytes) {
  void* const memory = os_alloc(bytes, 0);
  if (memory != nullptr) {
    memory_.push_back(memory);
  }
  return static_cast<unsigned char*>(memory);
}

Status CopyRun::status() const {
  Status status;
  status.bytes_done = run_.bytes_read;
  status.bytes = plan_.bytes;
  status.files_done = run_.files_done;
  status.files = plan_.files.size();
  status.seconds = mp_getclock() - started_;
  status.work = plan_.bytes;
  status.work_done = std::min(status.bytes_done, plan_.bytes);
  if (run_.verify) {
    status.work += plan_.bytes * run_.destinations.size();
    status.work_done += run_.bytes_compared;
  }
  for (const Destination* destination : run_.destinations) {
    status.written.push_back(destination->bytes_written);
  }
  return status;
}

void CopyRun::make_directories() {
  for (Destination* destination : run_.destinations) {
    for (const PlannedEntry& directory : plan_.directories) {
      const std::string path = destination->path_of(directory.path);
      const bool is_there = !destination->is_new() && file_is_directory(path.c_str()) != 0;
      if (destination->is_ended() || cancel_requested()) {
        break;
      }
      if (!is_there && file_create_directory(path.c_str(), false) < 0) {
        destination->end("cannot make the directory " + path + ": " + system_reason());
      }
    }
  }
}

// What is made inside a directory changes its time, so the deepest are finished first.
void CopyRun::finish_directories() {
  for (Destination* destination : run_.destinations) {
    for (auto directory = plan_.directories.rbegin(); directory != plan_.directories.rend();
         ++directory) {
      if (destination->is_ended() || cancel_requested()) {
        break;
      }
      const std::string path = destination->path_of(directory->path);
      if (!apply_directory_facts(path, *directory)) {
        run_.add_problem(path, "its times and attributes cannot be set: " + system_reason());
        run_.files_failed += 1;
      }
    }
  }
}

void CopyRun::run_lane(void* self) {
  auto* const run = static_cast<CopyRun*>(self);
  run->work();
  run->lanes_at_work_ -= 1;
}

void CopyRun::work() {
  FileReader reader;
  unsigned char* buffer = nullptr;
  {
    const Guard guard(mutex_.get());
    buffer = buffers_ + static_cast<std::size_t>(lanes_started_++) * kSmallFileBytes;
  }
  std::size_t index = 0;
  bool is_large = false;
  while (take_file(index, is_large)) {
    FileJob(run_, plan_.files[index], index, records_[index], reader, buffer).carry_out();
    if (is_large) {
      const Guard guard(mutex_.get());
      large_at_work_ -= 1;
    }
  }
}

// Large files as long as there are not enough of them at work, so that no lane is left alone with
// the last of them; small ones beside.
bool CopyRun::take_file(std::size_t& index, bool& is_large) {
  const bool is_over =
      cancel_requested() || std::all_of(run_.destinations.begin(), run_.destinations.end(),
                                        [](const Destination* to) { return to->is_ended(); });
  const Guard guard(mutex_.get());
  const bool has_small = next_small_ < small_.size();
  is_large = next_large_ < large_.size() && (large_at_work_ < kLargeAtOnce || !has_small);
  if (is_over || (!is_large && !has_small)) {
    return false;
  }
  if (is_large) {
    large_at_work_ += 1;
    index = large_[next_large_++];
  } else {
    index = small_[next_small_++];
  }
  return true;
}

}  // namespace host::ingest
