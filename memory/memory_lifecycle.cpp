// Brings the memory layer up and takes it down, with what it leaves at the end told to the log.
#include "memory/memory_lifecycle.h"

#include "base/lock.h"
#include "memory/os_allocation.h"
#include "memory/out_of_memory.h"
#include "memory/process_heap_port.h"
#include "memory/small_blocks.h"
#include "orsincore/log.h"

namespace orsin {
namespace {

// Kept on purpose: nothing takes this mutex today. It exists from start-up to closedown. Required.
constinit Mutex general_mutex;

}  // namespace

std::uint64_t start_memory(mem_info_str& info) {
  os_allocation::start();
  general_mutex.create();
  port::report_out_of_memory_to(log_out_of_memory);
  return mem_info(&info);
}

void stop_memory() {
  small_blocks::stop();
  os_allocation::report_and_forget();
  if (!port::process_heap_is_valid()) {
    msgdebug("MEMORY: Closedown: System heap corrupted...");
  }
  port::stop_reporting_out_of_memory();
  general_mutex.destroy();
}

}  // namespace orsin
