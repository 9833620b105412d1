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

struct Processors {
  std::uint32_t cores = 0;
  std::uint32_t logical = 0;
  std::uint32_t features = 0;
  std::uint32_t state = kNotQueried;
  char name[kNameBytes] = {};
  ProcessorTable table;
};

Processors& processors() {
  return process_wide<Processors>();
}

void add_core(const ProcessorEntry& core) {
  Processors& all = processors();
  ++all.cores;
  all.logical += static_cast<std::uint32_t>(std::popcount(core.mask));
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
  Processors& all = processors();
  msgwarn("Failed to determine number of processors, fall back to old API");
  all.logical = port::basic_processor_count();
  all.cores = capable ? all.logical / 2 : all.logical;
}

}  // namespace

const ProcessorTable& processor_table() {
  return processors().table;
}

std::uint32_t query_processors(bool strict_affinity) {
  Processors& all = processors();
  if (all.state != kNotQueried) {
    return all.state;
  }
  all.table.strict_affinity = strict_affinity;
  all.table.entries.truncate(0);
  all.table.group_count = 0;
  all.cores = 0;
  all.logical = 0;

  IdentityRegisters leaf0;
  IdentityRegisters leaf1;
  const bool identified = port::identify(0, leaf0) && port::identify(1, leaf1);
  const std::string vendor = identified ? vendor_text(leaf0) : std::string();
  const bool capable = identified && is_hyperthreading_capable(vendor, leaf1);

  count_cores();
  if (all.cores == 0) {
    count_without_records(capable);
  }
  if (identified) {
    all.features = feature_bits(leaf1);
    std::strncpy(all.name, processor_name(brand_text(), vendor, leaf1).c_str(), kNameBytes - 1);
    all.state = hyperthreading_state(all.cores, all.logical, capable);
  } else {
    all.features = 0;
    std::strncpy(all.name, "Unknown", kNameBytes - 1);
    all.state = 0;
  }
  return all.state;
}

void forget_processors() {
  Processors& all = processors();
  all.table.entries.release();
  all.table.group_count = 0;
  all.cores = all.logical = all.features = 0;
  std::memset(all.name, 0, sizeof(all.name));
  all.state = kNotQueried;
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
  const Processors& all = processors();
  store(count, all.cores);
  store(ht_count, all.logical);
  store(features, all.features);
  store(ht_state, all.state);
  if (name != nullptr) {
    std::memcpy(name, all.name, kNameBytes);
  }
  return 1;
}

unsigned int ov_cpu_support_feature(unsigned int mask) {
  return processors().features & mask;
}

int mp_get_numcpu(int kind) {
  return static_cast<int>(kind == 0 ? processors().cores : processors().logical);
}

int mp_cpu_id(int index) {
  return index >= 0 && index < static_cast<int>(processors().cores) ? index : -1;
}
