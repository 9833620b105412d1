// Pages of a simulated machine, and its process heap as the library asks about it.
#include <sys/mman.h>

#include <map>

#include "memory/pages_port.h"
#include "memory/process_heap_port.h"
#include "tests/simulation/machine.h"

namespace orsin::port {

using namespace orsin::simulation;

namespace {

constexpr std::uint32_t kErrorCommitmentLimit = 1455;
constexpr std::uint32_t kErrorInvalidAddress = 487;
constexpr std::uint32_t kErrorWorkingSetQuota = 1453;
constexpr std::uint32_t kErrorInvalidParameter = 87;

std::map<void*, std::uint64_t> ranges;

void* map_pages(Call& call, std::uint64_t size, int protection) {
  if (size == 0) {
    call.fail(kErrorInvalidParameter);
    return nullptr;
  }
  void* pages =
      ::mmap(nullptr, size, protection, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (pages == MAP_FAILED) {
    call.fail(kErrorNotEnoughMemory);
    return nullptr;
  }
  ranges[pages] = size;
  ++machine().held.page_ranges;
  return pages;
}

}  // namespace

void* commit_pages_top_down(std::uint64_t size) noexcept {
  Call call("commit pages", size);
  return call.is_refused({kErrorNotEnoughMemory, kErrorCommitmentLimit})
             ? nullptr
             : map_pages(call, size, PROT_READ | PROT_WRITE);
}

bool release_pages(void* address) noexcept {
  Call call("release pages");
  const auto found = ranges.find(address);
  if (found == ranges.end()) {
    return call.fail(kErrorInvalidAddress);
  }
  ::munmap(address, found->second);
  ranges.erase(found);
  --machine().held.page_ranges;
  return true;
}

void* reserve_pages(std::uint64_t size) noexcept {
  Call call("reserve pages", size);
  return call.is_refused({kErrorNotEnoughMemory}) ? nullptr : map_pages(call, size, PROT_NONE);
}

bool commit_pages(void* address, std::uint64_t size) noexcept {
  Call call("commit reserved pages", size);
  return !call.is_refused({kErrorNotEnoughMemory, kErrorCommitmentLimit}) &&
         ::mprotect(address, size, PROT_READ | PROT_WRITE) == 0;
}

void decommit_pages(void* address, std::uint64_t size) noexcept {
  Call call("decommit pages", size);
  ::madvise(address, size, MADV_DONTNEED);
  ::mprotect(address, size, PROT_NONE);
}

bool pin_pages(void* /*address*/, std::uint64_t size) noexcept {
  Call call("pin pages", size);
  return !call.is_refused({kErrorWorkingSetQuota});
}

bool unpin_pages(void* /*address*/, std::uint64_t size) noexcept {
  Call call("unpin pages", size);
  return true;
}

std::uint32_t page_size() noexcept {
  return 4096;
}

MemoryStatus memory_status() noexcept {
  return {std::uint64_t{8} << 30, std::uint64_t{6} << 30, std::uint64_t{1} << 46,
          std::uint64_t{1} << 47};
}

AddressSpace address_space() noexcept {
  return {};
}

Region region_at(std::uint64_t /*address*/) noexcept {
  return {};
}

void report_out_of_memory_to(OutOfMemoryReport /*report*/) noexcept {}

void stop_reporting_out_of_memory() noexcept {}

bool process_heap_is_valid() noexcept {
  return true;
}

std::uint64_t compact_process_heap() noexcept {
  return std::uint64_t{1} << 30;
}

}  // namespace orsin::port
