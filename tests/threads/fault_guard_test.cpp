// Processor faults as C++ exceptions. Compiled twice: against the library's objects, and against
// the finished DLL as a host would be, which must share the exception's type with it.
#include <gtest/gtest.h>

#include <cstdint>

#include "base/compiler.h"
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

ORSIN_NOINLINE int recurse(int depth) {
  volatile char frame[4096];
  frame[0] = static_cast<char>(depth);
  return depth < 0 ? 0 : recurse(depth + 1) + frame[0];
}

ORSIN_NOINLINE void overflow_stack() {
  sink = recurse(1);
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
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);

    const Caught caught = run_catching([&](Caught& seen) { catch_fault(c.fault, seen); });

    EXPECT_EQ(caught.code, c.code);
    EXPECT_TRUE(caught.has_pointers);
  }
}

TEST(FaultException, CanBeCaughtInTheVeryFunctionThatFaults) {
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
  mp_join_thread(mp_start_thread(
                     "First", [](void*) {}, nullptr),
                 kLongMs);  // Sets the guard up.

  Caught caught;
  catch_fault(read_null, caught);

  EXPECT_EQ(caught.code, kAccessViolation);
}

TEST(FaultException, CarriesCodeAndPointersThroughCopies) {
  auto* pointers = reinterpret_cast<_EXCEPTION_POINTERS*>(std::uintptr_t{64});
  const SE_Exception original(7, pointers);
  SE_Exception assigned(1, nullptr);

  const SE_Exception copy(original);
  assigned = original;

  EXPECT_EQ(copy.getSeNumber(), 7U);
  EXPECT_EQ(copy.getSePointers(), pointers);
  EXPECT_EQ(assigned.getSeNumber(), 7U);
  EXPECT_EQ(assigned.getSePointers(), pointers);
}

TEST(FaultException, KeepsADumpFunctionThatDoesNothing) {
  const SE_Exception exception(7, nullptr);

  exception.DumpFile();

  EXPECT_EQ(exception.getSeNumber(), 7U);
}

// Nothing may pass, or the test's own frames would catch it.
void fault_on_this_thread() noexcept {
  msg_open(nullptr);
  mp_join_thread(mp_start_thread(
                     "First", [](void*) {}, nullptr),
                 kLongMs);
  read_null();
}

TEST(FaultOnTheMainThreadDeathTest, WritesTheHostsBlockWhenNobodyCatches) {
  EXPECT_EXIT(fault_on_this_thread(), testing::ExitedWithCode(static_cast<int>(kAccessViolation)),
              "Fatal Error: Access violation, Thread: Unknown");
}

}  // namespace
