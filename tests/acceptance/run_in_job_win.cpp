// Processes in jobs of their own, with their outputs in a file.
#include "tests/acceptance/run_in_job_win.h"

#include "base/win/windows.h"

#include <fstream>
#include <iterator>
#include <mutex>

namespace orsin::acceptance {
namespace {

namespace fs = std::filesystem;

// A job that ends everything in it when its last handle is closed, however this process ends.
HANDLE create_job() {
  const HANDLE job = CreateJobObjectW(nullptr, nullptr);
  JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
  limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
  SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof(limits));
  return job;
}

// Starts a process that does not run yet. One at a time: its environment is this process's, and a handle
// that it inherits must not come to another that starts meanwhile.
bool start(const std::wstring& command_line, const fs::path& folder, const fs::path& output,
           PROCESS_INFORMATION& process) {
  static std::mutex starting;
  const std::lock_guard lock(starting);
  SetEnvironmentVariableW(L"TEMP", folder.c_str());
  SetEnvironmentVariableW(L"TMP", folder.c_str());
  SECURITY_ATTRIBUTES inherited = {sizeof(inherited), nullptr, TRUE};
  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdOutput = CreateFileW(output.c_str(), FILE_APPEND_DATA,
                                   FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                   &inherited, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  startup.hStdError = startup.hStdOutput;
  std::wstring line = command_line;
  const bool started =
      CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED, nullptr,
                     folder.c_str(), &startup, &process) != 0;
  const DWORD error = GetLastError();
  CloseHandle(startup.hStdOutput);
  SetLastError(error);
  return started;
}

// Waits for a process; one that is not done in time, or could not be put into its job, is ended.
int wait_for(const PROCESS_INFORMATION& process, HANDLE job, int seconds_max, std::string& remark) {
  if (AssignProcessToJobObject(job, process.hProcess) == 0) {
    TerminateProcess(process.hProcess, 1);
    remark = "could not be put into a job\n";
    return -1;
  }
  ResumeThread(process.hThread);
  if (WaitForSingleObject(process.hProcess, static_cast<DWORD>(seconds_max) * 1000) !=
      WAIT_OBJECT_0) {
    remark = "was not done after " + std::to_string(seconds_max) + " seconds\n";
    return -1;
  }
  DWORD code = 1;
  GetExitCodeProcess(process.hProcess, &code);
  return static_cast<int>(code);
}

}  // namespace

Ended run_in_job(const std::wstring& command_line, const fs::path& folder, int seconds_max) {
  Ended ended;
  const fs::path output = folder / L"output.txt";
  const HANDLE job = create_job();
  const ULONGLONG begin = GetTickCount64();
  PROCESS_INFORMATION process = {};
  std::string remark;
  if (start(command_line, folder, output, process)) {
    ended.exit_code = wait_for(process, job, seconds_max, remark);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
  } else {
    remark = "did not start: system error " + std::to_string(GetLastError()) + "\n";
  }
  TerminateJobObject(job, 1);
  CloseHandle(job);
  ended.milliseconds = GetTickCount64() - begin;
  ended.output = read_file(output) + remark;
  if (ended.exit_code != 0) {
    ended.output += "exit code " + std::to_string(ended.exit_code) + "\n";
  }
  return ended;
}

std::string read_file(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace orsin::acceptance
