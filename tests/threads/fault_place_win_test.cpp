// Where a fault came from: what the guard remembers of it, and which module that is.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "base/compiler.h"
#include "base/win/windows.h"
#include "orsincore/threads.h"
#include "threads/fault_guard.h"
#include "threads/module_place_port.h"

namespace orsin {
namespace {

constexpr std::uint32_t kAccessViolation = 0xC0000005;

// Where the function below faults, and where it is called from: between these in the file.
constexpr std::uintptr_t kLongestFunction = 256;

const volatile int* volatile null_pointer = nullptr;
void (*volatile null_function)() = nullptr;
volatile int sink = 0;

ORSIN_NOINLINE void read_null(void* /*argument*/) {
  sink = *null_pointer;
}

ORSIN_NOINLINE void call_null(void* /*argument*/) {
  null_function();
  sink = 1;  // So that the call is no jump.
}

template <typename Function>
std::uintptr_t address_of(Function* function) {
  return reinterpret_cast<std::uintptr_t>(function);
}

std::string own_file() {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  const std::wstring file = std::wstring(path).substr(std::wstring(path).rfind(L'\\') + 1);
  return {file.begin(), file.end()};
}

TEST(EscapedFault, IsPlacedAtTheInstructionThatFaulted) {
  const EscapedFault fault = run_guarded(read_null, nullptr);

  EXPECT_EQ(fault.code, kAccessViolation);
  EXPECT_TRUE(fault.is_place_known);
  EXPECT_GE(fault.instruction, address_of(read_null));
  EXPECT_LT(fault.instruction, address_of(read_null) + kLongestFunction);
  EXPECT_EQ(fault.caller, 0U);
}

TEST(EscapedFault, OfACallThroughNullKnowsTheCaller) {
  const EscapedFault fault = run_guarded(call_null, nullptr);

  EXPECT_EQ(fault.code, kAccessViolation);
  EXPECT_TRUE(fault.is_place_known);
  EXPECT_EQ(fault.instruction, 0U);
  EXPECT_GT(fault.caller, address_of(call_null));
  EXPECT_LT(fault.caller, address_of(call_null) + kLongestFunction);
}

TEST(EscapedFault, ThatFollowsACaughtOneIsPlacedItself) {
  const EscapedFault fault = run_guarded(
      [](void*) {
        try {
          call_null(nullptr);
        } catch (const SE_Exception&) {
          sink = 2;
        }
        read_null(nullptr);
      },
      nullptr);

  EXPECT_GE(fault.instruction, address_of(read_null));
  EXPECT_LT(fault.instruction, address_of(read_null) + kLongestFunction);
  EXPECT_EQ(fault.caller, 0U);
}

TEST(EscapedFault, ThatSomebodyHasThrownHasNoPlace) {
  const EscapedFault fault =
      run_guarded([](void*) { throw SE_Exception(kAccessViolation, nullptr); }, nullptr);

  EXPECT_EQ(fault.code, kAccessViolation);
  EXPECT_FALSE(fault.is_place_known);
}

TEST(EscapedFault, IsNoneWhereNothingFaulted) {
  const EscapedFault fault = run_guarded([](void*) {}, nullptr);

  EXPECT_EQ(fault.code, 0U);
  EXPECT_FALSE(fault.is_place_known);
}

TEST(ModulePlace, IsTheFileAndTheOffsetFromWhereItWasLoaded) {
  port::ModulePlace place = {};

  ASSERT_TRUE(port::find_module_place(address_of(read_null), place));

  EXPECT_EQ(place.file, own_file());
  EXPECT_EQ(place.offset, address_of(read_null) - address_of(GetModuleHandleW(nullptr)));
}

TEST(ModulePlace, IsNowhereForDataNullAndTheUnmapped) {
  const int on_the_stack = 0;
  port::ModulePlace place = {};

  EXPECT_FALSE(port::find_module_place(address_of(&on_the_stack), place));
  EXPECT_FALSE(port::find_module_place(0, place));
  EXPECT_FALSE(port::find_module_place(UINTPTR_MAX, place));
}

}  // namespace
}  // namespace orsin
