// What is known of the processors: asked once at start-up, then constant.
#include "base/processor_info.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string>

#include "base/process_wide.h"
#include "base/processor_identity.h"
#include "base/processor_port.h"
#include "base/processor_table.h"
#include "orsincore/log.h"
#include "orsincore/processors.h"

namespace orsin {
namespace {

constexpr std::size_t kNameBytes = 128;
constexpr std::uint32_t kNotQueried = 0xFFFFFFFF;
constexpr std::uint32_t kBrandFirstLeaf = 0x80000002;
constexpr std::uint32_t kBrandLastLeaf = 0x80000004;
constexpr std::uint32_t kHighestExtendedLeaf = 0x80000000;

struct ProcessorFacts {
  std::uint32_t cores = 0;
  std::uint32_t logical = 0;
  std::uint32_t features = 0;
  std::uint32_t state = kNotQueried;
  char name[kNameBytes] = {};
};

struct Processors {
  ProcessorFacts facts;
  ProcessorTable table;
};

Processors& processors() {
  return process_wide<Processors>();
}

void add_core(const ProcessorEntry& core) {
  Processors& all = processors();
  ++all.facts.cores;
  all.facts.logical += static_cast<std::uint32_t>(std::popcount(core.mask));
  all.table.group_count = std::max(all.table.group_count, core.group + 1);
  // A core that finds no room has written its line and is only left out of the table.
  static_cast<void>(all.table.entries.append(core));
}

std::string brand_text() {
  IdentityRegisters registers;
  if (!port::identify(kHighestExtendedLeaf, registers) || registers.eax < kBrandLastLeaf) {
    return "???";
  }
  char text[49] = {};
  char* position = text;
  for (std::uint32_t leaf = kBrandFirstLeaf; leaf <= kBrandLastLeaf; ++leaf) {
    static_cast<void>(port::identify(leaf, registers));
    std::memcpy(position, &registers, sizeof(registers));
    position += sizeof(registers);
  }
  return text;
}

void count_cores() {
  const port::CoreQuery result = port::for_each_core(add_core);
  if (result == port::CoreQuery::kNoSize) {
    msgerror("Failed to query number of processors");
  } else if (result == port::CoreQuery::kFailed) {
    msg_os_error("Failed to query processor information");
  }
}

// An old interface knows logical processors only; a capable processor is taken to have two a core.
void count_without_records(bool capable) {
  ProcessorFacts& facts = processors().facts;
  msgwarn("Failed to determine number of processors, fall back to old API");
  facts.logical = port::basic_processor_count();
  facts.cores = capable ? facts.logical / 2 : facts.logical;
}

}  // namespace

const ProcessorTable& processor_table() {
  return processors().table;
}

std::uint32_t query_processors(bool strict_affinity) {
  Processors& all = processors();
  ProcessorFacts& facts = all.facts;
  if (facts.state != kNotQueried) {
    return facts.state;
  }
  facts = {};
  all.table.strict_affinity = strict_affinity;
  all.table.entries.truncate(0);
  all.table.group_count = 0;

  IdentityRegisters leaf0;
  IdentityRegisters leaf1;
  const bool identified = port::identify(0, leaf0) && port::identify(1, leaf1);
  const std::string vendor = identified ? vendor_text(leaf0) : std::string();
  const bool capable = identified && is_hyperthreading_capable(vendor, leaf1);

  count_cores();
  if (facts.cores == 0) {
    count_without_records(capable);
  }
  if (identified) {
    facts.features = feature_bits(leaf1);
    std::strncpy(facts.name, processor_name(brand_text(), vendor, leaf1).c_str(), kNameBytes - 1);
    facts.state = hyperthreading_state(facts.cores, facts.logical, capable);
  } else {
    std::strncpy(facts.name, "Unknown", kNameBytes - 1);
    facts.state = 0;
  }
  return facts.state;
}

void forget_processors() {
  Processors& all = processors();
  all.table.entries.release();
  all.table.group_count = 0;
  all.facts = {};
}

}  // namespace orsin

using namespace orsin;

int ov_cpu_info(unsigned int* count, unsigned int* ht_count, char* name, unsigned int* features,
                unsigned int* ht_state) {
  const auto store = [](unsigned int* to, std::uint32_t value) {
    if (to != nullptr) {
      *to = value;
    }
  };
  const ProcessorFacts& facts = processors().facts;
  store(count, facts.cores);
  store(ht_count, facts.logical);
  store(features, facts.features);
  store(ht_state, facts.state);
  if (name != nullptr) {
    std::memcpy(name, facts.name, kNameBytes);
  }
  return 1;
}

unsigned int ov_cpu_support_feature(unsigned int mask) {
  return processors().facts.features & mask;
}

int mp_get_numcpu(int kind) {
  return static_cast<int>(kind == 0 ? processors().facts.cores : processors().facts.logical);
}

int mp_cpu_id(int index) {
  return index >= 0 && index < static_cast<int>(processors().facts.cores) ? index : -1;
}
