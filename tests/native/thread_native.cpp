// The thread and processor ports over the standard library. Faults stay the system's business here.
#include <condition_variable>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <new>
#include <thread>

#include "base/processor_port.h"
#include "base/spin_wait.h"
#include "tests/native/fake_processors.h"
#include "threads/fault_guard.h"
#include "threads/thread_port.h"

namespace orsin {

void install_fault_guard() {}

std::uint32_t run_guarded(void (*entry)(void*), void* argument) {
  entry(argument);
  return 0;
}

bool run_shielded(void (*entry)(void*), void* argument) {
  try {
    entry(argument);
    return true;
  } catch (...) {
    return false;
  }
}

namespace test {

FakeProcessors& fake_processors() {
  static FakeProcessors processors;
  return processors;
}

}  // namespace test

namespace port {
namespace {

// Shared by the handle and the thread, so that either may be gone first.
struct ThreadEnd {
  std::mutex mutex;
  std::condition_variable changed;
  bool ended = false;
};

struct NativeThread {
  std::thread thread;
  std::shared_ptr<ThreadEnd> end = std::make_shared<ThreadEnd>();
};

std::mutex identifier_mutex;
unsigned int next_identifier = 100;
thread_local unsigned int own_identifier = 1;

}  // namespace

StartedThread start_thread(const ThreadStart& start, std::size_t /*stack_bytes*/) noexcept {
  test::FakeProcessors& fake = test::fake_processors();
  auto* started = new (std::nothrow) NativeThread;
  if (started == nullptr || fake.refuse_threads || fake.threads_granted == 0) {
    delete started;
    return {};
  }
  fake.threads_granted -= fake.threads_granted > 0 ? 1 : 0;
  unsigned int identifier = 0;
  {
    const std::lock_guard guard(identifier_mutex);
    identifier = next_identifier++;
  }
  started->thread = std::thread([=, end = started->end] {
    own_identifier = identifier;
    start.run(start.entry, start.argument);
    const std::lock_guard guard(end->mutex);
    end->ended = true;
    end->changed.notify_all();
  });
  return {started, identifier};
}

unsigned int current_thread_identifier() noexcept {
  return own_identifier;
}

ThreadWait wait_for_thread(void* handle, std::uint32_t timeout_ms) noexcept {
  if (test::fake_processors().refuse_waits) {
    return ThreadWait::kFailed;
  }
  ThreadEnd& end = *static_cast<NativeThread*>(handle)->end;
  std::unique_lock guard(end.mutex);
  const bool ended =
      end.changed.wait_for(guard, std::chrono::milliseconds(timeout_ms), [&] { return end.ended; });
  return ended ? ThreadWait::kEnded : ThreadWait::kTimedOut;
}

bool terminate_thread(void* /*handle*/) noexcept {
  return false;
}

// As the platform's: the thread runs on if it has not ended.
void close_thread(void* handle) noexcept {
  auto* thread = static_cast<NativeThread*>(handle);
  bool ended = false;
  {
    const std::lock_guard guard(thread->end->mutex);
    ended = thread->end->ended;
  }
  if (ended) {
    thread->thread.join();
  } else {
    thread->thread.detach();
  }
  delete thread;
}

unsigned int memory_load_percent() noexcept {
  return 42;
}

void end_process(int exit_code) noexcept {
  std::_Exit(exit_code);
}

bool set_group_affinity(std::uint16_t group, std::uint64_t mask) noexcept {
  test::fake_processors().bound_group = group;
  test::fake_processors().bound_mask = mask;
  return !test::fake_processors().refuse_affinity;
}

bool set_ideal_processor(std::uint16_t group, std::uint8_t number) noexcept {
  test::fake_processors().bound_group = group;
  test::fake_processors().bound_number = number;
  return !test::fake_processors().refuse_affinity;
}

void pause_processor() noexcept {
  if (const auto on_pause = test::fake_processors().on_pause) {
    on_pause();
  }
  __builtin_ia32_pause();
}

void yield_processor() noexcept {
  std::this_thread::yield();
}

CoreQuery for_each_core(void (*add)(const ProcessorEntry& core)) noexcept {
  const test::FakeProcessors& fake = test::fake_processors();
  if (fake.core_query == CoreQuery::kDone) {
    for (const ProcessorEntry& core : fake.cores) {
      add(core);
    }
  }
  return fake.core_query;
}

std::uint32_t basic_processor_count() noexcept {
  return test::fake_processors().basic_count;
}

bool identify(std::uint32_t leaf, IdentityRegisters& registers) noexcept {
  const test::FakeProcessors& fake = test::fake_processors();
  const auto found = fake.leaves.find(leaf);
  registers = found == fake.leaves.end() ? IdentityRegisters{} : found->second;
  return fake.can_identify;
}

std::uint32_t read_fpu_control() noexcept {
  return test::fake_processors().fpu_control;
}

void write_fpu_control(std::uint32_t control, std::uint32_t mask) noexcept {
  std::uint32_t& current = test::fake_processors().fpu_control;
  current = (current & ~mask) | (control & mask);
}

}  // namespace port
}  // namespace orsin
