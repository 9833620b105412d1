// The memory ports over mmap(), with the refusals that a test asks for.
#include "tests/native/pages_native.h"

#include <sys/mman.h>

#include <cerrno>
#include <cstdlib>
#include <mutex>

#include "memory/process_heap_port.h"
#include "tests/native/process_heap_native.h"

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

std::mutex book_mutex;  // The lists of what was asked for.
std::map<void*, std::uint64_t> committed;

}  // namespace

std::size_t count_regions_taken() {
  const std::lock_guard guard(book_mutex);
  return committed.size();
}

namespace {

bool fail_with(int code) {
  errno = code;
  return false;
}

std::uint64_t address_of(const void* pointer) {
  return reinterpret_cast<std::uintptr_t>(pointer);
}

// Whether all of it lies in one reservation, as the platform asks for.
bool is_reserved(void* address, std::uint64_t size) {
  auto found = committed.upper_bound(address);
  if (found == committed.begin()) {
    return false;
  }
  --found;
  return address_of(address) + size <= address_of(found->first) + found->second;
}

}  // namespace
}  // namespace orsin::test

namespace orsin::port {

using namespace orsin::test;

void* commit_pages_top_down(std::uint64_t size) noexcept {
  const std::lock_guard guard(book_mutex);
  NativePages& machine = native_pages();
  machine.commits.push_back(size);
  if (size == 0 || size > machine.largest_commit_bytes ||
      machine.commits.size() > machine.commits_granted) {
    errno = size == 0 ? EINVAL : ENOMEM;
    return nullptr;
  }
  void* pages = ::mmap(nullptr, size, PROT_READ | PROT_WRITE,
                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (pages == MAP_FAILED) {
    return nullptr;
  }
  committed[pages] = size;
  return pages;
}

bool release_pages(void* address) noexcept {
  const std::lock_guard guard(book_mutex);
  const auto found = committed.find(address);
  if (found == committed.end()) {
    return fail_with(EINVAL);
  }
  ::munmap(address, found->second);
  committed.erase(found);
  return !native_pages().refuses_release || fail_with(EACCES);
}

void* reserve_pages(std::uint64_t size) noexcept {
  const std::lock_guard guard(book_mutex);
  void* pages =
      ::mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (pages == MAP_FAILED) {
    return nullptr;
  }
  committed[pages] = size;
  native_pages().reservations.push_back(size);
  return pages;
}

bool commit_pages(void* address, std::uint64_t size) noexcept {
  const std::lock_guard guard(book_mutex);
  NativePages& machine = native_pages();
  machine.commits.push_back(size);
  if (size > machine.largest_commit_bytes || machine.commits.size() > machine.commits_granted) {
    return fail_with(ENOMEM);
  }
  if (size == 0 || !is_reserved(address, size)) {
    return fail_with(EINVAL);
  }
  return ::mprotect(address, size, PROT_READ | PROT_WRITE) == 0;
}

void decommit_pages(void* address, std::uint64_t size) noexcept {
  const std::lock_guard guard(book_mutex);
  if (size == 0 || !is_reserved(address, size)) {
    std::abort();  // The platform takes a size of 0 for the whole reservation.
  }
  native_pages().decommits.push_back(size);
  ::madvise(address, size, MADV_DONTNEED);
  ::mprotect(address, size, PROT_NONE);
}

bool pin_pages(void* address, std::uint64_t size) noexcept {
  const std::lock_guard guard(book_mutex);
  if (native_pages().refuses_pin) {
    return fail_with(EPERM);
  }
  native_pages().pinned[address_of(address)] = size;
  return true;
}

bool unpin_pages(void* address, std::uint64_t /*size*/) noexcept {
  const std::lock_guard guard(book_mutex);
  if (native_pages().refuses_unpin) {
    return fail_with(EPERM);
  }
  return native_pages().pinned.erase(address_of(address)) == 1 || fail_with(ENOMEM);
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
