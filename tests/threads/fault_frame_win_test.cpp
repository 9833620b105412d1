// What the fault guard does to a faulting thread's stack, seen from below: the filter is called by
// hand, as the system's dispatcher calls it.
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstring>

#include "base/win/windows.h"
#include "threads/fault_guard.h"

#if defined(__GNUC__)

extern "C" LONG WINAPI orsin_fault_filter(EXCEPTION_POINTERS* information, void* frame);

namespace orsin {
namespace {

// Below a faulting thread's stack pointer lie the record and the context that the dispatcher still
// reads after the filter, and the dispatcher's own frames.
TEST(FaultFilter, WritesNothingOnTheStackWhereTheDispatcherIsStillAtWork) {
  struct Dispatch {
    alignas(16) std::array<unsigned char, 4096> below_the_stack_pointer;
    LONG answer;
    bool is_untouched;
    DWORD64 stack_pointer_before;
    DWORD64 stack_pointer_after;
  };
  Dispatch dispatch = {};

  const auto fault = [](void* argument) {
    auto& the = *static_cast<Dispatch*>(argument);
    the.below_the_stack_pointer.fill(0xA5);
    const auto before = the.below_the_stack_pointer;
    EXCEPTION_RECORD record = {};
    record.ExceptionCode = EXCEPTION_ACCESS_VIOLATION;
    CONTEXT context = {};
    context.Rip = reinterpret_cast<DWORD64>(&orsin_fault_filter);
    context.Rsp = reinterpret_cast<DWORD64>(&the.below_the_stack_pointer + 1);
    the.stack_pointer_before = context.Rsp;
    EXCEPTION_POINTERS pointers = {&record, &context};

    the.answer = orsin_fault_filter(&pointers, nullptr);

    the.stack_pointer_after = context.Rsp;
    the.is_untouched = the.below_the_stack_pointer == before;
  };
  static_cast<void>(run_guarded(fault, &dispatch));

  EXPECT_EQ(dispatch.answer, EXCEPTION_CONTINUE_EXECUTION);
  EXPECT_LT(dispatch.stack_pointer_after, dispatch.stack_pointer_before);
  EXPECT_TRUE(dispatch.is_untouched);
}

}  // namespace
}  // namespace orsin

#endif
