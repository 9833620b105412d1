// The head of the log: banner and system report.
#pragma once

#include <cstdint>

namespace orsin {

/// How this process came to be.
struct RestartState {
  bool is_continued = false;  // It goes on with the log of the process that started it.
  int error = 0;              // Of creating the restart mutex.
};

/// The program, its build, when the log was started, at which level.
void write_banner(const char* application_name, int level, const RestartState& restart);

/// Computer, system, processors, clock, memory. Also sets the floating-point unit to its mode.
void write_system_report(std::uint64_t physical_bytes, int timer_resolution_ms);

/// What a hyper-threading state means; nothing for one that is unknown.
void write_hyperthreading(unsigned int state, int logical);

/// Who the system is registered to, and what the process may do.
void write_owner_report();

/// What became of the executor's start.
void write_executor_report(int workers);

void write_rule();

}  // namespace orsin
