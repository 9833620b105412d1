#include "base/win/windows.h"

#include <cstdlib>
#include <string>
#include <vector>

#include "examples/host/cancel_request.h"
#include "examples/host/console.h"

#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

namespace host {
namespace {

std::vector<std::string> arguments;
std::vector<char*> argument_pointers;
std::FILE* errors = nullptr;

std::string to_utf8(const wchar_t* wide) {
  const int size = WideCharToMultiByte(CP_UTF8, 0, wide, -1, nullptr, 0, nullptr, nullptr);
  std::string text(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, wide, -1, text.data(), size, nullptr, nullptr);
  text.pop_back();  // The terminator was counted.
  return text;
}

// The program's full path: the library finds code and settings from it, whatever was typed.
std::string program_path() {
  constexpr DWORD kUnitsMax = 32768;  // No path is longer.
  std::wstring path(kUnitsMax, L'\0');
  path.resize(GetModuleFileNameW(nullptr, path.data(), kUnitsMax));
  return to_utf8(path.c_str());
}

// Never destroyed: the system's thread may be waiting in it while the process ends.
CancelRequest& cancel_request() {
  static auto* const request = new CancelRequest;
  return *request;
}

BOOL WINAPI on_console_event(DWORD event) {
  cancel_request().on_event(event);
  return TRUE;  // Handled: the process goes on and cleans up.
}

}  // namespace

void open_console() {
  int count = 0;
  wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count);
  arguments.push_back(program_path());
  for (int i = 1; i < count; ++i) {
    arguments.push_back(to_utf8(wide[i]));
  }
  LocalFree(static_cast<void*>(wide));
  for (std::string& argument : arguments) {
    argument_pointers.push_back(argument.data());
  }
  argument_pointers.push_back(nullptr);

  // The console outlives this program, and others in it may expect what they set.
  static const UINT code_page_before = GetConsoleOutputCP();
  SetConsoleOutputCP(CP_UTF8);
  std::atexit([] {
    std::fflush(stdout);  // The text is in the code page that is about to go.
    SetConsoleOutputCP(code_page_before);
  });

  // A process without a console may have no standard error, whose number is negative then.
  const int standard_error = _fileno(stderr);
  errors = standard_error >= 0 ? _fdopen(_dup(standard_error), "w") : nullptr;
  if (errors != nullptr) {
    std::setvbuf(errors, nullptr, _IONBF, 0);
  }
}

std::FILE* console_errors() {
  return errors != nullptr ? errors : stderr;
}

int console_argc() {
  return static_cast<int>(arguments.size());
}

char** console_argv() {
  return argument_pointers.data();
}

void carry_bytes() {
  _setmode(_fileno(stdin), _O_BINARY);
  _setmode(_fileno(stdout), _O_BINARY);
}

bool output_is_console() {
  DWORD mode = 0;
  return GetConsoleMode(GetStdHandle(STD_OUTPUT_HANDLE), &mode) != 0;
}

std::size_t console_width() {
  constexpr std::size_t kUsual = 80;
  CONSOLE_SCREEN_BUFFER_INFO information;
  if (GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &information) == 0) {
    return kUsual;
  }
  const int width = information.srWindow.Right - information.srWindow.Left + 1;
  return width > 0 ? static_cast<std::size_t>(width) : kUsual;
}

int silence_errors() {
  std::fflush(stderr);
  const int saved = _dup(_fileno(stderr));
  const int nowhere = _open("NUL", _O_WRONLY);
  if (saved >= 0 && nowhere >= 0) {
    _dup2(nowhere, _fileno(stderr));
    _close(nowhere);
  }
  return saved;
}

void restore_errors(int saved) {
  std::fflush(stderr);
  if (saved >= 0) {
    _dup2(saved, _fileno(stderr));
    _close(saved);
  }
}

void use_binary_output() {
  _setmode(_fileno(stdout), _O_BINARY);
}

unsigned long last_error_code() {
  return GetLastError();
}

unsigned long process_id() {
  return GetCurrentProcessId();
}

void catch_cancel() {
  cancel_request();  // Made here rather than on the system's thread.
  SetConsoleCtrlHandler(on_console_event, TRUE);
}

void end_console() {
  cancel_request().set_cleaned_up();
}

bool cancel_requested() {
  return cancel_request().is_asked();
}

}  // namespace host
