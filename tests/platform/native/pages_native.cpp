// The memory ports over ranges of real pages, with the refusals that a test asks for.
#include "tests/platform/native/pages_native.h"

#include <cerrno>
#include <cstdlib>
#include <mutex>

#include "memory/process_heap_port.h"
#include "tests/platform/native/process_heap_native.h"
#include "tests/platform/page_ranges.h"
#include "tests/platform/system_errors.h"

namespace orsin::test {

NativePages& native_pages() {
  static NativePages pages;
  return pages;
}

NativeProcessHeap& native_process_heap() {
  static NativeProcessHeap heap;
  return heap;
}

namespace {

std::mutex mutex;  // The ranges, and the lists of what was asked for.
platform::PageRanges ranges;

}  // namespace

std::size_t count_regions_taken() {
  const std::lock_guard guard(mutex);
  return ranges.count();
}

std::map<std::uint64_t, std::uint64_t> pinned_pages() {
  const std::lock_guard guard(mutex);
  return ranges.pinned();
}

namespace {

bool answer(std::uint32_t error) {
  if (error != 0) {
    errno = static_cast<int>(error);
  }
  return error == 0;
}

// Writes the size down.
bool is_commit_refused_locked(std::uint64_t size) {
  NativePages& machine = native_pages();
  machine.commits.push_back(size);
  return size > machine.largest_commit_bytes || machine.commits.size() > machine.commits_granted;
}

}  // namespace
}  // namespace orsin::test

namespace orsin::port {

using namespace orsin::test;
using namespace orsin::platform;

void* commit_pages_top_down(std::uint64_t size) noexcept {
  const std::lock_guard guard(mutex);
  void* pages = nullptr;
  const bool is_refused = is_commit_refused_locked(size);
  answer(is_refused ? kErrorNotEnoughMemory : ranges.take_committed(size, pages));
  return pages;
}

bool release_pages(void* address) noexcept {
  const std::lock_guard guard(mutex);
  return answer(ranges.release(address)) &&
         answer(native_pages().refuses_release ? kErrorInvalidAddress : 0);
}

void* reserve_pages(std::uint64_t size) noexcept {
  const std::lock_guard guard(mutex);
  void* pages = nullptr;
  if (answer(ranges.take_reserved(size, pages))) {
    native_pages().reservations.push_back(size);
  }
  return pages;
}

bool commit_pages(void* address, std::uint64_t size) noexcept {
  const std::lock_guard guard(mutex);
  return answer(is_commit_refused_locked(size) ? kErrorNotEnoughMemory
                                               : ranges.commit(address, size));
}

void decommit_pages(void* address, std::uint64_t size) noexcept {
  const std::lock_guard guard(mutex);
  if (ranges.decommit(address, size) != 0) {
    std::abort();  // Nobody would hear of it.
  }
  native_pages().decommits.push_back(size);
}

bool pin_pages(void* address, std::uint64_t size) noexcept {
  const std::lock_guard guard(mutex);
  return answer(native_pages().refuses_pin ? kErrorWorkingSetQuota : ranges.pin(address, size));
}

bool unpin_pages(void* address, std::uint64_t size) noexcept {
  const std::lock_guard guard(mutex);
  return answer(native_pages().refuses_unpin ? kErrorNotLocked : ranges.unpin(address, size));
}

std::uint32_t page_size() noexcept {
  return native_pages().page_size;
}

MemoryStatus memory_status() noexcept {
  return native_pages().status;
}

AddressSpace address_space() noexcept {
  const std::vector<Region>& regions = native_pages().regions;
  if (regions.empty()) {
    return {};
  }
  return {regions.front().address, regions.back().address + regions.back().size - 1};
}

Region region_at(std::uint64_t address) noexcept {
  for (const Region& region : native_pages().regions) {
    if (address >= region.address && address - region.address < region.size) {
      return region;
    }
  }
  return {};
}

void report_out_of_memory_to(OutOfMemoryReport report) noexcept {
  native_process_heap().report = report;
}

void stop_reporting_out_of_memory() noexcept {
  native_process_heap().report = nullptr;
}

bool process_heap_is_valid() noexcept {
  return native_process_heap().is_valid;
}

std::uint64_t compact_process_heap() noexcept {
  errno = native_process_heap().compact_error;
  return native_process_heap().largest_free;
}

}  // namespace orsin::port
