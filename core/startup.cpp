// Start-up and closedown: the fixed order in which everything comes up and goes down.
//
// Both run on the host's main thread while no other thread of the library runs.
#include <cstdio>
#include <cstring>

#include "core/instance.h"
#include "core/library_loader.h"
#include "core/log_file.h"
#include "core/processor_info.h"
#include "core/program_paths.h"
#include "core/restart.h"
#include "core/startup_letters.h"
#include "core/startup_port.h"
#include "core/system_report.h"
#include "files/transfer_slots.h"
#include "memory/memory_lifecycle.h"
#include "orsincore/files.h"
#include "orsincore/log.h"
#include "orsincore/memory.h"
#include "orsincore/startup.h"
#include "orsincore/text.h"
#include "orsincore/threads.h"
#include "text/localisation.h"
#include "threads/clock.h"
#include "threads/executor.h"
#include "threads/scheduling.h"
#include "threads/thread_table.h"

namespace orsin {
namespace {

constexpr int kTimerResolutionMs = 1;  // The platform's timer is left as it is.

void* autorelease_pool = nullptr;

// Primes the system's generator; the identifier itself is not kept.
void prime_identifiers() {
  char identifier[64];
  ov_create_uuid(identifier);
}

void set_module_path(int argc, char** argv) {
  const char* path = argc > 0 && argv != nullptr && argv[0] != nullptr ? argv[0] : "";
  std::snprintf(program_paths().module, kProgramPathBytes, "%s", path);
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
  port::silence_error_boxes();
  query_processors(false);
  mem_info_str memory = {};
  start_memory(memory);
  prime_identifiers();
  start_clock();

  // 4. Paths, log file and the head of the log.
  set_paths_and_open_log(application_name, data_variable, RA_CheckProcessWasRestarted() != 0);
  const int level = msg_getlevel() + options.debug_count;
  write_banner(application_name, level, {restart_flag(), restart_error()});
  write_system_report(memory.total_physical, kTimerResolutionMs);

  // 5. The subsystems.
  mem_alloc_pools();
  schedule_for_startup();
  start_thread_table();
  start_transfers();
  start_library_loader();
  start_localisation();

  // 6. The rest of the report, and the executor.
  write_rule();
  write_owner_report();
  const int workers = options.processor_count >= 1 ? options.processor_count : mp_get_numcpu(0);
  write_executor_report(start_executor(workers));
  write_rule();
  msg_setlevel(level);
  return true;
}

bool ov_fast_initialize(const char* /*application_name*/, bool create_pools) {
  port::module_file_name(program_paths().module, kProgramPathBytes);
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
  stop_transfers();
  mem_free_pools();
  stop_memory();
  stop_executor();
  OV_Thread::Destroy();
  stop_thread_table();
  flist_flushcache();
  end_single_instance();
  if (is_restart_requested()) {
    restart_program(program_paths().module);
  } else {
    msgcont("* Closed normally");
  }
  stop_localisation();
  stop_library_loader();
  write_rule();
  msg_close();
  ov_release_autorelease_pool(autorelease_pool);
}
