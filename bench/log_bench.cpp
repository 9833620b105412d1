// A log line to a file against spdlog, and against what a line must cost at least.
//
//   Line         msginfo() to an unbuffered stream. Good: within 1.5 of TwoWriteFile, 1.6 times
//                Line_Spdlog.
//   Line_Spdlog  the same line through a file sink that flushes every line, as a log must whose
//                lines survive the process.
//   TwoWriteFile the limit: head and text of the same length, each by one WriteFile, no formatting.
//   OneWriteFile the floor of any log whose lines survive the process.
//   Filtered     msgdebug() at information level: the price of a line nobody reads. Good: a quarter
//                of Filtered_Spdlog.
//
// Each line differs from the one before it, so that none is folded.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <memory>

#include "base/win/windows.h"
#include "orsincore/log.h"
#include "orsincore/threads.h"

#ifdef ORSIN_RIVAL_SPDLOG
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
#pragma GCC diagnostic ignored "-Wshadow"
#endif
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
#endif

namespace {

constexpr char kHead[] = "12:34:56.78 INFO : ";
constexpr char kText[] = "copied file number 123456 to its destination\n";

// A file in the temporary directory that is gone after the benchmark.
class ScratchFile {
 public:
  ScratchFile() {
    char directory[MAX_PATH];
    GetTempPathA(MAX_PATH, directory);
    GetTempFileNameA(directory, "log", 0, path_);
  }
  ~ScratchFile() { DeleteFileA(path_); }
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;

  [[nodiscard]] const char* path() const { return path_; }

 private:
  char path_[MAX_PATH] = {};
};

bool write_file(HANDLE file, const char* bytes, std::size_t count) {
  DWORD written = 0;
  return WriteFile(file, bytes, static_cast<DWORD>(count), &written, nullptr) != 0 &&
         written == count;
}

// One log on a scratch file for as long as it lives.
class OpenLog {
 public:
  explicit OpenLog(benchmark::State& state) : stream_(std::fopen(scratch_.path(), "wb")) {
    if (stream_ == nullptr) {
      state.SkipWithError("cannot open the log file");
      return;
    }
    std::setvbuf(stream_, nullptr, _IONBF, 0);
    mp_getclockfrequency();  // Starts the clock, which start-up does before it opens the log.
    msg_open(stream_);
  }
  ~OpenLog() {
    if (stream_ != nullptr) {
      msg_close();
      std::fclose(stream_);
    }
  }
  OpenLog(const OpenLog&) = delete;
  OpenLog& operator=(const OpenLog&) = delete;

 private:
  ScratchFile scratch_;
  std::FILE* stream_;
};

void Line(benchmark::State& state) {
  const OpenLog log(state);
  int number = 100000;
  for (auto _ : state) {
    msginfo("copied file number %d to its destination", number++);
  }
}
BENCHMARK(Line);

void Filtered(benchmark::State& state) {
  const OpenLog log(state);
  int number = 100000;
  for (auto _ : state) {
    msgdebug("copied file number %d to its destination", number++);
  }
}
BENCHMARK(Filtered);

#ifdef ORSIN_RIVAL_SPDLOG
// With the same head as ours.
std::unique_ptr<spdlog::logger> open_spdlog(const ScratchFile& scratch) {
  auto sink = std::make_shared<spdlog::sinks::basic_file_sink_mt>(scratch.path(), true);
  auto log = std::make_unique<spdlog::logger>("bench", std::move(sink));
  log->set_pattern("%H:%M:%S.%e %l: %v");
  log->set_level(spdlog::level::info);
  log->flush_on(spdlog::level::info);
  return log;
}

void Line_Spdlog(benchmark::State& state) {
  const ScratchFile scratch;
  const auto log = open_spdlog(scratch);
  int number = 100000;
  for (auto _ : state) {
    log->info("copied file number {} to its destination", number++);
  }
}
BENCHMARK(Line_Spdlog);

void Filtered_Spdlog(benchmark::State& state) {
  const ScratchFile scratch;
  const auto log = open_spdlog(scratch);
  int number = 100000;
  for (auto _ : state) {
    log->debug("copied file number {} to its destination", number++);
  }
}
BENCHMARK(Filtered_Spdlog);
#endif

void write_lines(benchmark::State& state, bool joined) {
  const ScratchFile scratch;
  HANDLE file = CreateFileA(scratch.path(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                            FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    state.SkipWithError("cannot open the file");
    return;
  }
  char line[sizeof(kHead) + sizeof(kText)];
  const int length = std::snprintf(line, sizeof(line), "%s%s", kHead, kText);
  for (auto _ : state) {
    const bool ok = joined ? write_file(file, line, static_cast<std::size_t>(length))
                           : write_file(file, kHead, sizeof(kHead) - 1) &&
                                 write_file(file, kText, sizeof(kText) - 1);
    if (!ok) {
      state.SkipWithError("cannot write");
      break;
    }
  }
  CloseHandle(file);
}

void TwoWriteFile(benchmark::State& state) {
  write_lines(state, false);
}
BENCHMARK(TwoWriteFile);

void OneWriteFile(benchmark::State& state) {
  write_lines(state, true);
}
BENCHMARK(OneWriteFile);

}  // namespace
