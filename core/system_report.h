// The head of the log: banner and system report.
#pragma once

#include <cstdint>

namespace orsin {

/// The program, its build, when the log was started, at which level.
void write_banner(const char* application_name, int level);

/// Computer, system, processors, clock, memory. Also sets the floating-point unit to its mode.
void write_system_report(std::uint64_t physical_bytes);

/// Who the system is registered to, and what the process may do.
void write_owner_report();

/// What became of the executor's start.
void write_executor_report(int workers);

void write_rule();

}  // namespace orsin
