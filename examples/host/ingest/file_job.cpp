#include "examples/host/ingest/file_job.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <functional>

#include "examples/host/console.h"
#include "examples/host/ingest/alignment.h"
#include "examples/host/ingest/read_back.h"
#include "examples/host/ingest/storage.h"
#include "examples/host/paths.h"
#include "orsincore/files.h"
#include "orsincore/io.h"
#include "orsincore/threads.h"

namespace host::ingest {
namespace {

constexpr unsigned int kNoTimeOut = 0xFFFFFFFF;

// Some volumes keep times in steps of two seconds.
bool is_same_time(std::uint64_t a, std::uint64_t b) {
  constexpr std::uint64_t kStep = 20'000'000;
  return (a > b ? a - b : b - a) < kStep;
}

struct HashWork {
  Md5Hasher md5;
  XxhHasher xxh64;
};

// A part of a job of the executor: the two hashes side by side. Files that are hashed at the same
// time begin at different workers, for MD5 takes nearly all of the time.
void hash_part(HashWork* work, const Block* block, const std::size_t* turn) {
  const auto parts = static_cast<std::size_t>(std::max(smp_numprocs(), 1));
  const auto part = static_cast<std::size_t>(std::max(smp_id(), 0));
  if (part == *turn % parts) {
    work->md5.add(block->data, block->bytes);
  }
  if (part == (*turn + 1) % parts) {
    work->xxh64.add(block->data, block->bytes);
  }
}

// A thread that runs a function until it returns.
class Helper {
 public:
  explicit Helper(const char* name, std::function<void()> work)
      : work_(std::move(work)), thread_(mp_start_thread(name, run, this)) {}
  ~Helper() {
    if (is_running()) {
      mp_join_thread(thread_, kNoTimeOut);
    }
  }
  Helper(const Helper&) = delete;
  Helper& operator=(const Helper&) = delete;

  [[nodiscard]] bool is_running() const { return thread_ != 0xFFFFFFFF; }

 private:
  static void run(void* self) { static_cast<Helper*>(self)->work_(); }

  std::function<void()> work_;  // Before the thread, which runs it.
  unsigned int thread_;
};

}  // namespace

void SharedRun::add_problem(const std::string& what, const std::string& reason) {
  const Guard guard(problems_mutex.get());
  problems.push_back({what, reason});
}

void FileJob::carry_out() {
  choose_targets();
  if (targets_.empty()) {
    run_.bytes_read += file_.size;
    run_.files_done += 1;
    return;
  }
  const std::string problem = read_source();
  close_parts(problem.empty());
  if (!problem.empty()) {
    for (Target& target : targets_) {
      drop_part(target);
    }
    if (!cancel_requested()) {
      run_.add_problem(file_.path, problem);
      run_.files_failed += 1;
    }
    return;
  }
  record_.hashes = hashes_;
  for (Target& target : targets_) {
    settle(target);
  }
  run_.files_done += 1;
}

void FileJob::choose_targets() {
  targets_.reserve(run_.destinations.size());  // Helpers hold on to them.
  for (Destination* destination : run_.destinations) {
    if (!destination->is_ended()) {
      choose(*destination);
    }
  }
}

// Finished before, as long as neither the card's file nor the copy has changed since.
bool FileJob::is_finished(const Destination& destination, bool& replaces) const {
  const auto known = destination.known.find(file_.path);
  if (known == destination.known.end()) {
    return false;
  }
  const auto there = facts_of(destination.path_of(file_.path));
  const bool is_ours = there && there->kind == EntryKind::kFile &&
                       there->size == known->second.size &&
                       is_same_time(there->write_time, known->second.write_time);
  const bool is_same =
      known->second.size == file_.size && is_same_time(known->second.write_time, file_.write_time);
  replaces = is_ours && !is_same && !known->second.is_sealed;
  return is_ours && is_same;
}

void FileJob::choose(Destination& destination) {
  Target target;
  target.destination = &destination;
  if (!destination.is_new()) {
    if (is_finished(destination, target.replaces)) {
      const FinishedFile& finished = destination.known.find(file_.path)->second;
      record_.hashes = finished.hashes;
      destination.record(file_.path, finished);
      destination.files_there += 1;
      return;
    }
    const auto there = facts_of(destination.path_of(file_.path));
    if (there && !target.replaces) {
      target.is_there = there->kind == EntryKind::kFile && there->size == file_.size;
      if (!target.is_there) {
        fail_target(target, "something else of this name is there");
        return;
      }
    }
  }
  targets_.push_back(target);
}

void FileJob::create_parts() {
  for (Target& target : targets_) {
    if (target.is_there || target.has_failed) {
      continue;
    }
    const std::string path = target.destination->part_of(index_);
    target.part = io_create64(path.c_str(), false, 0);
    target.has_part = target.part != io_invalid_handle();
    if (!target.has_part) {
      target.has_failed = true;
      target.destination->end("cannot create " + path + ": " + system_reason());
    }
  }
}

bool FileJob::wants_bytes() const {
  return std::any_of(targets_.begin(), targets_.end(),
                     [](const Target& target) { return !target.destination->is_ended(); });
}

// Empty, or why the file cannot be had from the card.
std::string FileJob::read_source() {
  if (!reader_.open(run_.card + "\\" + file_.path)) {
    return "cannot open: " + system_reason();
  }
  std::string problem =
      reader_.size() == file_.size ? copy() : "it has changed since the plan was made";
  reader_.close();
  hash_time_ = now_ticks();
  return problem;
}

std::string FileJob::copy() {
  if (file_.size <= kSmallFileBytes) {
    return copy_small();
  }
  const std::size_t turn = run_.large_files++ % kRings;
  const Guard one_at_a_time(run_.rings[turn].in_use.get());
  return copy_large(run_.rings[turn].memory, turn);
}

std::string FileJob::copy_small() {
  const auto bytes = static_cast<std::size_t>(file_.size);
  if (!reader_.read(buffer_, bytes)) {
    return reader_.reason();
  }
  run_.bytes_read += bytes;
  std::memset(buffer_ + bytes, 0, aligned(bytes) - bytes);  // Not what the last file held there.
  HashWork work;
  work.md5.add(buffer_, bytes);
  work.xxh64.add(buffer_, bytes);
  hashes_ = {work.xxh64.digest(), work.md5.digest()};
  create_parts();
  for (Target& target : targets_) {
    if (cancel_requested()) {
      return "stopped";
    }
    if (bytes > 0) {
      write_part(target, buffer_, 0, bytes);
    }
  }
  return {};
}

std::string FileJob::copy_large(unsigned char* memory, std::size_t turn) {
  create_parts();
  BlockRing ring(memory, kRingBlockBytes, kRingBlocks, targets_.size() + 1);
  std::deque<Helper> helpers;
  helpers.emplace_back("ingest hasher", [this, &ring, turn] { run_hasher(ring, turn); });
  for (std::size_t i = 0; i < targets_.size(); ++i) {
    helpers.emplace_back("ingest writer",
                         [this, &ring, i] { run_writer(targets_[i], ring, i + 1); });
  }
  const bool all_run = std::all_of(helpers.begin(), helpers.end(),
                                   [](const Helper& helper) { return helper.is_running(); });
  std::string problem = all_run ? fill_ring(ring) : "cannot start a thread";
  if (!problem.empty()) {
    ring.stop();
  }
  return problem;  // The helpers are waited for here.
}

std::string FileJob::fill_ring(BlockRing& ring) {
  for (std::uint64_t left = file_.size; left > 0;) {
    unsigned char* const block = ring.empty_block();
    const auto bytes = static_cast<std::size_t>(std::min<std::uint64_t>(kRingBlockBytes, left));
    if (block == nullptr) {
      return "stopped";
    }
    if (!reader_.read(block, bytes)) {
      return reader_.reason();
    }
    if (cancel_requested()) {
      return "stopped";
    }
    std::memset(block + bytes, 0, aligned(bytes) - bytes);
    ring.publish(bytes);
    left -= bytes;
    run_.bytes_read += bytes;
    if (!wants_bytes()) {
      return "no destination is left";
    }
  }
  ring.finish();
  return {};
}

void FileJob::run_hasher(BlockRing& ring, std::size_t turn) {
  HashWork work;
  Block block;
  while (ring.next(0, block)) {
    smp_exec(reinterpret_cast<void (*)()>(hash_part), &work, &block, &turn, nullptr, nullptr,
             nullptr);
  }
  hashes_ = {work.xxh64.digest(), work.md5.digest()};
}

void FileJob::run_writer(Target& target, BlockRing& ring, std::size_t user) {
  std::uint64_t offset = 0;
  Block block;
  while (!target.is_there && !target.has_failed && ring.next(user, block)) {
    write_part(target, block.data, offset, block.bytes);
    offset += block.bytes;
  }
  ring.leave(user);
}

// Writes whole units; closing cuts the last one.
void FileJob::write_part(Target& target, const unsigned char* data, std::uint64_t offset,
                         std::size_t bytes) {
  target.has_failed = target.has_failed || target.destination->is_ended();
  if (target.is_there || target.has_failed) {
    return;
  }
  if (!io_write64(target.part, data, static_cast<long long>(offset), aligned(bytes))) {
    target.has_failed = true;
    target.destination->end("cannot write " + target.destination->path_of(file_.path) + ": " +
                            system_reason());
    return;
  }
  target.destination->bytes_written += bytes;
}

void FileJob::close_parts(bool keep) {
  for (Target& target : targets_) {
    if (!target.has_part) {
      continue;
    }
    const bool is_whole = keep && !target.has_failed;
    if (is_whole &&
        (!io_set_filesize64(target.part, file_.size) || !apply_facts(target.part, file_))) {
      target.has_failed = true;
      target.destination->end("cannot finish " + target.destination->path_of(file_.path) + ": " +
                              system_reason());
    }
    io_close64(target.part);
  }
}

// Compares and puts in place.
void FileJob::settle(Target& target) {
  Destination& destination = *target.destination;
  const std::string name = destination.path_of(file_.path);
  std::string problem;
  if (target.has_failed) {
    drop_part(target);
    return;
  }
  if (target.is_there || run_.verify) {
    problem = comparison_problem(target.is_there ? name : destination.part_of(index_));
  }
  if (!problem.empty()) {
    drop_part(target);
    if (!cancel_requested()) {
      fail_target(target, problem);
    }
    return;
  }
  if (!target.is_there && !rename_file(destination.part_of(index_), name, target.replaces)) {
    problem = "cannot take its name: " + system_reason();
    drop_part(target);
    fail_target(target, problem);
    return;
  }
  (target.is_there ? destination.files_there : destination.files_written) += 1;
  destination.record(file_.path, {file_.size, file_.write_time, hashes_, hash_time_});
}

// Empty, or why what stands there is not what was read.
std::string FileJob::comparison_problem(const std::string& path) {
  const ReadBack found = read_back(reader_, path, file_.size, false, run_.bytes_compared);
  if (!found.problem.empty()) {
    return found.problem;
  }
  return found.hashes.xxh64 == hashes_.xxh64 ? "" : "what is there reads back differently";
}

void FileJob::drop_part(Target& target) {
  if (target.has_part) {
    const std::string path = target.destination->part_of(index_);
    make_writable(path);
    file_delete(path.c_str());
    target.has_part = false;
  }
}

void FileJob::fail_target(Target& target, const std::string& reason) {
  target.has_failed = true;
  run_.add_problem(target.destination->path_of(file_.path), reason);
  run_.files_failed += 1;
}

}  // namespace host::ingest
