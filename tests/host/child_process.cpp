#include "tests/host/child_process.h"

#include <cstdio>
#include <filesystem>

#include "tests/support/kit_path.h"

namespace orsin::test {
namespace {

HANDLE create_inheritable(const std::string& path) {
  SECURITY_ATTRIBUTES inherited = {sizeof(inherited), nullptr, TRUE};
  return CreateFileW(to_path(path).c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE,
                     &inherited, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
}

}  // namespace

ChildProcess::ChildProcess(const std::string& command_line, const std::string& output) {
  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  HANDLE file = INVALID_HANDLE_VALUE;
  if (!output.empty()) {
    file = create_inheritable(output);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = file;
    startup.hStdError = file;
  }
  std::wstring line = to_path(command_line).wstring();
  PROCESS_INFORMATION process = {};
  if (CreateProcessW(nullptr, line.data(), nullptr, nullptr, !output.empty(), 0, nullptr, nullptr,
                     &startup, &process) != 0) {
    CloseHandle(process.hThread);
    process_ = process.hProcess;
  } else {
    std::fprintf(stderr, "error %lu: cannot start %s\n", GetLastError(), command_line.c_str());
  }
  if (file != INVALID_HANDLE_VALUE) {
    CloseHandle(file);
  }
}

ChildProcess::~ChildProcess() {
  if (process_ != nullptr) {
    TerminateProcess(process_, 1);  // Fails where it has ended by itself, as it should have.
    CloseHandle(process_);
  }
}

int ChildProcess::wait() {
  DWORD code = static_cast<DWORD>(-2);
  if (process_ != nullptr && WaitForSingleObject(process_, kDeadlineMs) == WAIT_OBJECT_0) {
    GetExitCodeProcess(process_, &code);
  }
  return static_cast<int>(code);
}

bool ChildProcess::has_ended() const {
  return process_ == nullptr || WaitForSingleObject(process_, 0) == WAIT_OBJECT_0;
}

void ChildProcess::kill(unsigned exit_code) {
  TerminateProcess(process_, exit_code);
}

std::string host_program() {
  return kit_path("tests/test_host.exe", ORSIN_TEST_HOST);
}

HostTest::HostTest() {
  static int tests = 0;
  name_ = "HostTest" + std::to_string(GetCurrentProcessId()) + "x" + std::to_string(++tests);
  SetEnvironmentVariableW(L"ORSIN_TEST_DATA", to_path(directory_.path()).c_str());
}

HostTest::~HostTest() {
  SetEnvironmentVariableW(L"ORSIN_TEST_DATA", nullptr);
}

std::string HostTest::host(const std::string& command, const std::string& letters) const {
  return std::string("\"") + host_program() + "\" -x " + command + " " + name() + " " + letters;
}

int HostTest::run(const std::string& command, const std::string& letters) const {
  return ChildProcess(host(command, letters), directory_.path("output")).wait();
}

std::string HostTest::output() const {
  std::string text = TemporaryDirectory::read(directory_.path("output"));
  std::erase(text, '\r');
  return text;
}

std::string HostTest::log() const {
  const std::string path = directory_.path("Settings\\logs\\" + name() + ".log");
  return std::filesystem::exists(to_path(path)) ? TemporaryDirectory::read(path) : std::string();
}

void HostTest::expect_in_order(std::initializer_list<const char*> lines) const {
  const std::string text = log();
  std::size_t position = 0;
  for (const char* line : lines) {
    position = text.find(line, position);
    ASSERT_NE(position, std::string::npos) << line << " is missing or out of order in\n" << text;
    ++position;
  }
}

}  // namespace orsin::test
