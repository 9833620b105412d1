// Processor faults as C++ exceptions. Compiled twice: against the library's objects, and against
// the finished DLL as a host would be, which must share the exception's type with it.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/compiler.h"
#include "base/win/windows.h"
#include "orsincore/log.h"
#include "orsincore/threads.h"

namespace {

constexpr unsigned int kAccessViolation = 0xC0000005;
constexpr unsigned int kDivideByZero = 0xC0000094;
constexpr unsigned int kStackOverflow = 0xC00000FD;
constexpr unsigned int kLongMs = 60000;

const volatile int* volatile null_pointer = nullptr;
void (*volatile null_function)() = nullptr;
volatile int zero = 0;
volatile int sink = 0;

ORSIN_NOINLINE void read_null() {
  sink = *null_pointer;
}

ORSIN_NOINLINE void divide_by_zero() {
  sink = 1000 / zero;
}

ORSIN_NOINLINE void call_null() {
  null_function();
}

// A fault wherever frames of this size meet the end of the stack.
template <std::size_t kFrameBytes>
ORSIN_NOINLINE int recurse_in_frames(int depth) {
  volatile char frame[kFrameBytes];
  frame[0] = static_cast<char>(depth);
  return depth < 0 ? 0 : recurse_in_frames<kFrameBytes>(depth + 1) + frame[0];
}

template <std::size_t kFrameBytes>
void overflow_in_frames() {
  sink = recurse_in_frames<kFrameBytes>(1);
}

void overflow_stack() {
  overflow_in_frames<4096>();
}

// Clang takes -fnon-call-exceptions for this target and does nothing: to it what only reads memory cannot
// throw, so it leaves out handlers and destructors around that. The tests that begin with this need them.
#if defined(__clang__)
#define NEEDS_READS_THAT_THROW GTEST_SKIP() << "this compiler makes no exceptions of faults"
#else
#define NEEDS_READS_THAT_THROW static_cast<void>(0)
#endif

template <DWORD kCode>
void raise() {
  RaiseException(kCode, 0, 0, nullptr);
}

ORSIN_NOINLINE void read_null_noexcept() noexcept {
  sink = *null_pointer;
}

// Runs `fault` in a thread of its own with the log on standard error.
void run_in_thread(const char* name, void (*fault)(void*)) {
  msg_open(nullptr);
  mp_join_thread(mp_start_thread(name, fault, nullptr), kLongMs);
}

TEST(FaultInAThreadDeathTest, AccessViolationNamesTheThreadAndEndsTheProcess) {
  EXPECT_EXIT(run_in_thread("Reader", [](void*) { read_null(); }), testing::ExitedWithCode(-1),
              "THREAD\\(Reader\\): Fatal Error \\(VM: +\\d+%\\)");
}

TEST(FaultInAThreadDeathTest, DivisionByZeroNamesTheThreadAndTheCode) {
  EXPECT_EXIT(run_in_thread("Divider", [](void*) { divide_by_zero(); }),
              testing::ExitedWithCode(-1),
              "THREAD\\(Divider\\): Fatal Error, Exception: 0xc0000094 \\(VM: +\\d+%\\)");
}

TEST(FaultInAThreadDeathTest, CallThroughNullEndsTheProcess) {
  EXPECT_EXIT(run_in_thread("Caller", [](void*) { call_null(); }), testing::ExitedWithCode(-1),
              "THREAD\\(Caller\\): Fatal Error \\(VM: ");
}

TEST(FaultInAThreadDeathTest, StackOverflowEndsTheProcess) {
  EXPECT_EXIT(run_in_thread("Deep", [](void*) { overflow_stack(); }), testing::ExitedWithCode(-1),
              "THREAD\\(Deep\\): Fatal Error, Exception: 0xc00000fd \\(VM: ");
}

TEST(FaultInAThreadDeathTest, CodeThatMustNotThrowStillEndsInTheBlock) {
  EXPECT_EXIT(run_in_thread("Strict", [](void*) { read_null_noexcept(); }),
              testing::ExitedWithCode(-1), "THREAD\\(Strict\\): Fatal Error \\(VM: ");
}

TEST(FaultInAThreadDeathTest, BlockStandsBetweenLinesOf56Asterisks) {
  const char* kBlock =
      "ERROR: \\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*"
      "\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\\*\r?\n";

  EXPECT_EXIT(run_in_thread("Stars", [](void*) { read_null(); }), testing::ExitedWithCode(-1),
              kBlock);
}

TEST(FaultInAThreadDeathTest, TheBlockComesAfterTheModuleAndTheOffset) {
  const auto run_at_information = [] {
    msg_open(nullptr);
    msg_setlevel(2);
    mp_join_thread(mp_start_thread(
                       "Placed", [](void*) { read_null(); }, nullptr),
                   kLongMs);
  };

  EXPECT_EXIT(
      run_at_information(), testing::ExitedWithCode(-1),
      "INFO : THREAD\\(Placed\\): Exception 0xc0000005 at \\w+\\.exe\\+0x\\w+\r?\n.*ERROR: ");
}

#if defined(__MINGW32__)

// Whatever allocates from now on faults, a throw included: the C run-time library's allocator becomes
// an instruction that does not exist.
void break_allocator() {
  constexpr unsigned char kIllegal[] = {0x0F, 0x0B};
  void* allocator =
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("msvcrt.dll"), "malloc"));
  DWORD old_protection = 0;
  VirtualProtect(allocator, sizeof(kIllegal), PAGE_EXECUTE_READWRITE, &old_protection);
  std::memcpy(allocator, kIllegal, sizeof(kIllegal));
}

TEST(FaultInAThreadDeathTest, AFaultOnADamagedHeapEndsTheProcessWithTheBlock) {
  EXPECT_EXIT(run_in_thread("Damaged",
                            [](void*) {
                              break_allocator();
                              read_null();
                            }),
              testing::ExitedWithCode(-1), "THREAD\\(Damaged\\): Fatal Error \\(VM: ");
}

TEST(FaultInAThreadDeathTest, AFaultInsideTheAllocatorEndsTheProcessWithTheBlock) {
  EXPECT_EXIT(run_in_thread("Allocator",
                            [](void*) {
                              break_allocator();
                              void* volatile block = std::malloc(100);
                              sink = block != nullptr ? 1 : 0;
                            }),
              testing::ExitedWithCode(-1),
              "THREAD\\(Allocator\\): Fatal Error, Exception: 0xc000001d \\(VM: ");
}

#endif

struct FaultsAtItsEnd {
  ~FaultsAtItsEnd() { divide_by_zero(); }
};

TEST(FaultInAThreadDeathTest, AFaultInADestructorDuringUnwindingEndsTheProcessWithTheBlock) {
  EXPECT_EXIT(run_in_thread("Unwinding",
                            [](void*) {
                              const FaultsAtItsEnd object;
                              read_null();
                            }),
              testing::ExitedWithCode(-1), "THREAD\\(Unwinding\\): Fatal Error");
}

// The text is nowhere: the log faults while it holds its lock.
TEST(FaultInAThreadDeathTest, AFaultInTheLogEndsTheProcessWithTheBlock) {
  EXPECT_EXIT(run_in_thread("Writer",
                            [](void*) {
                              const char* volatile text = reinterpret_cast<const char*>(8);
                              msgerror("%s", text);
                            }),
              testing::ExitedWithCode(-1), "THREAD\\(Writer\\): Fatal Error \\(VM: ");
}

class FaultingWork : public OV_Thread {
 public:
  void Run() override { read_null(); }
};

void fault_in_the_background() {
  msg_open(nullptr);
  FaultingWork work;
  work.Start();
  OV_Thread::Flush();
}

TEST(FaultInAThreadDeathTest, AFaultInBackgroundWorkNamesTheWorker) {
  EXPECT_EXIT(fault_in_the_background(), testing::ExitedWithCode(-1),
              "THREAD\\(OV_Worker\\): Fatal Error \\(VM: ");
}

// What a thread that catches its own faults saw.
struct Caught {
  unsigned int code = 0;
  bool has_pointers = false;
  bool destructor_ran = false;
  int count = 0;
};

template <typename Body>
Caught run_catching(Body body) {
  struct Call {
    Body body;
    Caught caught;
  } call = {body, {}};
  const unsigned int thread = mp_start_thread(
      "Catcher",
      [](void* argument) {
        auto* the = static_cast<Call*>(argument);
        the->body(the->caught);
      },
      &call);
  EXPECT_EQ(mp_join_thread(thread, kLongMs), 1);
  return call.caught;
}

void catch_fault(void (*fault)(), Caught& caught) {
  try {
    fault();
  } catch (const SE_Exception& exception) {
    caught.code = exception.getSeNumber();
    caught.has_pointers = exception.getSePointers() != nullptr;
    ++caught.count;
  }
}

TEST(FaultException, ReachesAnInnerCatchWithItsCode) {
  const struct {
    const char* what;
    void (*fault)();
    unsigned int code;
  } cases[] = {
      {"null read", read_null, kAccessViolation},
      {"division by zero", divide_by_zero, kDivideByZero},
      {"call through null", call_null, kAccessViolation},
      {"stack overflow", overflow_stack, kStackOverflow},
      {"breakpoint", DebugBreak, EXCEPTION_BREAKPOINT},
      {"guard page", raise<EXCEPTION_GUARD_PAGE>, EXCEPTION_GUARD_PAGE},
      {"single step", raise<EXCEPTION_SINGLE_STEP>, EXCEPTION_SINGLE_STEP},
      {"several floating-point faults", raise<0xC00002B4>, 0xC00002B4},
      {"several floating-point traps", raise<0xC00002B5>, 0xC00002B5},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);

    const Caught caught = run_catching([&](Caught& seen) { catch_fault(c.fault, seen); });

    EXPECT_EQ(caught.code, c.code);
    EXPECT_TRUE(caught.has_pointers);
  }
}

TEST(FaultException, IsThrownWithAsLittleStackAsAnOverflowLeaves) {
  void (*const overflows[])() = {overflow_in_frames<1>,    overflow_in_frames<40>,
                                 overflow_in_frames<360>,  overflow_in_frames<1100>,
                                 overflow_in_frames<3000>, overflow_in_frames<9000>};
  for (const auto overflow : overflows) {
    const Caught caught = run_catching([&](Caught& seen) { catch_fault(overflow, seen); });

    EXPECT_EQ(caught.code, kStackOverflow);
  }
}

TEST(FaultException, CanBeCaughtInTheVeryFunctionThatFaults) {
  NEEDS_READS_THAT_THROW;
  const Caught caught = run_catching([](Caught& seen) {
    try {
      sink = *null_pointer;
    } catch (const SE_Exception& exception) {
      seen.code = exception.getSeNumber();
    }
  });

  EXPECT_EQ(caught.code, kAccessViolation);
}

struct MarksItsEnd {
  explicit MarksItsEnd(bool& mark) : mark_(mark) {}
  ~MarksItsEnd() { mark_ = true; }
  bool& mark_;
};

ORSIN_NOINLINE void fault_beside_an_object(bool& mark) {
  const MarksItsEnd object(mark);
  read_null();
}

TEST(FaultException, RunsDestructorsOnItsWay) {
  NEEDS_READS_THAT_THROW;
  const Caught caught = run_catching([](Caught& seen) {
    try {
      fault_beside_an_object(seen.destructor_ran);
    } catch (const SE_Exception&) {
      ++seen.count;
    }
  });

  EXPECT_TRUE(caught.destructor_ran);
  EXPECT_EQ(caught.count, 1);
}

TEST(FaultException, CanBeCaughtAgainAndAgain) {
  constexpr int kFaults = 2000;

  const Caught caught = run_catching([](Caught& seen) {
    for (int i = 0; i < kFaults; ++i) {
      catch_fault(i % 2 == 0 ? read_null : divide_by_zero, seen);
    }
  });

  EXPECT_EQ(caught.count, kFaults);
}

TEST(FaultException, ReachesACatchOnTheMainThread) {
  NEEDS_READS_THAT_THROW;
  mp_join_thread(mp_start_thread(
                     "First", [](void*) {}, nullptr),
                 kLongMs);  // Sets the guard up.

  Caught caught;
  catch_fault(read_null, caught);

  EXPECT_EQ(caught.code, kAccessViolation);
}

// What is pointed to cannot be read: whatever dumped it would fault.
TEST(FaultException, KeepsADumpFunctionThatDoesNothing) {
  const Caught caught = run_catching([](Caught& seen) {
    try {
      SE_Exception(7, reinterpret_cast<_EXCEPTION_POINTERS*>(std::uintptr_t{64})).DumpFile();
      ++seen.count;
    } catch (const SE_Exception& fault) {
      seen.code = fault.getSeNumber();
    }
  });

  EXPECT_EQ(caught.code, 0U);
  EXPECT_EQ(caught.count, 1);
}

// Sets the guard up, with this thread as the one that did it.
void install_here() {
  mp_join_thread(mp_start_thread(
                     "First", [](void*) {}, nullptr),
                 kLongMs);
}

// Nothing may pass, or the test's own frames would catch it.
void fault_on_this_thread() noexcept {
  msg_open(nullptr);
  install_here();
  read_null();
}

void overflow_on_this_thread() noexcept {
  msg_open(nullptr);
  install_here();
  overflow_stack();
}

void fault_on_this_thread_at_information() noexcept {
  msg_open(nullptr);
  msg_setlevel(2);
  install_here();
  read_null();
}

TEST(FaultOnTheMainThreadDeathTest, NamesItsModuleBeforeTheBlock) {
  EXPECT_EXIT(
      fault_on_this_thread_at_information(),
      testing::ExitedWithCode(static_cast<int>(kAccessViolation)),
      "INFO : THREAD\\(Unknown\\): Exception 0xc0000005 at \\w+\\.exe\\+0x\\w+\r?\n.*ERROR: ");
}

TEST(FaultOnTheMainThreadDeathTest, AStackOverflowIsReportedToo) {
  EXPECT_EXIT(overflow_on_this_thread(), testing::ExitedWithCode(static_cast<int>(kStackOverflow)),
              "Fatal Error, Exception: 0xc00000fd, Thread: Unknown");
}

// The host's own threads and its crash filter.

constexpr unsigned int kSwallowed = 3;
constexpr unsigned int kSeenByTheHost = 77;

LONG WINAPI hosts_filter(EXCEPTION_POINTERS* information) {
  std::fprintf(stderr, "host saw %08lx\n", information->ExceptionRecord->ExceptionCode);
  TerminateProcess(GetCurrentProcess(), kSeenByTheHost);
  return EXCEPTION_EXECUTE_HANDLER;
}

DWORD WINAPI swallow_everything(void* /*parameter*/) {
  try {
    read_null();
  } catch (...) {
    TerminateProcess(GetCurrentProcess(), kSwallowed);
  }
  return 0;
}

void fault_in_a_thread_of_the_host() {
  SetUnhandledExceptionFilter(hosts_filter);
  install_here();
  HANDLE thread = CreateThread(nullptr, 0, swallow_everything, nullptr, 0, nullptr);
  WaitForSingleObject(thread, INFINITE);
}

TEST(FaultInAThreadOfTheHostDeathTest, ReachesTheHostsFilterUntouched) {
  EXPECT_EXIT(fault_in_a_thread_of_the_host(), testing::ExitedWithCode(kSeenByTheHost),
              "host saw c0000005");
}

void fault_on_this_thread_under_a_filter() noexcept {
  SetUnhandledExceptionFilter(hosts_filter);
  fault_on_this_thread();
}

TEST(FaultOnTheMainThreadDeathTest, ReachesTheHostsFilterAsTheFaultItWas) {
  EXPECT_EXIT(fault_on_this_thread_under_a_filter(), testing::ExitedWithCode(kSeenByTheHost),
              "host saw c0000005");
}

TEST(FaultOnTheMainThreadDeathTest, WritesTheHostsBlockWhenNobodyCatches) {
  EXPECT_EXIT(fault_on_this_thread(), testing::ExitedWithCode(static_cast<int>(kAccessViolation)),
              "Fatal Error: Access violation, Thread: Unknown");
}

}  // namespace
