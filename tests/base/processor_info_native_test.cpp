// The processor query against machines that are not at hand, through the stand-in's knobs.
#include <gtest/gtest.h>

#include <cstring>

#include "base/processor_info.h"
#include "base/processor_table.h"
#include "orsincore/startup.h"
#include "orsincore/threads.h"
#include "tests/platform/native/fake_processors.h"
#include "tests/support/allocation_refusal.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::fake_processors;
using test::Lines;
using test::LogCapture;

constexpr IdentityRegisters kIntel = {0, 0x756e6547, 0x6c65746e, 0x49656e69};  // GenuineIntel
constexpr IdentityRegisters kAmd = {0, 0x68747541, 0x444d4163, 0x69746e65};    // AuthenticAMD
constexpr std::uint32_t kCapable = 1U << 28;

class ProcessorQuery : public testing::Test {
 protected:
  struct Answer {
    unsigned int count = 0;
    unsigned int logical = 0;
    char name[128] = {};
    unsigned int features = 0;
    unsigned int state = 0;
  };

  ProcessorQuery() {
    forget_processors();
    fake_processors() = {};
  }
  ~ProcessorQuery() override {
    forget_processors();
    fake_processors() = {};
  }

  static void set_cores(int count, std::uint64_t mask_each) {
    fake_processors().cores.assign(static_cast<std::size_t>(count), {mask_each, 0});
  }

  static void set_identity(const IdentityRegisters& vendor, const IdentityRegisters& leaf1) {
    fake_processors().leaves = {{0, vendor}, {1, leaf1}};
  }

  static void set_brand(const char (&text)[49]) {
    fake_processors().leaves[0x80000000] = {0x80000004, 0, 0, 0};
    for (std::uint32_t i = 0; i < 3; ++i) {
      std::memcpy(&fake_processors().leaves[0x80000002 + i], text + i * 16, 16);
    }
  }

  static Answer query(bool strict_affinity = false) {
    static_cast<void>(query_processors(strict_affinity));
    Answer answer;
    EXPECT_EQ(
        ov_cpu_info(&answer.count, &answer.logical, answer.name, &answer.features, &answer.state),
        1);
    return answer;
  }
};

TEST_F(ProcessorQuery, CountsCoresAndTheirLogicalProcessors) {
  set_cores(8, 0x3);
  set_identity(kIntel, {0, 0, 0, kCapable});

  const Answer answer = query();

  EXPECT_EQ(answer.count, 8U);
  EXPECT_EQ(answer.logical, 16U);
  EXPECT_EQ(answer.state, 1U);
  EXPECT_EQ(mp_get_numcpu(0), 8);
  EXPECT_EQ(mp_get_numcpu(1), 16);
  EXPECT_EQ(mp_cpu_id(-1), -1);
  EXPECT_EQ(mp_cpu_id(0), 0);
  EXPECT_EQ(mp_cpu_id(7), 7);
  EXPECT_EQ(mp_cpu_id(8), -1);
}

TEST_F(ProcessorQuery, TellsSwitchedOffFromNotCapable) {
  set_cores(8, 0x1);
  set_identity(kIntel, {0, 0, 0, kCapable});
  EXPECT_EQ(query().state, 2U);

  forget_processors();
  set_identity(kAmd, {0, 0, 0, kCapable});
  EXPECT_EQ(query().state, 0U) << "the bit counts for one vendor only";
}

TEST_F(ProcessorQuery, IsForgottenWhole) {
  set_cores(8, 0x3);
  set_identity(kIntel, {0, 0, 0xFFFFFFFF, 0xFFFFFFFF});
  query();
  ASSERT_NE(ov_cpu_support_feature(0xFFFFFFFF), 0U);

  forget_processors();

  unsigned int numbers[4] = {1, 1, 1, 1};
  char name[128] = "name";
  ov_cpu_info(&numbers[0], &numbers[1], name, &numbers[2], &numbers[3]);
  EXPECT_EQ(numbers[0], 0U);
  EXPECT_EQ(numbers[1], 0U);
  EXPECT_EQ(numbers[2], 0U);
  EXPECT_EQ(numbers[3], 0xFFFFFFFFU) << "not asked yet";
  EXPECT_STREQ(name, "");
  EXPECT_EQ(processor_table().group_count, 0);
}

TEST_F(ProcessorQuery, AsksOnce) {
  set_cores(4, 0x1);
  EXPECT_EQ(query(true).count, 4U);

  set_cores(6, 0x1);

  EXPECT_EQ(query(false).count, 4U);
  EXPECT_TRUE(processor_table().strict_affinity);
}

TEST_F(ProcessorQuery, KeepsEachCoresMaskAndGroupInItsTable) {
  fake_processors().cores = {{0x3, 0}, {0xC, 0}, {0x1, 2}};

  query();

  const ProcessorTable& table = processor_table();
  ASSERT_EQ(table.entries.count(), 3);
  EXPECT_EQ(table.entries[1].mask, 0xCU);
  EXPECT_EQ(table.entries[2].group, 2);
  EXPECT_EQ(table.group_count, 3);
}

TEST_F(ProcessorQuery, CountsACoreThatItsTableHasNoRoomFor) {
  const LogCapture log;
  set_cores(1, 0x3);
  {
    const test::AllocationRefusal refusal(16 * sizeof(ProcessorEntry));
    static_cast<void>(query_processors(false));
  }

  EXPECT_EQ(mp_get_numcpu(0), 1);
  EXPECT_EQ(mp_get_numcpu(1), 2);
  EXPECT_EQ(processor_table().entries.count(), 0);
  EXPECT_EQ(log.lines(), Lines{"ERROR: Vector ensure: Not enough memory..(0 + 1 * 16)"});
}

TEST_F(ProcessorQuery, FallsBackToTheSystemsCountWhereNoSizeIsNamed) {
  const LogCapture log;
  fake_processors().core_query = port::CoreQuery::kNoSize;
  fake_processors().basic_count = 6;
  set_identity(kAmd, {});

  const Answer answer = query();

  EXPECT_EQ(answer.count, 6U);
  EXPECT_EQ(answer.logical, 6U);
  EXPECT_EQ(log.lines(),
            (Lines{"ERROR: Failed to query number of processors",
                   "WARN : Failed to determine number of processors, fall back to old API"}));
}

TEST_F(ProcessorQuery, HalvesTheSystemsCountOfACapableProcessor) {
  const LogCapture log;
  fake_processors().core_query = port::CoreQuery::kFailed;
  fake_processors().basic_count = 12;
  set_identity(kIntel, {0, 0, 0, kCapable});

  const Answer answer = query();

  EXPECT_EQ(answer.count, 6U);
  EXPECT_EQ(answer.logical, 12U);
  EXPECT_EQ(answer.state, 1U);
  const Lines lines = log.lines();
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.front().rfind("ERROR: Failed to query processor information", 0), 0U)
      << lines.front();
}

TEST_F(ProcessorQuery, CallsAProcessorWithoutIdentificationUnknown) {
  fake_processors().can_identify = false;

  const Answer answer = query();

  EXPECT_STREQ(answer.name, "Unknown");
  EXPECT_EQ(answer.features, 0U);
  EXPECT_EQ(answer.state, 0U);
}

TEST_F(ProcessorQuery, TakesTheNameFromTheBrandWithoutItsLeadingBlanks) {
  set_identity(kIntel, {});
  set_brand("  Quick(R) Processor 9000 @ 3.00GHz             ");

  EXPECT_STREQ(query().name, "Quick(R) Processor 9000 @ 3.00GHz             ");
}

TEST_F(ProcessorQuery, AsksForNoBrandThatTheProcessorDoesNotHave) {
  set_identity(kIntel, {});
  set_brand("Quick(R) Processor 9000 @ 3.00GHz               ");
  fake_processors().leaves[0x80000000] = {0x80000003, 0, 0, 0};

  EXPECT_STREQ(query().name, "???");
}

TEST_F(ProcessorQuery, MakesANameForAnEmptyBrand) {
  set_identity(kAmd, {0x00800F82, 0, 0, 1U << 23});
  set_brand("\0                                               ");

  const Answer answer = query();

  EXPECT_STREQ(answer.name, "AMD x64 [F:143 M:8 S:2 - 1h]");
  EXPECT_EQ(answer.features, 1U);
  EXPECT_EQ(ov_cpu_support_feature(0), 0U);
  EXPECT_EQ(ov_cpu_support_feature(3), 1U);
}

}  // namespace
}  // namespace orsin
