// Starting a program and asking after its end; see modules/spawn_port.h.
#include "modules/spawn_port.h"

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "base/win/windows.h"
#include "orsincore/utf.h"

#include <process.h>

namespace orsin::port {
namespace {

// Exactly what another program expects. The library's own conversion has its way with characters
// beyond 16 bits, which only its own files' names share; it still reads what is no UTF-8.
std::wstring to_wide(const char* text) {
  const std::size_t size = std::strlen(text) + 1;
  std::wstring wide(size, L'\0');  // Never more units than bytes.
  const int units = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text, static_cast<int>(size),
                                        wide.data(), static_cast<int>(size));
  if (units == 0) {
    ov_utf8_to_wchar_n(text, wide.data(), size);
  }
  wide.resize(std::wcslen(wide.c_str()));
  return wide;
}

}  // namespace

void* start_program(const char* program, const char* const* argv) {
  std::vector<std::wstring> arguments;
  for (int i = 0; argv[i] != nullptr; ++i) {
    arguments.push_back(to_wide(argv[i]));
  }
  std::vector<const wchar_t*> pointers;
  pointers.reserve(arguments.size() + 1);
  for (const std::wstring& argument : arguments) {
    pointers.push_back(argument.c_str());
  }
  pointers.push_back(nullptr);

  const std::intptr_t process = _wspawnvp(_P_NOWAIT, to_wide(program).c_str(), pointers.data());
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
