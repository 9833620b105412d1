#include "threads/affinity.h"

#include <gtest/gtest.h>

#include <initializer_list>

#include "orsincore/threads.h"

namespace orsin {
namespace {

ProcessorTable table_of(std::initializer_list<ProcessorEntry> entries, int groups, bool strict) {
  ProcessorTable table;
  for (const ProcessorEntry& entry : entries) {
    EXPECT_TRUE(table.entries.append(entry));
  }
  table.group_count = groups;
  table.strict_affinity = strict;
  return table;
}

TEST(AffinityPlan, RefusesAnIndexOutsideTheTable) {
  const ProcessorTable table = table_of({{0x1, 0}, {0x2, 0}}, 1, false);

  EXPECT_FALSE(plan_affinity(table, -1));
  EXPECT_FALSE(plan_affinity(table, 2));
  EXPECT_FALSE(plan_affinity(ProcessorTable{}, 0));
}

TEST(AffinityPlan, PrefersTheLowestProcessorOfTheCoreInASingleGroup) {
  const ProcessorTable table = table_of({{0x3, 0}, {0xC, 0}, {0x8000000000000000, 0}}, 1, false);

  const auto first = plan_affinity(table, 0);
  const auto second = plan_affinity(table, 1);
  const auto last = plan_affinity(table, 2);

  ASSERT_TRUE(first && second && last);
  EXPECT_EQ(first->number, 0);
  EXPECT_EQ(second->kind, AffinityPlan::Kind::kIdealProcessor);
  EXPECT_EQ(second->group, 0);
  EXPECT_EQ(second->number, 2);
  EXPECT_EQ(last->number, 63);
}

TEST(AffinityPlan, ConfinesToTheWholeGroupWhenThereAreSeveral) {
  const ProcessorTable table = table_of({{0x3, 0}, {0x10, 1}, {0xC, 0}, {0x6, 1}}, 2, false);

  const auto plan = plan_affinity(table, 1);

  ASSERT_TRUE(plan);
  EXPECT_EQ(plan->kind, AffinityPlan::Kind::kGroupMask);
  EXPECT_EQ(plan->group, 1);
  EXPECT_EQ(plan->mask, 0x16U);
}

TEST(AffinityPlan, BindsToExactlyTheCoreWhenStrict) {
  for (const int groups : {1, 2}) {
    SCOPED_TRACE(groups);
    const ProcessorTable table = table_of({{0x3, 0}, {0xC, 1}}, groups, true);

    const auto plan = plan_affinity(table, 1);

    ASSERT_TRUE(plan);
    EXPECT_EQ(plan->kind, AffinityPlan::Kind::kExactMask);
    EXPECT_EQ(plan->group, 1);
    EXPECT_EQ(plan->mask, 0xCU);
  }
}

}  // namespace
}  // namespace orsin
