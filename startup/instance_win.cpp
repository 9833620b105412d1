// The mutex of the single instance, the section shared with a second one, and the first one's window.
#include <cstdio>
#include <cwchar>
#include <string>

#include "base/compiler.h"
#include "base/win/windows.h"
#include "orsincore/startup.h"
#include "orsincore/text.h"
#include "startup/instance.h"

#if defined(_MSC_VER)
#pragma section("Instance", read, write, shared)
#endif

namespace orsin {
namespace {

// Written by a second instance, read and cleared by the first, without a lock: the flag is written
// after the text.
ORSIN_SHARED_SECTION("Instance") volatile InstanceRecord instance_record = {};

HANDLE instance_mutex = nullptr;

// The raw command line in UTF-8; the narrow call would give the system's code page.
std::string command_line() {
  const wchar_t* wide = GetCommandLineW();
  std::string line(std::wcslen(wide) * 3 + 1, '\0');
  ov_wchar_to_utf8(wide, line.data(), line.size());
  return line;
}

void leave_arguments(const char* arguments) {
  bool ended = false;
  for (std::size_t i = 0; i < sizeof(instance_record.command_line); ++i) {
    ended = ended || arguments[i] == '\0';
    instance_record.command_line[i] = ended ? '\0' : arguments[i];
  }
  instance_record.pending = 1;
}

void show_first_instance(const char* application_name) {
  char class_name[300];
  std::snprintf(class_name, sizeof(class_name), "%sKORVANE", application_name);
  HWND window = FindWindowA(class_name, nullptr);
  if (window == nullptr) {
    MessageBoxA(nullptr, "There is already an instance running!", application_name, MB_OK);
    return;
  }
  if (IsIconic(window) != 0) {
    ShowWindow(window, SW_RESTORE);
  }
  SetWindowPos(window, HWND_TOP, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_ASYNCWINDOWPOS);
}

}  // namespace

bool become_single_instance(const char* application_name) {
  char name[400];
  std::snprintf(name, sizeof(name), "%s_5E4C86F371114ee585BCDA0859351AE0", application_name);
  SetLastError(ERROR_SUCCESS);
  instance_mutex = CreateMutexA(nullptr, FALSE, name);
  if (GetLastError() != ERROR_ALREADY_EXISTS) {
    return true;
  }
  leave_arguments(arguments_of(command_line().c_str()));
  end_single_instance();
  show_first_instance(application_name);
  return false;
}

void end_single_instance() {
  if (instance_mutex != nullptr) {
    CloseHandle(instance_mutex);
    instance_mutex = nullptr;
  }
}

}  // namespace orsin

using namespace orsin;

int ov_get_instance_update(char* destination) {
  const int pending = instance_record.pending;
  if (pending == 0 || destination == nullptr) {
    return 0;
  }
  bool ended = false;
  for (std::size_t i = 0; i < sizeof(instance_record.command_line); ++i) {
    const char c = instance_record.command_line[i];
    ended = ended || c == '\0';
    destination[i] = ended ? '\0' : c;
  }
  instance_record.pending = 0;
  return pending;
}
