// What a started process shares with the world outside: its kernel objects and what configures it.
#include "tests/host/child_process.h"

namespace orsin {
namespace {

using test::ChildProcess;
using test::NamedEvent;

using OutsideNames = test::HostTest;

class MutexHandle {
 public:
  explicit MutexHandle(HANDLE mutex) : mutex_(mutex) {}
  ~MutexHandle() {
    if (mutex_ != nullptr) {
      CloseHandle(mutex_);
    }
  }
  MutexHandle(const MutexHandle&) = delete;
  MutexHandle& operator=(const MutexHandle&) = delete;

  [[nodiscard]] bool exists() const { return mutex_ != nullptr; }

 private:
  HANDLE mutex_;
};

TEST_F(OutsideNames, ARunningInstanceHoldsAMutexOfItsName) {
  NamedEvent ready(name() + "Ready");
  NamedEvent ask(name() + "Ask");
  const std::string mutex_name = name() + "_5E4C86F371114ee585BCDA0859351AE0";
  ASSERT_FALSE(MutexHandle(OpenMutexA(SYNCHRONIZE, FALSE, mutex_name.c_str())).exists());

  ChildProcess first(host("serve"));
  ASSERT_TRUE(ready.wait());

  EXPECT_TRUE(MutexHandle(OpenMutexA(SYNCHRONIZE, FALSE, mutex_name.c_str())).exists());
  ask.set();
  EXPECT_EQ(first.wait(), 0);
}

TEST_F(OutsideNames, WhoeverHoldsThatMutexKeepsAnInstanceFromStarting) {
  const std::string mutex_name = name() + "_5E4C86F371114ee585BCDA0859351AE0";
  const MutexHandle mutex(CreateMutexA(nullptr, FALSE, mutex_name.c_str()));
  ASSERT_TRUE(mutex.exists());
  // With a main window to bring to the front there is no message box to answer.
  const std::string class_name = name() + "KORVANE";
  WNDCLASSA window_class = {};
  window_class.lpfnWndProc = DefWindowProcA;
  window_class.lpszClassName = class_name.c_str();
  ASSERT_NE(RegisterClassA(&window_class), 0);
  HWND window = CreateWindowA(class_name.c_str(), "", WS_OVERLAPPEDWINDOW, 0, 0, 100, 100, nullptr,
                              nullptr, nullptr, nullptr);
  ASSERT_NE(window, nullptr);

  EXPECT_EQ(run("close"), 2);

  EXPECT_EQ(log(), "") << "nothing may be started";
  DestroyWindow(window);
  UnregisterClassA(class_name.c_str(), nullptr);
}

TEST_F(OutsideNames, TheHeapsTakeTheirSizesFromTheMemoryConfiguration) {
  directory().write("Settings/memory.cfg", "image_heap_size=40\nproxy_heap_size=136\n");

  EXPECT_EQ(run("close"), 0);

  const std::string text = log();
  for (const char* line : {"INFO : Memory config:", " : image_heap_size=40",
                           " Proxy heap     :   136.000 Mb", " Image heap     :    40.000 Mb"}) {
    EXPECT_NE(text.find(line), std::string::npos) << line << "\n" << text;
  }
}

TEST_F(OutsideNames, AskForNoMoreThan128Workers) {
  EXPECT_EQ(run("level", "-P200"), 100 + 10 * 2 + 128);
}

}  // namespace
}  // namespace orsin
