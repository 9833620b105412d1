// Runs an acceptance kit on a machine without any toolchain: accept [bench]
//
// Runs each test of tests.txt in a process and a temporary folder of its own, two programs' tests side by
// side, writes a line for each, and acceptance-report.txt beside itself. Whatever a test started is ended
// with it, by its job object. Exit code: 0 when nothing failed, 1 when something did, 2 when it could not
// run.
#include "base/win/windows.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <numeric>
#include <random>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "tests/acceptance/run_in_job_win.h"
#include "tests/acceptance/test_list.h"

namespace orsin::acceptance {
namespace {

namespace fs = std::filesystem;

struct Result {
  ListedTest test;
  Ending ending = Ending::kFailed;
  unsigned long long milliseconds = 0;
  std::string detail;  // The reason of a skipped test, the output of a failed one.
};

fs::path program_folder() {
  std::wstring path(MAX_PATH, L'\0');
  path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
  return fs::path(path).parent_path();
}

std::wstring widen(std::string_view ascii) {
  return {ascii.begin(), ascii.end()};
}

// A new folder that is gone with it.
class TemporaryFolder {
 public:
  explicit TemporaryFolder(const fs::path& path) : path_(path) { fs::create_directories(path_); }
  ~TemporaryFolder() {
    std::error_code ignored;  // A file that a virus scanner still holds must not fail the test.
    fs::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  [[nodiscard]] const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

Result run_test(const ListedTest& test, const fs::path& kit, const fs::path& temporary) {
  Result result;
  result.test = test;
  if (!test.needs.empty() && GetEnvironmentVariableA(test.needs.c_str(), nullptr, 0) == 0) {
    result.ending = Ending::kSkipped;
    result.detail = "needs what the environment variable " + test.needs + " names";
    return result;
  }
  const TemporaryFolder folder(temporary);
  const std::wstring line = L"\"" + (kit / L"tests" / widen(test.program)).wstring() +
                            L"\" \"--gtest_filter=" + widen(test.filter) + L"\"";
  const Ended ended = run_in_job(line, folder.path(), test.seconds_max);
  result.ending = ending(ended.exit_code, ended.output);
  result.milliseconds = ended.milliseconds;
  if (result.ending != Ending::kPassed) {
    result.detail = result.ending == Ending::kSkipped ? reason(ended.output) : ended.output;
  }
  return result;
}

const char* word(Ending ending) {
  return ending == Ending::kPassed ? "passed " : ending == Ending::kSkipped ? "skipped" : "FAILED ";
}

std::string line_of(const Result& result) {
  std::string line = std::string(word(result.ending)) + " " + result.test.name + " (" +
                     std::to_string(result.milliseconds) + " ms)";
  return result.ending == Ending::kSkipped ? line + ": " + result.detail : line;
}

// The tests of one program, which may expect that no other of them runs meanwhile.
struct ProgramTests {
  std::string program;
  std::vector<const ListedTest*> tests;
};

std::vector<ProgramTests> by_program(const std::vector<ListedTest>& tests) {
  std::vector<ProgramTests> programs;
  for (const ListedTest& test : tests) {
    const auto same = [&](const ProgramTests& other) { return other.program == test.program; };
    auto found = std::find_if(programs.begin(), programs.end(), same);
    if (found == programs.end()) {
      found = programs.insert(found, {test.program, {}});
    }
    found->tests.push_back(&test);
  }
  return programs;
}

// The results in the order of their names. Two programs at a time: most of a test is waiting.
std::vector<Result> run_all(const std::vector<ListedTest>& tests, const fs::path& kit,
                            const fs::path& temporary) {
  const std::vector<ProgramTests> programs = by_program(tests);
  std::vector<Result> results;
  std::mutex writing;
  std::atomic<std::size_t> next = 0;
  const auto work = [&](const fs::path& folder) {
    for (std::size_t i = next++; i < programs.size(); i = next++) {
      for (const ListedTest* const test : programs[i].tests) {
        Result result = run_test(*test, kit, folder);
        const std::lock_guard lock(writing);
        std::printf("%s\n", line_of(result).c_str());
        std::fflush(stdout);
        results.push_back(std::move(result));
      }
    }
  };
  std::thread second(work, temporary / L"test2");
  work(temporary / L"test1");
  second.join();
  std::sort(results.begin(), results.end(),
            [](const Result& a, const Result& b) { return a.test.name < b.test.name; });
  return results;
}

std::string registry_text(HKEY root, const char* key, const char* value) {
  char text[256] = "";
  DWORD size = sizeof(text) - 1;
  RegGetValueA(root, key, value, RRF_RT_REG_SZ, nullptr, text, &size);
  return text;
}

bool is_wine() {
  return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

std::string describe_machine() {
  using VersionFunction = LONG(WINAPI*)(OSVERSIONINFOEXW*);
  OSVERSIONINFOEXW version = {};
  version.dwOSVersionInfoSize = sizeof(version);
  const HMODULE system = GetModuleHandleW(L"ntdll.dll");
  // GetVersionEx() tells programs without a manifest the version that they expect.
  reinterpret_cast<VersionFunction>(  // NOLINT(bugprone-casting-through-void)
      reinterpret_cast<void*>(GetProcAddress(system, "RtlGetVersion")))(&version);
  SYSTEM_INFO processors = {};
  GetNativeSystemInfo(&processors);
  MEMORYSTATUSEX memory = {};
  memory.dwLength = sizeof(memory);
  GlobalMemoryStatusEx(&memory);
  SYSTEMTIME now = {};
  GetSystemTime(&now);
  char date[64];
  std::snprintf(date, sizeof(date), "%04d-%02d-%02d %02d:%02d UTC", now.wYear, now.wMonth, now.wDay,
                now.wHour, now.wMinute);
  std::string text;
  text += std::string("date       ") + date + "\n";
  text += "system     Windows " + std::to_string(version.dwMajorVersion) + "." +
          std::to_string(version.dwMinorVersion) + "." + std::to_string(version.dwBuildNumber) +
          (is_wine() ? " (Wine)" : "") + "\n";
  text += "processor  " +
          registry_text(HKEY_LOCAL_MACHINE, R"(HARDWARE\DESCRIPTION\System\CentralProcessor\0)",
                        "ProcessorNameString") +
          ", " + std::to_string(processors.dwNumberOfProcessors) + " in all\n";
  text += "memory     " + std::to_string(memory.ullTotalPhys >> 20) + " MiB\n";
  return text;
}

std::size_t count(const std::vector<Result>& results, Ending ending) {
  std::size_t number = 0;
  for (const Result& result : results) {
    number += result.ending == ending ? 1 : 0;
  }
  return number;
}

std::string summary(const std::vector<Result>& results) {
  return std::to_string(count(results, Ending::kPassed)) + " passed, " +
         std::to_string(count(results, Ending::kFailed)) + " failed, " +
         std::to_string(count(results, Ending::kSkipped)) + " skipped";
}

void add_section(std::string& report, const char* title, const std::vector<Result>& results,
                 Ending ending) {
  report += std::string("\n== ") + title + "\n";
  for (const Result& result : results) {
    if (result.ending == ending) {
      report += line_of(result) + "\n";
      if (ending == Ending::kFailed) {
        report += result.detail + "\n";
      }
    }
  }
}

// What a benchmark cannot do without: an environment variable that somebody has set.
const char* needs_of(const std::string& benchmark) {
  return benchmark == "http_bench"        ? "ORSIN_HTTP_PORT"
         : benchmark == "websocket_bench" ? "ORSIN_TEST_PYTHON"
                                          : nullptr;
}

// A folder of that many empty files for list_bench, made in a shuffled order.
void make_numbered_files(const fs::path& folder, int count) {
  fs::create_directories(folder);
  std::vector<int> numbers(static_cast<std::size_t>(count));
  std::iota(numbers.begin(), numbers.end(), 0);
  std::shuffle(numbers.begin(), numbers.end(), std::minstd_rand());
  for (const int number : numbers) {
    const char* const name = number % 10 == 0 ? "Interview camera B " : "take";
    std::ofstream(folder / (name + std::to_string(number) + ".wav"));
  }
}

void prepare_list_bench(const fs::path& folder) {
  make_numbered_files(folder / L"10000", 10'000);
  if (!is_wine()) {  // It looks through the whole folder for each file that it creates.
    make_numbered_files(folder / L"100000", 100'000);
  }
}

std::string run_benchmark(const fs::path& program, const fs::path& temporary) {
  constexpr int kSecondsMax = 3600;
  const std::string name = program.stem().string();
  const char* const needed = needs_of(name);
  if (needed != nullptr && GetEnvironmentVariableA(needed, nullptr, 0) == 0) {
    return std::string("skipped: needs what the environment variable ") + needed + " names\n";
  }
  const TemporaryFolder folder(temporary / L"bench");
  SetEnvironmentVariableW(L"ORSIN_BENCH_DATA",
                          folder.path().c_str());  // Logs, which are no result.
  SetEnvironmentVariableW(L"ORSIN_BENCH_LISTS", folder.path().c_str());
  SetEnvironmentVariableW(L"ORSIN_BENCH_SHARE", L"4");  // Of the ingest's gigabytes.
  if (name == "list_bench") {
    prepare_list_bench(folder.path());
  }
  const Ended ended =
      run_in_job(L"\"" + program.wstring() +
                     L"\" --benchmark_repetitions=3 --benchmark_display_aggregates_only=true "
                     L"--benchmark_enable_random_interleaving=true",
                 folder.path(), kSecondsMax);
  const std::string numbers = medians(ended.output);
  return ended.exit_code == 0 && !numbers.empty() ? numbers : "FAILED\n" + ended.output;
}

// Runs every benchmark of the kit.
std::string bench(const fs::path& kit, const fs::path& temporary) {
  std::vector<fs::path> programs;
  std::error_code none;
  for (const fs::directory_entry& entry : fs::directory_iterator(kit / L"bench", none)) {
    if (entry.path().extension() == L".exe") {
      programs.push_back(entry.path());
    }
  }
  if (programs.empty()) {
    return "This kit was made without them.\n";
  }
  std::sort(programs.begin(), programs.end());
  std::string text;
  for (const fs::path& program : programs) {
    const std::string name = program.stem().string();
    std::printf("measuring %s ...\n", name.c_str());
    std::fflush(stdout);
    text += "\n" + name + "\n" + run_benchmark(program, temporary);
  }
  return text;
}

bool write(const fs::path& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  file.close();
  return !file.fail();
}

// Programs that tests start from elsewhere find their DLLs there.
void add_to_path(const fs::path& folder) {
  const DWORD units = GetEnvironmentVariableW(L"PATH", nullptr, 0);
  std::wstring path(units, L'\0');
  path.resize(GetEnvironmentVariableW(L"PATH", path.data(), units));
  SetEnvironmentVariableW(L"PATH", (folder.wstring() + L";" + path).c_str());
}

int fail(const char* reason) {
  std::printf("accept: %s\n", reason);
  return 2;
}

int accept(bool with_benchmarks) {
  const fs::path kit = program_folder();
  std::string bad;
  const std::vector<ListedTest> tests = parse_list(read_file(kit / L"tests.txt"), bad);
  if (!bad.empty() || tests.empty()) {
    return fail("tests.txt is missing or damaged");
  }
  SetEnvironmentVariableW(L"ORSIN_TEST_KIT", kit.c_str());
  add_to_path(kit / L"tests");
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);  // Nobody is there to close a box.
  const TemporaryFolder temporary(
      fs::temp_directory_path() /
      (L"orsincore-acceptance-" + std::to_wstring(GetCurrentProcessId())));

  std::printf("%zu tests; leave this machine alone until the last line says how many passed\n\n",
              tests.size());
  const std::vector<Result> results = run_all(tests, kit, temporary.path());

  std::string report =
      read_file(kit / L"version.txt") + describe_machine() + summary(results) + "\n";
  add_section(report, "Failed", results, Ending::kFailed);
  add_section(report, "Skipped", results, Ending::kSkipped);
  report += "\n== Not in this kit\n" + read_file(kit / L"not-here.txt");
  if (with_benchmarks) {
    report += "\n== Benchmarks\n" + bench(kit, temporary.path());
  }
  add_section(report, "Passed", results, Ending::kPassed);
  if (!write(kit / L"acceptance-report.txt", report)) {
    return fail("cannot write acceptance-report.txt");
  }
  std::printf("\n%s; acceptance-report.txt tells more\n", summary(results).c_str());
  return count(results, Ending::kFailed) == 0 ? 0 : 1;
}

}  // namespace
}  // namespace orsin::acceptance

int main(int argc, char** argv) {
  const bool with_benchmarks = argc == 2 && std::string_view(argv[1]) == "bench";
  if (argc > 1 && !with_benchmarks) {
    return orsin::acceptance::fail("usage: accept [bench]");
  }
  return orsin::acceptance::accept(with_benchmarks);
}
