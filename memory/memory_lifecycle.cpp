#include "memory/memory_lifecycle.h"

#include "memory/os_allocation.h"
#include "memory/process_heap_port.h"
#include "memory/small_blocks.h"
#include "orsincore/log.h"
#include "threads/lock.h"

namespace orsin {
namespace {

// Serves whoever needs one lock for memory matters of several calls; nobody does at present.
constinit Mutex general_mutex;

void report_out_of_memory(std::size_t requested) {
  msgerror("************************************");
  if (requested <= 1024) {
    msgcont("* Out of (system) memory, requested %d Bytes", static_cast<int>(requested));
  } else {
    msgcont("* Out of (system) memory, requested %d Kb", static_cast<int>(requested >> 10));
  }
  msgcont("*");
}

}  // namespace

std::uint64_t start_memory(mem_info_str& info) {
  os_allocation::start();
  general_mutex.create();
  port::report_out_of_memory_to(report_out_of_memory);
  return mem_info(&info);
}

void stop_memory() {
  small_blocks::release();
  os_allocation::report_and_forget();
  if (!port::process_heap_is_valid()) {
    msgdebug("MEMORY: Closedown: System heap corrupted...");
  }
  os_allocation::delete_mutex();
  general_mutex.destroy();
}

}  // namespace orsin
