// Listing and sorting a directory of 10,000 and of 100,000 files.
//
// Listing: flist_new() without sorting, against the bare FindFirstFileExW loop that it cannot beat
// (basic information, large fetch, nothing kept) and against std::filesystem, keeping the names. A
// good result is within 1.15 of the bare loop at 10,000 files and within 1.3 at 100,000.
//
// Sorting: flist_sort() by names with numbers in them, against StrCmpLogicalW, the system's own
// comparison of that kind, in std::stable_sort. A good result is 15 times as fast.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "base/win/windows.h"
#include "orsincore/files.h"

#include <shlwapi.h>

namespace {

struct DeleteList {
  void operator()(dir_list* list) const { flist_delete(list); }
};
using UniqueList = std::unique_ptr<dir_list, DeleteList>;

// Made by bench/numbered-files.
std::string directory_of(std::int64_t count) {
  const char* lists = std::getenv("ORSIN_BENCH_LISTS");
  return (lists != nullptr ? lists : ".") + ("\\" + std::to_string(count));
}

void count_files(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

// Null, with the benchmark told to stop, where the files are not there.
UniqueList list_files(benchmark::State& state) {
  UniqueList list(flist_new(directory_of(state.range(0)).c_str(), 0));
  if (!list || list->file_count != state.range(0)) {
    state.SkipWithError("files are missing");
    return nullptr;
  }
  return list;
}

void list_orsin(benchmark::State& state) {
  for (auto _ : state) {
    if (!list_files(state)) {
      break;
    }
  }
  count_files(state);
}

void list_bare_loop(benchmark::State& state) {
  const std::wstring pattern =
      (std::filesystem::path(directory_of(state.range(0))) / "*.*").wstring();
  for (auto _ : state) {
    WIN32_FIND_DATAW data;
    const HANDLE search =
        FindFirstFileExW(pattern.c_str(), FindExInfoBasic, &data, FindExSearchNameMatch, nullptr,
                         FIND_FIRST_EX_LARGE_FETCH);
    if (search == INVALID_HANDLE_VALUE) {
      state.SkipWithError("the directory is missing");
      break;
    }
    std::int64_t files = 0;
    do {
      files += (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0 ? 1 : 0;
    } while (FindNextFileW(search, &data) != 0);
    FindClose(search);
    benchmark::DoNotOptimize(files);
  }
  count_files(state);
}

void list_std_filesystem(benchmark::State& state) {
  const std::filesystem::path path = directory_of(state.range(0));
  if (!std::filesystem::exists(path)) {
    state.SkipWithError("the directory is missing");
  }
  for (auto _ : state) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path)) {
      names.push_back(entry.path().filename().string());
    }
    benchmark::DoNotOptimize(names.data());
  }
  count_files(state);
}

void sort_orsin(benchmark::State& state) {
  const UniqueList list = list_files(state);
  if (!list) {
    return;
  }
  const std::vector<char*> unsorted(list->files, list->files + list->file_count);
  for (auto _ : state) {
    state.PauseTiming();
    std::copy(unsorted.begin(), unsorted.end(), list->files);
    state.ResumeTiming();
    flist_sort(list.get(), 1);
  }
  count_files(state);
}

void sort_system(benchmark::State& state) {
  const UniqueList list = list_files(state);
  if (!list) {
    return;
  }
  std::vector<std::wstring> names;
  for (int i = 0; i < list->file_count; ++i) {
    const std::string name = list->files[i];
    names.emplace_back(name.begin(), name.end());  // ASCII.
  }
  std::vector<const wchar_t*> sorted(names.size());
  for (auto _ : state) {
    state.PauseTiming();
    std::transform(names.begin(), names.end(), sorted.begin(),
                   [](const std::wstring& name) { return name.c_str(); });
    state.ResumeTiming();
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const wchar_t* a, const wchar_t* b) { return StrCmpLogicalW(a, b) < 0; });
    benchmark::ClobberMemory();
  }
  count_files(state);
}

void sizes(benchmark::internal::Benchmark* benchmark) {
  benchmark->Arg(10000)->Arg(100000)->UseRealTime()->Unit(benchmark::kMillisecond);
}

BENCHMARK(list_orsin)->Apply(sizes);
BENCHMARK(list_bare_loop)->Apply(sizes);
BENCHMARK(list_std_filesystem)->Apply(sizes);
BENCHMARK(sort_orsin)->Apply(sizes);
BENCHMARK(sort_system)->Apply(sizes);

}  // namespace
