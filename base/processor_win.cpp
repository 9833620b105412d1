// Processors, groups and the floating-point control word as Windows has them; see
// base/processor_port.h.
#include <cfloat>
#include <cstddef>
#include <cstdlib>
#include <memory>

#include "base/compiler.h"
#include "base/processor_port.h"
#include "base/win/windows.h"

namespace orsin::port {
namespace {

struct FreeDeleter {
  void operator()(std::byte* block) const { std::free(block); }
};

}  // namespace

CoreQuery for_each_core(void (*add)(const ProcessorEntry& core)) noexcept {
  DWORD size = 0;
  GetLogicalProcessorInformationEx(RelationProcessorCore, nullptr, &size);
  if (size == 0) {
    return CoreQuery::kNoSize;
  }
  const std::unique_ptr<std::byte, FreeDeleter> records(static_cast<std::byte*>(std::malloc(size)));
  auto* first = reinterpret_cast<SYSTEM_LOGICAL_PROCESSOR_INFORMATION_EX*>(records.get());
  if (first == nullptr ||
      GetLogicalProcessorInformationEx(RelationProcessorCore, first, &size) == 0) {
    return CoreQuery::kFailed;
  }
  for (DWORD offset = 0; offset < size;) {
    const auto* record =
        reinterpret_cast<const SYSTEM_LOGICAL_PROCESSOR_INFORMATION_EX*>(records.get() + offset);
    const GROUP_AFFINITY& affinity = record->Processor.GroupMask[0];
    add({affinity.Mask, affinity.Group});
    offset += record->Size;
  }
  return CoreQuery::kDone;
}

std::uint32_t basic_processor_count() noexcept {
  SYSTEM_INFO info = {};
  GetSystemInfo(&info);
  return info.dwNumberOfProcessors;
}

bool identify(std::uint32_t leaf, IdentityRegisters& registers) noexcept {
  std::uint32_t values[4] = {};
  ORSIN_CPUID(leaf, 0, values);
  registers = {values[0], values[1], values[2], values[3]};
  return true;
}

std::uint32_t read_fpu_control() noexcept {
  return _controlfp(0, 0);
}

void write_fpu_control(std::uint32_t control, std::uint32_t mask) noexcept {
  // Not _controlfp(), which leaves the denormal exception's mask alone whatever is asked.
  _control87(control, mask);
}

}  // namespace orsin::port
