#include "base/win/windows.h"

#include "examples/host/main_window.h"
#include "orsincore/threads.h"
#include "orsincore/utf.h"

namespace host {
namespace {

constexpr unsigned kNoThread = 0xFFFFFFFF;    // What mp_start_thread() answers when it cannot.
constexpr std::size_t kClassNameUnits = 256;  // The system takes no more.

LRESULT CALLBACK on_message(HWND window, UINT message, WPARAM first, LPARAM second) {
  if (message == WM_DESTROY) {
    PostQuitMessage(0);
    return 0;
  }
  return DefWindowProcW(window, message, first, second);
}

}  // namespace

MainWindow::MainWindow(const std::string& class_name) : class_name_(class_name) {
  opened_ = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  if (opened_ == nullptr) {
    return;
  }
  thread_ = mp_start_thread("MainWindow", run, this);
  if (thread_ != kNoThread) {
    WaitForSingleObject(opened_, INFINITE);
  }
}

MainWindow::~MainWindow() {
  if (opened_ == nullptr) {
    return;
  }
  if (thread_ != kNoThread) {
    if (window_ != nullptr) {
      PostMessageW(static_cast<HWND>(window_), WM_CLOSE, 0, 0);
    }
    mp_join_thread(thread_, INFINITE);
  }
  CloseHandle(opened_);
}

void MainWindow::run(void* self) {
  static_cast<MainWindow*>(self)->open_and_see_to_messages();
}

void MainWindow::open_and_see_to_messages() {
  wchar_t class_name[kClassNameUnits];
  ov_utf8_to_wchar_n(class_name_.c_str(), class_name, kClassNameUnits);
  WNDCLASSW description = {};
  description.lpfnWndProc = on_message;
  description.hInstance = GetModuleHandleW(nullptr);
  description.lpszClassName = class_name;
  if (RegisterClassW(&description) != 0) {
    window_ = CreateWindowExW(0, class_name, L"OrsinCore sample host", WS_OVERLAPPED, 0, 0, 0, 0,
                              nullptr, nullptr, description.hInstance, nullptr);
  }
  SetEvent(opened_);
  MSG message;
  while (window_ != nullptr && GetMessageW(&message, nullptr, 0, 0) > 0) {
    DispatchMessageW(&message);
  }
  UnregisterClassW(class_name, description.hInstance);
}

}  // namespace host
