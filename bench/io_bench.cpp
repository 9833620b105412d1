// Copies and typed reads against the system's own copy and bare loops, on files of 256 MiB in the
// system's cache.
//
//   Copy_*           one file to another. Good: Orsin 1.8 times as fast as CopyFileEx, and 0.55 of
//                    the limit, a loop of 1 MiB reads and writes.
//   CopyToThree_*    one read pass. Good: 2.5 times three CopyFileEx, 1.3 times to new files.
//   CopyToSixteen_*  the same with as many as there may be.
//   VerifiedCopy_*   copy, hash on the way, read back and compare. Good: 1.35 times CopyFileEx with
//                    both files hashed after it, by the system's MD5 or by ours, and 0.97 of
//                    two MD5 passes in memory, one after the other.
//   CopyTree_*       5,000 files of 20 KB, 10,000 of 2 KB, 2,000 of 200 KB. Good: 1.3 times a loop
//                    of CopyFileW.
//   ReadInt_*        a file as integers. Good: within 2.8 of the floor, ReadFile and an array, and
//                    5 times std::filebuf.
//   ReadByte_*       a file as bytes. Good: ahead of sbumpc().
//
// Copies go over the last run's destinations (new:0), as a backup's do, or to files that do not
// exist yet (new:1), where the system's own work is most of the time. Compare the Time column. The
// files go to the temporary directory, or to ORSIN_BENCH_DIRECTORY (with its closing backslash).
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "base/win/windows.h"
#include "bench/file_cache.h"
#include "files/transfer_slots.h"
#include "orsincore/files.h"
#include "orsincore/io.h"
#include "orsincore/text.h"
#include "threads/thread_table.h"

#include <bcrypt.h>

namespace {

constexpr std::size_t kBlock = std::size_t{1} << 20;
constexpr std::size_t kBlocks = 256;
constexpr int kCopies = 16;

class Handle {
 public:
  explicit Handle(HANDLE handle) : handle_(handle) {}
  ~Handle() { CloseHandle(handle_); }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  [[nodiscard]] HANDLE get() const { return handle_; }

  static Handle reading(const std::string& path) {
    return Handle(CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                              FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
  }
  static Handle writing(const std::string& path) {
    return Handle(CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, 0, nullptr));
  }

 private:
  HANDLE handle_;
};

// The source and what is copied from it, in a directory that goes when the program ends.
class Files {
 public:
  Files() {
    char directory[MAX_PATH];
    if (GetEnvironmentVariableA("ORSIN_BENCH_DIRECTORY", directory, MAX_PATH) == 0) {
      GetTempPathA(MAX_PATH, directory);
    }
    directory_ = std::string(directory) + "orsin-io-" + std::to_string(GetCurrentProcessId());
    CreateDirectoryA(directory_.c_str(), nullptr);
    std::vector<unsigned char> block(kBlock);
    unsigned random = 1;
    const Handle file = Handle::writing(source());
    for (std::size_t i = 0; i < kBlocks; ++i) {
      for (unsigned char& byte : block) {
        random = random * 1664525U + 1013904223U;
        byte = static_cast<unsigned char>(random >> 24);
      }
      DWORD written = 0;
      WriteFile(file.get(), block.data(), kBlock, &written, nullptr);
    }
    orsin::start_thread_table();
    orsin::start_transfers();
  }
  ~Files() {
    orsin::stop_transfers();
    orsin::stop_thread_table();
    delete_copies();
    DeleteFileA(source().c_str());
    RemoveDirectoryA(directory_.c_str());
  }
  Files(const Files&) = delete;
  Files& operator=(const Files&) = delete;

  [[nodiscard]] std::string source() const { return directory_ + "\\source"; }
  [[nodiscard]] std::string copy(int index) const {
    return directory_ + "\\copy" + std::to_string(index);
  }
  [[nodiscard]] bool take_pages_for(std::uint64_t bytes) const {
    return take_pages(directory_ + "\\pages", bytes);
  }
  void delete_copies() const {
    for (int i = 0; i < kCopies; ++i) {
      DeleteFileA(copy(i).c_str());
    }
  }

 private:
  std::string directory_;
};

const Files& files() {
  static const Files instance;
  return instance;
}

// One that is not timed makes the old files.
template <typename Job>
void run_copies(benchmark::State& state, const Job& job, int copies = 1) {
  files();
  const bool is_new = state.range(0) != 0;
  bool is_ready = is_new || job();
  for (auto _ : state) {
    if (is_new) {
      state.PauseTiming();
      files().delete_copies();
      is_ready = files().take_pages_for(kBlock * kBlocks * static_cast<std::size_t>(copies));
      state.ResumeTiming();
    }
    if (!is_ready || !job()) {
      state.SkipWithError("failed");
      break;
    }
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kBlock * kBlocks));
}

bool copy_by_system(const std::string& to) {
  const std::string from = files().source();
  const std::wstring wide_from(from.begin(), from.end());
  const std::wstring wide_to(to.begin(), to.end());
  return CopyFileExW(wide_from.c_str(), wide_to.c_str(), nullptr, nullptr, nullptr, 0) != 0;
}

bool copy_by_loop(const std::string& to) {
  std::vector<unsigned char> block(kBlock);
  const Handle source = Handle::reading(files().source());
  const Handle destination = Handle::writing(to);
  DWORD bytes = 0;
  while (ReadFile(source.get(), block.data(), kBlock, &bytes, nullptr) != 0 && bytes > 0) {
    DWORD written = 0;
    if (WriteFile(destination.get(), block.data(), bytes, &written, nullptr) == 0) {
      return false;
    }
  }
  return true;
}

class OurMd5 {
 public:
  OurMd5() { ov_md5_init(&state_); }
  void append(unsigned char* data, DWORD bytes) {
    ov_md5_append(&state_, data, static_cast<int>(bytes));
  }
  void finish(unsigned char* digest) { ov_md5_finish(&state_, digest); }

 private:
  md5_state_s state_;
};

class SystemMd5 {
 public:
  SystemMd5() {
    BCryptOpenAlgorithmProvider(&provider_, BCRYPT_MD5_ALGORITHM, nullptr, 0);
    BCryptCreateHash(provider_, &hash_, nullptr, 0, nullptr, 0, 0);
  }
  ~SystemMd5() {
    BCryptDestroyHash(hash_);
    BCryptCloseAlgorithmProvider(provider_, 0);
  }
  SystemMd5(const SystemMd5&) = delete;
  SystemMd5& operator=(const SystemMd5&) = delete;
  void append(unsigned char* data, DWORD bytes) { BCryptHashData(hash_, data, bytes, 0); }
  void finish(unsigned char* digest) { BCryptFinishHash(hash_, digest, 16, 0); }

 private:
  BCRYPT_ALG_HANDLE provider_ = nullptr;
  BCRYPT_HASH_HANDLE hash_ = nullptr;
};

template <typename Md5>
void hash_file(const std::string& path, unsigned char* digest) {
  std::vector<unsigned char> block(kBlock);
  const Handle file = Handle::reading(path);
  Md5 md5;
  DWORD bytes = 0;
  while (ReadFile(file.get(), block.data(), kBlock, &bytes, nullptr) != 0 && bytes > 0) {
    md5.append(block.data(), bytes);
  }
  md5.finish(digest);
}

// ---- Copies

void Copy_Orsin(benchmark::State& state) {
  run_copies(state, [] {
    unsigned long long bytes = 0;
    return file_copy(files().source().c_str(), files().copy(0).c_str(), true, bytes, nullptr,
                     static_cast<fWriteBuffer*>(nullptr), nullptr, nullptr, false) == 0;
  });
}

void Copy_CopyFileEx(benchmark::State& state) {
  run_copies(state, [] { return copy_by_system(files().copy(0)); });
}

void Copy_Loop(benchmark::State& state) {
  run_copies(state, [] { return copy_by_loop(files().copy(0)); });
}

bool copy_to_many(int count) {
  std::vector<std::string> names;
  std::vector<const char*> destinations;
  for (int i = 0; i < count; ++i) {
    names.push_back(files().copy(i));
  }
  for (const std::string& name : names) {
    destinations.push_back(name.c_str());
  }
  destinations.push_back(nullptr);
  unsigned long long bytes = 0;
  return file_copy(files().source().c_str(), destinations.data(), true, bytes, nullptr,
                   static_cast<fWriteBuffer**>(nullptr), nullptr, nullptr, false) == 0;
}

bool copy_to_many_by_system(int count) {
  for (int i = 0; i < count; ++i) {
    if (!copy_by_system(files().copy(i))) {
      return false;
    }
  }
  return true;
}

void CopyToThree_Orsin(benchmark::State& state) {
  run_copies(
      state, [] { return copy_to_many(3); }, 3);
}

void CopyToThree_CopyFileEx(benchmark::State& state) {
  run_copies(
      state, [] { return copy_to_many_by_system(3); }, 3);
}

void CopyToSixteen_Orsin(benchmark::State& state) {
  run_copies(
      state, [] { return copy_to_many(kCopies); }, kCopies);
}

void CopyToSixteen_CopyFileEx(benchmark::State& state) {
  run_copies(
      state, [] { return copy_to_many_by_system(kCopies); }, kCopies);
}

void VerifiedCopy_Orsin(benchmark::State& state) {
  run_copies(state, [] {
    unsigned long long bytes = 0;
    md5_state_s md5;
    return file_copy_secure(files().source().c_str(), files().copy(0).c_str(), true, bytes, md5, 3,
                            nullptr, nullptr) == 0;
  });
}

template <typename Md5>
void VerifiedCopy_CopyFileExAnd(benchmark::State& state) {
  run_copies(state, [] {
    unsigned char source[16] = {};
    unsigned char copy[16] = {};
    if (!copy_by_system(files().copy(0))) {
      return false;
    }
    hash_file<Md5>(files().source(), source);
    hash_file<Md5>(files().copy(0), copy);
    return std::memcmp(source, copy, 16) == 0;
  });
}

void VerifiedCopy_TwoMd5Passes(benchmark::State& state) {
  const std::vector<unsigned char> block(kBlock, 7);
  run_copies(state, [&] {
    for (int pass = 0; pass < 2; ++pass) {
      md5_state_s md5;
      unsigned char digest[16];
      ov_md5_init(&md5);
      for (std::size_t i = 0; i < kBlocks; ++i) {
        ov_md5_append(&md5, block.data(), static_cast<int>(kBlock));
      }
      ov_md5_finish(&md5, digest);
      benchmark::DoNotOptimize(digest);
    }
    return true;
  });
}

// ---- Typed reads

constexpr std::size_t kIntegers = kBlock * kBlocks / sizeof(int);

std::unique_ptr<fReadBuffer> open_reader() {
  auto reader = std::make_unique<fReadBuffer>();
  reader->open_file(files().source().c_str(), true, false, false);
  return reader;
}

void ReadInt_Orsin(benchmark::State& state) {
  run_copies(state, [] {
    const auto reader = open_reader();
    unsigned sum = 0;
    for (std::size_t i = 0; i < kIntegers; ++i) {
      sum += static_cast<unsigned>(reader->read_int());
    }
    benchmark::DoNotOptimize(sum);
    return true;
  });
}

void ReadInt_Floor(benchmark::State& state) {
  run_copies(state, [] {
    std::vector<unsigned> block(kBlock / sizeof(unsigned));
    const Handle file = Handle::reading(files().source());
    unsigned sum = 0;
    DWORD bytes = 0;
    while (ReadFile(file.get(), block.data(), kBlock, &bytes, nullptr) != 0 && bytes > 0) {
      for (std::size_t i = 0; i < bytes / sizeof(unsigned); ++i) {
        sum += block[i];
        benchmark::DoNotOptimize(sum);
      }
    }
    return true;
  });
}

void ReadInt_Filebuf(benchmark::State& state) {
  run_copies(state, [] {
    std::filebuf file;
    file.open(files().source(), std::ios::in | std::ios::binary);
    unsigned sum = 0;
    for (std::size_t i = 0; i < kIntegers; ++i) {
      unsigned number = 0;
      file.sgetn(reinterpret_cast<char*>(&number), sizeof(number));
      sum += number;
    }
    benchmark::DoNotOptimize(sum);
    return true;
  });
}

void ReadByte_Orsin(benchmark::State& state) {
  run_copies(state, [] {
    const auto reader = open_reader();
    unsigned sum = 0;
    for (std::size_t i = 0; i < kBlock * kBlocks; ++i) {
      sum += reader->read_byte();
    }
    benchmark::DoNotOptimize(sum);
    return true;
  });
}

void ReadByte_Floor(benchmark::State& state) {
  run_copies(state, [] {
    std::vector<unsigned char> block(kBlock);
    const Handle file = Handle::reading(files().source());
    unsigned sum = 0;
    DWORD bytes = 0;
    while (ReadFile(file.get(), block.data(), kBlock, &bytes, nullptr) != 0 && bytes > 0) {
      for (std::size_t i = 0; i < bytes; ++i) {
        sum += block[i];
        benchmark::DoNotOptimize(sum);
      }
    }
    return true;
  });
}

void ReadByte_Sbumpc(benchmark::State& state) {
  run_copies(state, [] {
    std::filebuf file;
    file.open(files().source(), std::ios::in | std::ios::binary);
    unsigned sum = 0;
    for (std::size_t i = 0; i < kBlock * kBlocks; ++i) {
      sum += static_cast<unsigned char>(file.sbumpc());
    }
    benchmark::DoNotOptimize(sum);
    return true;
  });
}

// ---- Trees of small files

struct TreeShape {
  int folders;
  int files;  // In each folder.
  std::size_t bytes;
};

constexpr TreeShape kTrees[] = {{50, 100, 20000}, {100, 100, 2000}, {20, 100, 200000}};

// A tree of small files below the benchmark's directory, and where it is copied to.
class Tree {
 public:
  explicit Tree(const TreeShape& shape)
      : shape_(shape), source_(files().source() + "-tree"), copy_(files().copy(0) + "-tree") {
    CreateDirectoryA(source_.c_str(), nullptr);
    const std::vector<unsigned char> content(shape_.bytes, 7);
    each_folder([&](const std::string& folder) {
      CreateDirectoryA((source_ + folder).c_str(), nullptr);
      each_file([&](const std::string& file) {
        DWORD written = 0;
        const Handle handle = Handle::writing(source_ + folder + file);
        WriteFile(handle.get(), content.data(), static_cast<DWORD>(content.size()), &written,
                  nullptr);
      });
    });
  }
  ~Tree() {
    delete_copy();
    file_delete_directory(source_.c_str(), true);
  }
  Tree(const Tree&) = delete;
  Tree& operator=(const Tree&) = delete;

  [[nodiscard]] std::uint64_t bytes() const {
    return shape_.bytes * static_cast<std::uint64_t>(shape_.folders * shape_.files);
  }
  void delete_copy() const { file_delete_directory(copy_.c_str(), true); }

  [[nodiscard]] bool copy_by_us() const {
    unsigned long long bytes = 0;
    return ov_filecopy(source_.c_str(), copy_.c_str(), true, bytes) ==
           shape_.folders * shape_.files;
  }

  [[nodiscard]] bool copy_by_system() const {
    bool is_copied = CreateDirectoryA(copy_.c_str(), nullptr) != 0;
    each_folder([&](const std::string& folder) {
      is_copied = CreateDirectoryA((copy_ + folder).c_str(), nullptr) != 0 && is_copied;
      each_file([&](const std::string& file) {
        const std::string from = source_ + folder + file;
        const std::string to = copy_ + folder + file;
        is_copied = CopyFileW(std::wstring(from.begin(), from.end()).c_str(),
                              std::wstring(to.begin(), to.end()).c_str(), FALSE) != 0 &&
                    is_copied;
      });
    });
    return is_copied;
  }

 private:
  template <typename Job>
  void each_folder(const Job& job) const {
    for (int i = 0; i < shape_.folders; ++i) {
      job("\\folder" + std::to_string(i));
    }
  }
  template <typename Job>
  void each_file(const Job& job) const {
    for (int i = 0; i < shape_.files; ++i) {
      job("\\take" + std::to_string(i) + ".wav");
    }
  }

  TreeShape shape_;
  std::string source_;
  std::string copy_;
};

// Always into files that do not exist yet.
template <typename Job>
void run_trees(benchmark::State& state, const Job& job) {
  files();
  const TreeShape& shape = kTrees[state.range(0)];
  const Tree tree(shape);
  const bool is_ready = files().take_pages_for(tree.bytes());
  for (auto _ : state) {
    if (!is_ready || !job(tree)) {
      state.SkipWithError("failed");
      break;
    }
    state.PauseTiming();
    tree.delete_copy();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * shape.folders * shape.files);
  state.SetLabel(std::to_string(shape.folders * shape.files) + " files of " +
                 std::to_string(shape.bytes) + " bytes");
}

void CopyTree_Orsin(benchmark::State& state) {
  run_trees(state, [](const Tree& tree) { return tree.copy_by_us(); });
}

void CopyTree_CopyFileLoop(benchmark::State& state) {
  run_trees(state, [](const Tree& tree) { return tree.copy_by_system(); });
}

// One iteration takes long enough; the repetitions give the median.
void once(benchmark::internal::Benchmark* job) {
  job->ArgName("new")->Arg(0)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
}

void over_old_and_to_new_files(benchmark::internal::Benchmark* job) {
  once(job);
  job->Arg(1);
}

void each_tree(benchmark::internal::Benchmark* job) {
  job->ArgName("tree")->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
  job->Arg(0)->Arg(1)->Arg(2);
}

BENCHMARK(Copy_Orsin)->Apply(over_old_and_to_new_files);
BENCHMARK(Copy_CopyFileEx)->Apply(over_old_and_to_new_files);
BENCHMARK(Copy_Loop)->Apply(over_old_and_to_new_files);
BENCHMARK(CopyToThree_Orsin)->Apply(over_old_and_to_new_files);
BENCHMARK(CopyToThree_CopyFileEx)->Apply(over_old_and_to_new_files);
BENCHMARK(CopyToSixteen_Orsin)->Apply(over_old_and_to_new_files);
BENCHMARK(CopyToSixteen_CopyFileEx)->Apply(over_old_and_to_new_files);
BENCHMARK(VerifiedCopy_Orsin)->Apply(over_old_and_to_new_files);
BENCHMARK(VerifiedCopy_CopyFileExAnd<OurMd5>)->Apply(over_old_and_to_new_files);
BENCHMARK(VerifiedCopy_CopyFileExAnd<SystemMd5>)->Apply(over_old_and_to_new_files);
BENCHMARK(VerifiedCopy_TwoMd5Passes)->Apply(once);
BENCHMARK(CopyTree_Orsin)->Apply(each_tree);
BENCHMARK(CopyTree_CopyFileLoop)->Apply(each_tree);
BENCHMARK(ReadInt_Orsin)->Apply(once);
BENCHMARK(ReadInt_Floor)->Apply(once);
BENCHMARK(ReadInt_Filebuf)->Apply(once);
BENCHMARK(ReadByte_Orsin)->Apply(once);
BENCHMARK(ReadByte_Floor)->Apply(once);
BENCHMARK(ReadByte_Sbumpc)->Apply(once);

}  // namespace
