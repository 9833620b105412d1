// Start-up and closedown: the fixed order in which everything comes up and goes down.
//
// Both run on the host's main thread while no other thread of the library runs. At TRACE level the
// log names each step as it was done: those of start-up with their times once the level is set,
// those of closedown one by one.
#include <cstdio>
#include <cstring>

#include "base/clock.h"
#include "base/processor_info.h"
#include "base/program_paths.h"
#include "files/transfer_slots.h"
#include "memory/memory_lifecycle.h"
#include "modules/error_boxes.h"
#include "modules/library_loader.h"
#include "orsincore/files.h"
#include "orsincore/log.h"
#include "orsincore/memory.h"
#include "orsincore/startup.h"
#include "orsincore/text.h"
#include "orsincore/threads.h"
#include "startup/instance.h"
#include "startup/log_file.h"
#include "startup/restart.h"
#include "startup/startup_letters.h"
#include "startup/startup_port.h"
#include "startup/startup_steps.h"
#include "startup/system_report.h"
#include "text/localisation.h"
#include "threads/background_worker.h"
#include "threads/executor.h"
#include "threads/scheduling.h"
#include "threads/thread_table.h"

namespace orsin {
namespace {

constexpr int kTimerResolutionMs = 1;  // The platform's timer is left as it is.

void* autorelease_pool = nullptr;

void take_down(const char* name, void (*stop)()) {
  msg_trace("Closedown: %s", name);
  stop();
}

// Primes the system's generator; the identifier itself is not kept.
void prime_identifiers() {
  char identifier[64];
  ov_create_uuid(identifier);
}

void set_module_path(int argc, char** argv) {
  const char* path = argc > 0 && argv != nullptr && argv[0] != nullptr ? argv[0] : "";
  std::snprintf(program_paths().module, kPathBytes, "%s", path);
}

}  // namespace
}  // namespace orsin

using namespace orsin;

bool ov_initialize(char* application_name, const char* data_variable, int argc, char** argv) {
  // 1. The command line, and a predecessor that still closes down.
  autorelease_pool = ov_create_autorelease_pool();
  set_module_path(argc, argv);
  const StartupOptions options = read_startup_letters(argc, argv);
  if (options.is_restart) {
    set_restart_flag();
    RA_WaitForPreviousProcessFinish();
  }

  // 2. One instance per application.
  if (application_name != nullptr && !become_single_instance(application_name)) {
    return false;
  }

  // 3. What everything else needs: processors, memory, clock.
  StartupSteps steps;
  mem_info_str memory = {};
  silence_error_boxes();
  steps.take("processors", [] { query_processors(false); });
  steps.take("memory", [&memory] { start_memory(memory); });
  steps.take("identifiers", prime_identifiers);
  steps.take("clock", start_clock);

  // 4. Paths, log file and the head of the log.
  steps.take("paths and log", [=] {
    set_paths_and_open_log(application_name, data_variable, RA_CheckProcessWasRestarted() != 0);
  });
  const int level = msg_getlevel() + options.debug_count;
  steps.take("system report", [&memory, application_name, level] {
    write_banner(application_name, level, {restart_flag(), restart_error()});
    write_system_report(memory.total_physical, kTimerResolutionMs);
  });

  // 5. The subsystems.
  steps.take("standard heaps", mem_alloc_pools);
  steps.take("scheduling", schedule_for_startup);
  steps.take("thread table", start_thread_table);
  steps.take("transfers", [] { start_transfers(); });
  steps.take("library loader", start_library_loader);
  steps.take("localisation", start_localisation);

  // 6. The rest of the report, and the executor.
  write_rule();
  steps.take("owner report", write_owner_report);
  const int workers = options.processor_count >= 1 ? options.processor_count : mp_get_numcpu(0);
  steps.take("executor", [workers] { write_executor_report(start_executor(workers)); });
  write_rule();
  msg_setlevel(level);
  steps.trace();
  return true;
}

bool ov_fast_initialize(const char* /*application_name*/, bool create_pools) {
  port::module_file_name(program_paths().module, kPathBytes);
  query_processors(false);
  mem_info_str memory = {};
  start_memory(memory);
  prime_identifiers();
  start_clock();
  set_paths_and_open_log(nullptr, nullptr, false);
  fpu_setup(false);
  if (create_pools) {
    mem_alloc_pools();
  }
  start_thread_table();
  start_transfers();
  start_library_loader();
  return true;
}

void ov_closedown() {
  msginfo("*---------------------------------------------------");
  take_down("transfers", stop_transfers);
  take_down("standard heaps", mem_free_pools);
  take_down("memory", stop_memory);
  take_down("executor", stop_executor);
  take_down("background worker", OV_Thread::Destroy);
  take_down("thread table", [] {
    stop_thread_table();
    forget_background_worker();
  });
  take_down("directory names", flist_flushcache);
  take_down("single instance", end_single_instance);
  if (is_restart_requested()) {
    restart_program(program_paths().module);
  } else {
    msgcont("* Closed normally");
  }
  take_down("localisation", stop_localisation);
  take_down("library loader", stop_library_loader);
  restore_error_boxes();
  write_rule();
  msg_close();
  ov_release_autorelease_pool(autorelease_pool);
}
