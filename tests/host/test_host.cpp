// A host that starts the library for real and then does the one thing its second argument names:
//
//   close    closes down at once
//   level    closes down and exits with 100 + 10 x log level + number of executor workers
//   paths    prints what the getters of start-up answer
//   locale   logs the locale and a translated text
//   fast     starts with ov_fast_initialize() instead
//   killed   writes 2000 lines, signals NAMEReady and waits to be ended from outside
//   filter   hands an access violation to the exception filter, as an outermost handler does
//   access   starts the thread "Reader", which reads through a null pointer
//   division starts the thread "Divider", which divides by zero
//   copy     copies its own program file to DATA/copy
//   handles  does the same, and exits with the number of handles that it has more than before
//   leave    leaves queued work and an open plug-in (ORSIN_TEST_PLUGIN) to closedown
//   litter   leaves pages of the system and a thread that never ends to closedown
//   boxes    exits with the error mode after closedown; it had set SEM_NOGPFAULTERRORBOX before
//   tool     waits for a child that prints to standard error
//   outlived starts a child that prints to standard error and lives until NAMELeave
//   child    is such a child, without the library: signals NAMEPrinted, waits for NAMELeave
//   serve    is a first instance: signals NAMEReady, waits for NAMEAsk, logs the updates
//   window   the same, with a minimised main window
//   hung     the same, but the window's thread sees to no message
//   restart  asks for a restart the first time
//   busy-X   leaves threads to closedown that do X for ever: see busy_threads.h
//   again-X  the same, then starts up as NAMEAgain, does X once and closes down
//
// A second process of "restart" signals NAMEDone. The first argument is "-x", as a restart passes
// on what follows a dash; the third names the application ("-" gives null); the data path comes from
// ORSIN_TEST_DATA, and ORSIN_TEST_MODULE stands in for the program's own path. Exit code 2: the
// library refused to start.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>
#include <vector>

#include "base/win/windows.h"
#include "orsincore/orsincore.h"
#include "tests/host/busy_threads.h"
#include "tests/host/open_handles.h"

#include <shellapi.h>

namespace {

std::wstring wide(const std::string& text) {
  std::wstring units(text.size() + 1, L'\0');
  ov_utf8_to_wchar_n(text.c_str(), units.data(), units.size());
  units.resize(std::wcslen(units.c_str()));
  return units;
}

class Event {
 public:
  Event(const char* application, const char* suffix)
      : event_(
            CreateEventW(nullptr, TRUE, FALSE, wide(std::string(application) + suffix).c_str())) {}
  ~Event() { CloseHandle(event_); }
  Event(const Event&) = delete;
  Event& operator=(const Event&) = delete;

  [[nodiscard]] HANDLE handle() const { return event_; }
  void set() { SetEvent(event_); }

 private:
  HANDLE event_;
};

void print_paths() {
  char module[260] = {};
  const bool known = ov_modulename(module, sizeof(module));
  std::printf("module %d %s\ncode %s\ndata %s\nsettings %s\nlog %s\n", known ? 1 : 0, module,
              file_get_code(), file_get_data(), file_get_default_settings(), file_get_logfile());
}

void write_until_killed(const char* application) {
  for (int i = 0; i < 2000; ++i) {
    msginfo("line %d before the end", i);
  }
  Event(application, "Ready").set();
  Sleep(INFINITE);
}

volatile int faulty_result = 0;  // Volatile, or the faults would be optimised away.

void read_null(void* /*argument*/) {
  const volatile int* volatile nowhere = nullptr;
  faulty_result = *nowhere;
}

void divide_by_zero(void* /*argument*/) {
  const volatile int zero = 0;
  faulty_result = 1000 / zero;  // Not 1, which a compiler may divide without dividing.
}

void run_thread(const char* name, void (*entry)(void*)) {
  mp_join_thread(mp_start_thread(name, entry, nullptr), INFINITE);
}

class LoggedWork : public OV_Thread {
 public:
  void Run() override { msginfo("work %d on %s", ++runs_, mp_get_thread_name()); }

 private:
  int runs_ = 0;
};

void copy_program() {
  char module[260] = {};
  unsigned long long bytes = 0;
  ov_modulename(module, sizeof(module));
  const std::string destination = std::string(file_get_data()) + "\\copy";
  const int result = file_copy(module, destination.c_str(), true, bytes, nullptr,
                               static_cast<fWriteBuffer*>(nullptr), nullptr, nullptr, true);
  msginfo("copied with result %d", result);
}

void leave_to_closedown() {
  static LoggedWork* const work = new LoggedWork;  // Outlives the worker.
  for (int i = 0; i < 60; ++i) {
    work->Start();
  }
  if (ov_open_library(std::getenv("ORSIN_TEST_PLUGIN"), 0) == nullptr) {
    msgerror("the plug-in cannot be opened");
  }
}

void leave_litter(const char* application) {
  static const Event never(application, "Never");
  static const Event runs(application, "Runs");
  mp_start_thread(
      "Endless",
      [](void*) {
        SetEvent(runs.handle());
        WaitForSingleObject(never.handle(), INFINITE);
        msgerror("the endless thread ended by itself");
      },
      nullptr);
  WaitForSingleObject(runs.handle(), INFINITE);
  if (os_alloc(64 * 1024, 0) == nullptr) {
    msgerror("no pages");
  }
}

void start_child(const char* application, bool wait) {
  char program[260] = {};
  ov_modulename(program, sizeof(program));
  char* argv[] = {program, const_cast<char*>("-x"), const_cast<char*>("child"),
                  const_cast<char*>(application), nullptr};
  ProcessResultStruct result = {};
  SpawnAndLoopUntilFinished(program, argv, wait, nullptr, nullptr, result, 1);
  msginfo("child started %d exited %d", result.started ? 1 : 0, result.exited ? 1 : 0);
}

void print_and_linger(const char* application) {
  std::fputs("printed by the child\n", stderr);
  std::fflush(stderr);
  const Event leave(application, "Leave");
  Event(application, "Printed").set();
  WaitForSingleObject(leave.handle(), INFINITE);
}

HWND make_main_window(const char* application) {
  const std::wstring class_name = wide(std::string(application) + "KORVANE");
  WNDCLASSW window_class = {};
  window_class.lpfnWndProc = DefWindowProcW;
  window_class.lpszClassName = class_name.c_str();
  RegisterClassW(&window_class);
  HWND window = CreateWindowW(class_name.c_str(), L"", WS_OVERLAPPEDWINDOW, 40, 30, 300, 200,
                              nullptr, nullptr, nullptr, nullptr);
  ShowWindow(window, SW_SHOWMINIMIZED);
  return window;
}

void pump_until(HANDLE event) {
  while (MsgWaitForMultipleObjects(1, &event, FALSE, INFINITE, QS_ALLINPUT) != WAIT_OBJECT_0) {
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE) != 0) {
      DispatchMessageA(&message);
    }
  }
}

void serve(const char* application, HWND window, void (*wait_for)(HANDLE) = pump_until) {
  const Event ask(application, "Ask");
  Event(application, "Ready").set();
  wait_for(ask.handle());
  if (window != nullptr) {
    msginfo("window is %s", IsIconic(window) != 0 ? "minimised" : "restored");
  }
  char line[261] = {};  // A full record has no terminator.
  const int first = ov_get_instance_update(line);
  msginfo("update %d [%s] then %d", first, line, ov_get_instance_update(line));
}

bool start(int argc, char** argv) {
  if (std::strcmp(argv[2], "fast") == 0) {
    return ov_fast_initialize(argv[3], true);
  }
  char* application = std::strcmp(argv[3], "-") == 0 ? nullptr : argv[3];
  char* stand_in = std::getenv("ORSIN_TEST_MODULE");
  if (stand_in != nullptr) {
    argv[0] = stand_in;
  }
  return ov_initialize(application, "ORSIN_TEST_DATA", argc, argv);
}

constexpr char kBusy[] = "busy-";
constexpr char kAgain[] = "again-";

// The X of "busy-X" and "again-X".
std::string busy_work(const std::string& command) {
  return command.substr(command.find('-') + 1);
}

int act(const std::string& command, const char* application) {
  if (command.starts_with(kBusy) || command.starts_with(kAgain)) {
    return orsin::test::start_busy_threads(busy_work(command)) ? 0 : 1;
  }
  if (command == "level") {
    return 100 + 10 * msg_getlevel() + smp_numprocs();
  }
  if (command == "boxes") {
    constexpr UINT kBoxes = SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX;
    msginfo("boxes are %s", (GetErrorMode() & kBoxes) == kBoxes ? "off" : "on");
  } else if (command == "paths") {
    print_paths();
  } else if (command == "locale") {
    msginfo("locale '%s', text '%s'", ov_locale_get(), ov_pgettext("state", "Open"));
  } else if (command == "fast") {
    msginfo("not at this level");
    msgwarn("started fast with %d bytes in a heap block", 4096);
  } else if (command == "killed") {
    write_until_killed(application);
  } else if (command == "filter") {
    return orsinExceptionFilter(static_cast<int>(EXCEPTION_ACCESS_VIOLATION), nullptr);
  } else if (command == "access") {
    run_thread("Reader", read_null);
  } else if (command == "division") {
    run_thread("Divider", divide_by_zero);
  } else if (command == "copy" || command == "handles") {
    copy_program();
  } else if (command == "leave") {
    leave_to_closedown();
  } else if (command == "litter") {
    leave_litter(application);
  } else if (command == "tool") {
    start_child(application, true);
  } else if (command == "outlived") {
    start_child(application, false);
  } else if (command == "serve") {
    serve(application, nullptr);
  } else if (command == "window") {
    serve(application, make_main_window(application));
  } else if (command == "hung") {
    serve(application, make_main_window(application),
          [](HANDLE event) { WaitForSingleObject(event, INFINITE); });
  } else if (command == "restart" && RA_CheckProcessWasRestarted() == 0) {
    return RA_ActivateRestartProcess() - 1;
  }
  return 0;
}

// The command line in UTF-8; the run-time library's own is in the system's code page.
class Arguments {
 public:
  Arguments() {
    int count = 0;
    wchar_t** units = CommandLineToArgvW(GetCommandLineW(), &count);
    for (int i = 0; i < count; ++i) {
      std::string text(std::wcslen(units[i]) * 3 + 1, '\0');
      ov_wchar_to_utf8(units[i], text.data(), text.size());
      texts_.push_back(text);
    }
    LocalFree(static_cast<void*>(units));
    for (std::string& text : texts_) {
      pointers_.push_back(text.data());
    }
    pointers_.push_back(nullptr);
  }
  [[nodiscard]] int count() const { return static_cast<int>(texts_.size()); }
  char** get() { return pointers_.data(); }

 private:
  std::vector<std::string> texts_;
  std::vector<char*> pointers_;
};

}  // namespace

int main() {
  static Arguments arguments;
  const int argc = arguments.count();
  char** argv = arguments.get();
  if (argc >= 4 && std::strcmp(argv[2], "child") == 0) {
    print_and_linger(argv[3]);
    return 0;
  }
  if (argc < 4) {
    return 2;
  }
  const std::string command = argv[2];
  if (command == "boxes") {
    SetErrorMode(SEM_NOGPFAULTERRORBOX);
  }
  const std::size_t handles_before = command == "handles" ? orsin::test::open_handles() : 0;
  if (!start(argc, argv)) {
    return 2;
  }
  const int answer = act(command, argv[3]);
  const bool second_run = RA_CheckProcessWasRestarted() != 0;
  ov_closedown();
  if (command.starts_with(kAgain)) {
    std::string again = std::string(argv[3]) + "Again";
    if (!ov_initialize(again.data(), "ORSIN_TEST_DATA", argc, argv) ||
        !orsin::test::do_busy_round(busy_work(command))) {
      return 2;
    }
    ov_closedown();
  }
  if (command == "boxes") {
    return static_cast<int>(GetErrorMode());
  }
  if (command == "handles") {
    return static_cast<int>(orsin::test::open_handles() - handles_before);
  }
  if (second_run) {
    Event(argv[3], "Done").set();
  }
  return answer;
}
