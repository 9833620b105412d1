// A card copied by ingest, against what one would write over the system's own calls: CopyFileExW to
// each destination, and one more read of the source for its MD5 and XXH64; to verify, a read of each
// copy past the cache for its MD5. Same hashes, same functions for them, one file after the other.
//
// Two cards: 20,000 files of 4 KB to 200 KB, and 12 of 256 MiB; to one destination and to three.
// ORSIN_BENCH_SHARE=10 makes them a tenth of that. A good result: 1.5 times as fast without
// verification, 2 times with it to three destinations. xcopy, which hashes nothing, shows what the
// copying alone costs; robocopy is not there under Wine.
#include "base/win/windows.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "bench/file_cache.h"
#include "examples/host/console.h"
#include "examples/host/ingest/copy_run.h"
#include "examples/host/ingest/hashes.h"
#include "examples/host/ingest/options.h"
#include "orsincore/startup.h"

namespace {

using namespace host::ingest;
namespace fs = std::filesystem;

constexpr std::size_t kPiece = 1 << 20;

std::uint64_t share() {
  const char* const text = std::getenv("ORSIN_BENCH_SHARE");
  const long value = text != nullptr ? std::strtol(text, nullptr, 10) : 1;
  return value > 0 ? static_cast<std::uint64_t>(value) : 1;
}

const fs::path& scratch() {
  static const fs::path folder = [] {
    const char* const named = std::getenv("ORSIN_BENCH_SCRATCH");
    return (named != nullptr ? fs::path(named) : fs::temp_directory_path()) / "ingest";
  }();
  return folder;
}

void write_file(const fs::path& path, std::uint64_t size, unsigned& random) {
  std::vector<unsigned char> bytes(static_cast<std::size_t>(size));
  for (unsigned char& byte : bytes) {
    random = random * 1664525U + 1013904223U;
    byte = static_cast<unsigned char>(random >> 24);
  }
  std::FILE* const file = _wfopen(path.c_str(), L"wb");
  std::fwrite(bytes.data(), 1, bytes.size(), file);
  std::fclose(file);
}

// Made once; a hundred files a folder.
fs::path card(bool is_small) {
  const fs::path folder = scratch() / (is_small ? "small" : "large");
  if (fs::exists(folder)) {
    return folder;
  }
  unsigned random = 1;
  const std::uint64_t count = (is_small ? 20'000 : 12) / share();
  for (std::uint64_t i = 0; i < count; ++i) {
    const fs::path place = folder / std::to_string(i / 100);
    fs::create_directories(place);
    random = random * 1664525U + 1013904223U;
    const std::uint64_t size = is_small ? 4000 + random % 196'000 : 256U << 20;
    write_file(place / (std::to_string(i) + ".bin"), size, random);
  }
  return folder;
}

std::vector<fs::path> fresh_destinations(std::int64_t count) {
  std::vector<fs::path> result;
  for (std::int64_t i = 0; i < count; ++i) {
    result.push_back(scratch() / ("to" + std::to_string(i)));
    fs::remove_all(result.back());
    fs::create_directories(result.back());
  }
  return result;
}

bool ingest(const fs::path& from, const std::vector<fs::path>& to, bool verify) {
  SharedRun run;
  run.card = from.string();
  run.verify = verify;
  std::vector<std::unique_ptr<Destination>> destinations;
  for (const fs::path& folder : to) {
    destinations.push_back(std::make_unique<Destination>(folder.string(), "card"));
    if (destinations.back()->open(false) != OpenResult::kOpen) {
      return false;
    }
    run.destinations.push_back(destinations.back().get());
  }
  DiskLister lister;
  const Plan plan = make_plan(lister, run.card, 0);
  std::vector<FileRecord> records(plan.files.size());
  const std::string problem =
      CopyRun(run, plan, records).carry_out(kJobsDefault, [](const Status&) {});
  bool all_there = problem.empty() && run.problems.empty();
  for (const auto& destination : destinations) {
    all_there = all_there && destination->files_written == plan.files.size();
    destination->close(true);
  }
  return all_there;
}

// Both hashes of a file, or MD5 alone past the cache.
Md5Digest hash_file(const fs::path& path, bool is_copy) {
  static unsigned char* const piece =
      static_cast<unsigned char*>(VirtualAlloc(nullptr, kPiece, MEM_COMMIT, PAGE_READWRITE));
  HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                            is_copy ? FILE_FLAG_NO_BUFFERING : FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
  Md5Hasher md5;
  XxhHasher xxh64;
  DWORD bytes = 0;
  while (ReadFile(file, piece, kPiece, &bytes, nullptr) != 0 && bytes > 0) {
    md5.add(piece, bytes);
    if (!is_copy) {
      xxh64.add(piece, bytes);
    }
  }
  CloseHandle(file);
  benchmark::DoNotOptimize(xxh64.digest());
  return md5.digest();
}

bool copy_file_loop(const fs::path& from, const std::vector<fs::path>& to, bool verify) {
  bool all_there = true;
  for (const auto& entry : fs::recursive_directory_iterator(from)) {
    const fs::path relative = fs::relative(entry.path(), from);
    if (entry.is_directory()) {
      for (const fs::path& folder : to) {
        fs::create_directories(folder / relative);
      }
      continue;
    }
    const Md5Digest digest = hash_file(entry.path(), false);
    for (const fs::path& folder : to) {
      const fs::path copy = folder / relative;
      all_there =
          CopyFileExW(entry.path().c_str(), copy.c_str(), nullptr, nullptr, nullptr, 0) != 0 &&
          (!verify || hash_file(copy, true) == digest) && all_there;
    }
  }
  return all_there;
}

bool xcopy(const fs::path& from, const std::vector<fs::path>& to, bool /*verify*/) {
  const std::string command =
      "xcopy /E /I /Q /Y \"" + from.string() + "\" \"" + to[0].string() + "\" >NUL";
  return std::system(command.c_str()) == 0;
}

std::uint64_t bytes_below(const fs::path& folder) {
  std::uint64_t bytes = 0;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    bytes += entry.is_regular_file() ? entry.file_size() : 0;
  }
  return bytes;
}

// Arguments: a card of small files, destinations, verified.
void run(benchmark::State& state,
         bool (*copy)(const fs::path&, const std::vector<fs::path>&, bool)) {
  const fs::path from = card(state.range(0) != 0);
  const std::uint64_t bytes = bytes_below(from);
  const auto holds_all = [&](const fs::path& folder) { return bytes_below(folder) >= bytes; };
  for (auto _ : state) {
    state.PauseTiming();
    const std::vector<fs::path> to = fresh_destinations(state.range(1));
    const bool is_ready = take_pages(scratch() / "pages", bytes * to.size());
    state.ResumeTiming();
    const bool is_copied = is_ready && copy(from, to, state.range(2) != 0);
    state.PauseTiming();
    // xcopy says 0 whatever became of it.
    if (!is_copied || !std::all_of(to.begin(), to.end(), holds_all)) {
      state.SkipWithError("not everything was copied");
      return;
    }
    state.ResumeTiming();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}

void jobs(benchmark::internal::Benchmark* job) {
  job->ArgNames({"small", "to", "verify"})
      ->UseRealTime()
      ->Iterations(1)
      ->Unit(benchmark::kMillisecond);
  for (const std::int64_t is_small : {1, 0}) {
    for (const std::int64_t to : {1, 3}) {
      job->Args({is_small, to, 0})->Args({is_small, to, 1});
    }
  }
}

BENCHMARK_CAPTURE(run, ingest, ingest)->Apply(jobs);
BENCHMARK_CAPTURE(run, copy_file_loop, copy_file_loop)->Apply(jobs);
BENCHMARK_CAPTURE(run, xcopy, xcopy)
    ->ArgNames({"small", "to", "verify"})
    ->Args({1, 1, 0})
    ->Args({0, 1, 0})
    ->UseRealTime()
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  host::open_console();
  const int saved = host::silence_errors();
  ov_initialize(nullptr, "ORSIN_BENCH_DATA", 1, argv);
  host::restore_errors(saved);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  fs::remove_all(scratch());
  ov_closedown();
  return 0;
}
