// The processors and threads of native builds, with knobs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

#include "base/processor_port.h"

namespace orsin::test {

struct FakeProcessors {
  port::CoreQuery core_query = port::CoreQuery::kDone;
  std::vector<ProcessorEntry> cores = {{0x1, 0}, {0x2, 0}};
  std::uint32_t basic_count = 2;
  bool can_identify = true;
  std::map<std::uint32_t, IdentityRegisters> leaves;
  std::uint32_t fpu_control = 0x9001F;

  bool refuse_threads = false;
  int threads_granted = -1;        // So many more, then none; below 0 there is no limit.
  std::size_t stack_bytes = 0;     // Asked for by the last thread that was started.
  bool refuse_duplicates = false;  // Further handles to a thread.
  bool refuse_waits = false;
  bool ends_threads = false;  // Or refuses to. Those it has ended run on, but are not waited for.
  std::vector<unsigned int> ended;  // The identifiers of threads that were ended.
  bool refuse_affinity = false;
  void (*on_pause)() = nullptr;  // Called in every waiting loop, on the thread that waits.
  void (*on_wait)() = nullptr;   // Called once, as the next wait for a thread begins.
  std::uint16_t bound_group = 0;
  std::uint64_t bound_mask = 0;
  std::uint8_t bound_number = 0;
};

/// How many handles to threads are open.
std::size_t open_thread_handles();

/// The one instance; tests reset it with `fake_processors() = {}`.
FakeProcessors& fake_processors();

}  // namespace orsin::test
