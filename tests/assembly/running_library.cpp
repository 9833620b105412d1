#include "tests/assembly/running_library.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <optional>

#include "base/win/windows.h"
#include "orsincore/orsincore.h"

namespace orsin::test {
namespace {

class RunningLibrary : public testing::Environment {
 public:
  void SetUp() override {
    directory_.emplace();
    directory_->write("Data/Settings/memory.cfg", "image_heap_size=32\n");
    _putenv_s(kChoice, "chosen");
    _putenv_s("ORSIN_TEST_DATA", directory_->path("Data").c_str());
    std::string name = "Assembly" + std::to_string(GetCurrentProcessId());
    std::string program = directory_->path("App") + "\\$" + kChoice + "$\\bin64\\app.exe";
    std::string levels = "-dd";
    std::string workers = "-P" + std::to_string(kWorkers);
    char* arguments[] = {program.data(), levels.data(), workers.data(), nullptr};
    ASSERT_TRUE(ov_initialize(name.data(), "ORSIN_TEST_DATA", 3, arguments));
  }

  void TearDown() override {
    ov_closedown();
    std::freopen("NUL", "w", stderr);  // It is the log, whose folder goes now.
    directory_.reset();
  }

  [[nodiscard]] const TemporaryDirectory& directory() const { return *directory_; }

 private:
  std::optional<TemporaryDirectory> directory_;
};

// Owned by the test framework.
RunningLibrary* const running_library = new RunningLibrary;
const testing::Environment* const registered = testing::AddGlobalTestEnvironment(running_library);

}  // namespace

const TemporaryDirectory& run_directory() {
  return running_library->directory();
}

std::string run_log() {
  std::string text = TemporaryDirectory::read(file_get_logfile());
  std::erase(text, '\r');
  return text;
}

std::string log_line_with(const std::string& text) {
  const std::string log = run_log();
  const std::size_t found = log.find(text);
  if (found == std::string::npos) {
    return {};
  }
  const std::size_t begin = log.rfind('\n', found) + 1;  // The first line begins at npos + 1.
  return log.substr(begin, log.find('\n', found) - begin);
}

}  // namespace orsin::test
