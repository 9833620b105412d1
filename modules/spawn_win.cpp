// Starting a program and asking after its end; see modules/spawn_port.h.
#include "modules/spawn_port.h"

#include <cerrno>
#include <string>
#include <vector>

#include "base/exact_wide_win.h"
#include "base/win/windows.h"

#include <process.h>

namespace orsin::port {
namespace {

SRWLOCK start_lock = SRWLOCK_INIT;  // One start at a time has the handle below in its place.

// While a program is started, the process's standard error is one that it may inherit: where it is
// not, the number of the handle would mean nothing in the child, or a file of the child's own.
class ChildStandardError {
 public:
  explicit ChildStandardError(ErrorOutput errors) {
    AcquireSRWLockExclusive(&start_lock);
    ours_ = GetStdHandle(STD_ERROR_HANDLE);
    DWORD flags = 0;
    if (GetHandleInformation(ours_, &flags) != 0 && (flags & HANDLE_FLAG_INHERIT) == 0) {
      lent_ = errors == ErrorOutput::kOurs ? inheritable(ours_) : nowhere();
      SetStdHandle(STD_ERROR_HANDLE, lent_);
      is_lent_ = true;
    }
  }
  ~ChildStandardError() {
    if (is_lent_) {
      SetStdHandle(STD_ERROR_HANDLE, ours_);
      CloseHandle(lent_);
    }
    ReleaseSRWLockExclusive(&start_lock);
  }
  ChildStandardError(const ChildStandardError&) = delete;
  ChildStandardError& operator=(const ChildStandardError&) = delete;

 private:
  // Null, which is no handle in the child either, when there is none.
  static HANDLE inheritable(HANDLE handle) {
    HANDLE duplicate = nullptr;
    DuplicateHandle(GetCurrentProcess(), handle, GetCurrentProcess(), &duplicate, 0, TRUE,
                    DUPLICATE_SAME_ACCESS);
    return duplicate;
  }
  static HANDLE nowhere() {
    SECURITY_ATTRIBUTES inherited = {sizeof(inherited), nullptr, TRUE};
    const HANDLE device = CreateFileW(L"NUL", GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                      &inherited, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    return device != INVALID_HANDLE_VALUE ? device : nullptr;
  }

  HANDLE ours_ = nullptr;
  HANDLE lent_ = nullptr;
  bool is_lent_ = false;
};

}  // namespace

void* start_program(const char* program, const char* const* argv, ErrorOutput errors) {
  std::vector<std::wstring> arguments;
  for (int i = 0; argv[i] != nullptr; ++i) {
    arguments.push_back(exact_wide(argv[i]));
  }
  std::vector<const wchar_t*> pointers;
  pointers.reserve(arguments.size() + 1);
  for (const std::wstring& argument : arguments) {
    pointers.push_back(argument.c_str());
  }
  pointers.push_back(nullptr);

  const ChildStandardError standard_error(errors);
  const std::intptr_t process = _wspawnvp(_P_NOWAIT, exact_wide(program).c_str(), pointers.data());
  return process != -1 ? reinterpret_cast<void*>(process) : nullptr;
}

// Not by the exit code: a program may end with the very code that stands for "still running".
ProgramState test_program(void* process) noexcept {
  switch (WaitForSingleObject(process, 0)) {
    case WAIT_OBJECT_0:
      return ProgramState::kEnded;
    case WAIT_TIMEOUT:
      return ProgramState::kRunning;
    default:
      return ProgramState::kUnknown;
  }
}

// Not with _cwait(): it closes the handle on some systems and leaves it on others.
bool read_exit_code(void* process, std::int32_t& code) noexcept {
  DWORD status = 0;
  if (GetExitCodeProcess(process, &status) == 0) {
    errno = ECHILD;  // As _cwait() would say.
    return false;
  }
  code = static_cast<std::int32_t>(status);
  return true;
}

void close_program(void* process) noexcept {
  CloseHandle(process);
}

}  // namespace orsin::port
