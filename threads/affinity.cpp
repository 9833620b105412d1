// Binding threads to processors.
//
// On an ordinary machine the binding is a preference only; the scheduler knows better when the
// processor is busy. With several processor groups a thread is confined to its group, which the
// system would not let it leave anyway.
#include "threads/affinity.h"

#include <bit>

#include "orsincore/log.h"
#include "orsincore/threads.h"
#include "threads/thread_port.h"

namespace orsin {

std::optional<AffinityPlan> plan_affinity(const ProcessorTable& table, int processor) {
  if (processor < 0 || processor >= table.entries.count()) {
    return std::nullopt;
  }
  const ProcessorEntry& entry = table.entries[processor];
  if (table.strict_affinity) {
    return AffinityPlan{AffinityPlan::Kind::kExactMask, entry.group, entry.mask, 0};
  }
  if (table.group_count < 2) {
    const auto lowest = static_cast<std::uint8_t>(std::countr_zero(entry.mask));
    return AffinityPlan{AffinityPlan::Kind::kIdealProcessor, entry.group, 0, lowest};
  }
  std::uint64_t group_mask = 0;
  for (const ProcessorEntry& other : table.entries) {
    group_mask |= other.group == entry.group ? other.mask : 0;
  }
  return AffinityPlan{AffinityPlan::Kind::kGroupMask, entry.group, group_mask, 0};
}

}  // namespace orsin

using namespace orsin;

bool mp_set_thread_affinity(int processor) {
  const std::optional<AffinityPlan> plan = plan_affinity(processor_table(), processor);
  if (!plan) {
    return false;
  }
  if (plan->kind == AffinityPlan::Kind::kIdealProcessor) {
    if (!port::set_ideal_processor(plan->group, plan->number)) {
      msg_os_error("Thread ideal processor failed");
      return false;
    }
    return true;
  }
  if (!port::set_group_affinity(plan->group, plan->mask)) {
    msg_os_error("Thread affinity failed");
    return false;
  }
  return true;
}
