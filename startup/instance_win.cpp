// The single instance's port: a named mutex, a window of another process, and a section that all
// processes share which have loaded the same file of the library.
#include <cwchar>
#include <string>

#include "base/compiler.h"
#include "base/exact_wide_win.h"
#include "base/win/windows.h"
#include "startup/instance_port.h"

ORSIN_DECLARE_SHARED_SECTION("Instance")

namespace orsin::port {
namespace {

ORSIN_SHARED_SECTION("Instance") volatile InstanceRecord shared_record = {};

HWND window_of(void* window) {
  return static_cast<HWND>(window);
}

}  // namespace

void* create_named_mutex(const char* name) noexcept {
  return CreateMutexW(nullptr, FALSE, exact_wide(name).c_str());
}

void close_named_mutex(void* mutex) noexcept {
  CloseHandle(mutex);
}

// The narrow call would give the system's code page.
const char* raw_command_line() noexcept {
  static const std::string line = [] {
    const wchar_t* wide = GetCommandLineW();
    std::string text(std::wcslen(wide) * 3 + 1, '\0');
    ov_wchar_to_utf8(wide, text.data(), text.size());
    return text;
  }();
  return line.c_str();
}

volatile InstanceRecord& instance_record() noexcept {
  return shared_record;
}

void* find_window(const char* class_name) noexcept {
  return FindWindowW(exact_wide(class_name).c_str(), nullptr);
}

bool is_minimised(void* window) noexcept {
  return IsIconic(window_of(window)) != 0;
}

// ShowWindow() waits until the window's thread has looked at its messages.
void restore_window(void* window) noexcept {
  ShowWindowAsync(window_of(window), SW_RESTORE);
}

void raise_window(void* window) noexcept {
  SetWindowPos(window_of(window), HWND_TOP, 0, 0, 0, 0,
               SWP_NOMOVE | SWP_NOSIZE | SWP_ASYNCWINDOWPOS);
}

bool desktop_is_visible() noexcept {
  USEROBJECTFLAGS flags = {};
  return GetUserObjectInformationW(GetProcessWindowStation(), UOI_FLAGS, &flags, sizeof(flags),
                                   nullptr) == 0 ||
         (flags.dwFlags & WSF_VISIBLE) != 0;
}

void show_message(const char* text, const char* title) noexcept {
  MessageBoxW(nullptr, exact_wide(text).c_str(), exact_wide(title).c_str(), MB_OK);
}

}  // namespace orsin::port
