// Pages of a simulated machine, and its process heap as the library asks about it.
#include "memory/pages_port.h"
#include "memory/process_heap_port.h"
#include "tests/platform/machine/machine.h"
#include "tests/platform/page_ranges.h"

namespace orsin::port {

using namespace orsin::simulation;

namespace {

platform::PageRanges ranges;

}  // namespace

void* commit_pages_top_down(std::uint64_t size) noexcept {
  Call call("commit pages", size);
  void* pages = nullptr;
  if (!call.is_refused({kErrorNotEnoughMemory, kErrorCommitmentLimit})) {
    call.answer(ranges.take_committed(size, pages));
  }
  machine().held.page_ranges = static_cast<int>(ranges.count());
  return pages;
}

bool release_pages(void* address) noexcept {
  Call call("release pages");
  const bool is_released = call.answer(ranges.release(address));
  machine().held.page_ranges = static_cast<int>(ranges.count());
  return is_released;
}

void* reserve_pages(std::uint64_t size) noexcept {
  Call call("reserve pages", size);
  void* pages = nullptr;
  if (!call.is_refused({kErrorNotEnoughMemory})) {
    call.answer(ranges.take_reserved(size, pages));
  }
  machine().held.page_ranges = static_cast<int>(ranges.count());
  return pages;
}

bool commit_pages(void* address, std::uint64_t size) noexcept {
  Call call("commit reserved pages", size);
  return !call.is_refused({kErrorNotEnoughMemory, kErrorCommitmentLimit}) &&
         call.answer(ranges.commit(address, size));
}

void decommit_pages(void* address, std::uint64_t size) noexcept {
  Call call("decommit pages", size);
  ORSIN_EXPECT(ranges.decommit(address, size) == 0, "pages are given back that are not taken");
}

bool pin_pages(void* address, std::uint64_t size) noexcept {
  Call call("pin pages", size);
  return !call.is_refused({kErrorWorkingSetQuota}) && call.answer(ranges.pin(address, size));
}

bool unpin_pages(void* address, std::uint64_t size) noexcept {
  Call call("unpin pages", size);
  return call.answer(ranges.unpin(address, size));
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
