// What the processor query and the floating-point functions ask of the platform.
// processor_win.cpp answers.
#pragma once

#include <cstdint>

#include "base/processor_identity.h"
#include "base/processor_table.h"

namespace orsin::port {

enum class CoreQuery { kDone, kNoSize, kFailed };

/// Hands each physical core to `add`. kNoSize: the system names no size for its records; kFailed:
/// it does not give them (see the last error).
[[nodiscard]] CoreQuery for_each_core(void (*add)(const ProcessorEntry& core)) noexcept;

/// The number of logical processors in the basic system information.
[[nodiscard]] std::uint32_t basic_processor_count() noexcept;

/// The identification instruction; false where a processor has none.
[[nodiscard]] bool identify(std::uint32_t leaf, IdentityRegisters& registers) noexcept;

/// The calling thread's floating-point control word; writing changes the bits of `mask` only.
[[nodiscard]] std::uint32_t read_fpu_control() noexcept;
void write_fpu_control(std::uint32_t control, std::uint32_t mask) noexcept;

}  // namespace orsin::port
