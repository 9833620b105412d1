// The thread and processor ports over the standard library. Faults stay the system's business here.
#include <algorithm>
#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

#include "base/processor_port.h"
#include "base/spin_wait.h"
#include "tests/platform/native/fake_processors.h"
#include "threads/thread_port.h"

namespace orsin {

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
  unsigned int identifier = 0;
  std::shared_ptr<ThreadEnd> end = std::make_shared<ThreadEnd>();

  // As the platform's: a thread without handles runs on if it has not ended.
  ~NativeThread() {
    bool ended = false;
    {
      const std::lock_guard guard(end->mutex);
      ended = end->ended;
    }
    if (!thread.joinable()) {
      return;
    }
    if (ended) {
      thread.join();
    } else {
      thread.detach();
    }
  }
};

// Handles are places in a table. As the platform does, the lowest free one is given out first, so that
// a handle that is used after it was closed soon is another thread's.
constexpr std::size_t kHandlesMax = 512;
std::mutex handles_mutex;
std::array<std::shared_ptr<NativeThread>, kHandlesMax> handles;

void* open_handle(std::shared_ptr<NativeThread> thread) {
  const std::lock_guard guard(handles_mutex);
  const auto place = std::find(handles.begin(), handles.end(), nullptr);
  if (place == handles.end()) {
    return nullptr;
  }
  *place = std::move(thread);
  return reinterpret_cast<void*>(static_cast<std::uintptr_t>(place - handles.begin()) + 1);
}

std::shared_ptr<NativeThread>& place_of(void* handle) {
  return handles.at(reinterpret_cast<std::uintptr_t>(handle) - 1);
}

// Of an open handle: any other ends the test.
std::shared_ptr<NativeThread> thread_of(void* handle) {
  const std::lock_guard guard(handles_mutex);
  if (place_of(handle) == nullptr) {
    std::abort();
  }
  return place_of(handle);
}

std::mutex identifier_mutex;
unsigned int next_identifier = 100;
thread_local unsigned int own_identifier = 1;

}  // namespace

StartedThread start_thread(const ThreadStart& start, std::size_t stack_bytes) noexcept {
  test::FakeProcessors& fake = test::fake_processors();
  fake.stack_bytes = stack_bytes;
  if (fake.refuse_threads || fake.threads_granted == 0) {
    return {};
  }
  const auto started = std::make_shared<NativeThread>();
  fake.threads_granted -= fake.threads_granted > 0 ? 1 : 0;
  unsigned int identifier = 0;
  {
    const std::lock_guard guard(identifier_mutex);
    identifier = next_identifier++;
  }
  started->identifier = identifier;
  started->thread = std::thread([=, end = started->end] {
    own_identifier = identifier;
    start.run(start.entry, start.argument);
    const std::lock_guard guard(end->mutex);
    end->ended = true;
    end->changed.notify_all();
  });
  return {open_handle(started), identifier};
}

unsigned int current_thread_identifier() noexcept {
  return own_identifier;
}

void* duplicate_thread(void* handle) noexcept {
  return test::fake_processors().refuse_duplicates ? nullptr : open_handle(thread_of(handle));
}

ThreadWait wait_for_thread(void* handle, std::uint32_t timeout_ms) noexcept {
  if (test::fake_processors().refuse_waits) {
    return ThreadWait::kFailed;
  }
  if (const auto on_wait = std::atomic_ref(test::fake_processors().on_wait).exchange(nullptr)) {
    on_wait();
  }
  const std::shared_ptr<NativeThread> thread = thread_of(handle);
  ThreadEnd& end = *thread->end;
  std::unique_lock guard(end.mutex);
  const bool ended =
      end.changed.wait_for(guard, std::chrono::milliseconds(timeout_ms), [&] { return end.ended; });
  return ended ? ThreadWait::kEnded : ThreadWait::kTimedOut;
}

bool terminate_thread(void* handle) noexcept {
  const unsigned int identifier = thread_of(handle)->identifier;
  if (!test::fake_processors().ends_threads) {
    return false;
  }
  test::fake_processors().ended.push_back(identifier);
  return true;
}

void close_thread(void* handle) noexcept {
  std::shared_ptr<NativeThread> thread = thread_of(handle);
  const std::lock_guard guard(handles_mutex);
  place_of(handle) = nullptr;
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
namespace test {

std::size_t open_thread_handles() {
  const std::lock_guard guard(port::handles_mutex);
  return port::handles.size() -
         static_cast<std::size_t>(std::count(port::handles.begin(), port::handles.end(), nullptr));
}

}  // namespace test
}  // namespace orsin
