// Threads, processors and scheduling of a simulated machine.
#include <cstdint>

#include "base/processor_port.h"
#include "tests/platform/machine/machine.h"
#include "threads/scheduling_port.h"
#include "threads/thread_port.h"

namespace orsin::port {

using namespace orsin::simulation;

namespace {

struct Thread : Object {
  Task* task = nullptr;
};

}  // namespace

StartedThread start_thread(const ThreadStart& start, std::size_t /*stack_bytes*/) noexcept {
  Call call("start thread");
  if (call.is_refused({kErrorNotEnoughMemory, kErrorNoSystemResources})) {
    return {};
  }
  const auto thread = std::make_shared<Thread>();
  thread->task = &machine().schedule.start(
      [start] {
        const Inside library;
        start.run(start.entry, start.argument);
      },
      [raw = thread.get(), thread] { machine().schedule.wake_all(raw); });
  return {machine().handles.open(thread), thread->task->identifier};
}

unsigned int current_thread_identifier() noexcept {
  return machine().schedule.current().identifier;
}

void* duplicate_thread(void* handle) noexcept {
  Call call("duplicate thread");
  const auto thread = machine().handles.get<Thread>(handle);
  return call.is_refused({kErrorNoSystemResources}) ? nullptr : machine().handles.open(thread);
}

ThreadWait wait_for_thread(void* handle, std::uint32_t timeout_ms) noexcept {
  Call call("wait for thread");
  const auto thread = machine().handles.get<Thread>(handle);
  const Nanoseconds end =
      timeout_ms == UINT32_MAX ? kNever : machine().schedule.now() + timeout_ms * kMillisecond;
  while (!thread->task->has_ended) {
    if (!machine().schedule.wait(thread.get(), "the end of a thread", end)) {
      return thread->task->has_ended ? ThreadWait::kEnded : ThreadWait::kTimedOut;
    }
  }
  return ThreadWait::kEnded;
}

bool terminate_thread(void* handle) noexcept {
  Call call("end thread");
  const auto thread = machine().handles.get<Thread>(handle);
  if (!thread->task->has_ended) {
    machine().schedule.end_now(*thread->task);
  }
  return true;
}

void close_thread(void* handle) noexcept {
  Call call("close thread");
  static_cast<void>(machine().handles.get<Thread>(handle));
  machine().handles.close(handle);
}

unsigned int memory_load_percent() noexcept {
  return 42;
}

void end_process(int exit_code) noexcept {
  fail("the library ends the process with %d", exit_code);
}

bool set_group_affinity(std::uint16_t /*group*/, std::uint64_t /*mask*/) noexcept {
  Call call("bind thread");
  return !call.is_refused({port::kErrorInvalidParameter});
}

bool set_ideal_processor(std::uint16_t /*group*/, std::uint8_t /*number*/) noexcept {
  Call call("advise processor");
  return !call.is_refused({port::kErrorInvalidParameter});
}

CoreQuery for_each_core(void (*add)(const ProcessorEntry& core)) noexcept {
  Call call("list processors");
  if (call.is_refused({kErrorNotEnoughMemory})) {
    return CoreQuery::kFailed;
  }
  for (std::uint64_t core = 0; core < 4; ++core) {
    add({std::uint64_t{1} << core, 0});
  }
  return CoreQuery::kDone;
}

std::uint32_t basic_processor_count() noexcept {
  return 4;
}

bool identify(std::uint32_t /*leaf*/, IdentityRegisters& registers) noexcept {
  registers = {};
  return true;
}

std::uint32_t read_fpu_control() noexcept {
  return 0x9001F;
}

void write_fpu_control(std::uint32_t /*control*/, std::uint32_t /*mask*/) noexcept {}

bool set_process_class(ProcessClass /*priority_class*/) noexcept {
  Call call("set process class");
  return !call.is_refused({kErrorAccessDenied});
}

bool set_thread_priority(ThreadPriority /*priority*/) noexcept {
  Call call("set thread priority");
  return !call.is_refused({kErrorAccessDenied});
}

bool disable_priority_boost() noexcept {
  Call call("disable boost");
  return !call.is_refused({kErrorAccessDenied});
}

PrivilegeResult enable_priority_privilege() noexcept {
  Call call("enable privilege");
  return call.is_refused({kErrorAccessDenied}) ? PrivilegeResult::kRefused
                                               : PrivilegeResult::kEnabled;
}

bool is_administrator() noexcept {
  return false;
}

}  // namespace orsin::port
