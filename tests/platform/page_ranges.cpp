#include "tests/platform/page_ranges.h"

#include <sys/mman.h>

#include <iterator>

#include "files/io_port.h"
#include "tests/platform/system_errors.h"

namespace orsin::platform {
namespace {

std::uint64_t address_of(const void* pages) {
  return reinterpret_cast<std::uintptr_t>(pages);
}

}  // namespace

std::uint32_t PageRanges::take_committed(std::uint64_t size, void*& pages) {
  return take(size, PROT_READ | PROT_WRITE, pages);
}

std::uint32_t PageRanges::take_reserved(std::uint64_t size, void*& pages) {
  return take(size, PROT_NONE, pages);
}

std::uint32_t PageRanges::take(std::uint64_t size, int protection, void*& pages) {
  pages = nullptr;
  if (size == 0) {
    return port::kErrorInvalidParameter;
  }
  void* taken =
      ::mmap(nullptr, size, protection, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (taken == MAP_FAILED) {
    return kErrorNotEnoughMemory;
  }
  pages = taken;
  ranges_[address_of(pages)] = size;
  return 0;
}

std::uint32_t PageRanges::release(void* pages) {
  const auto range = ranges_.find(address_of(pages));
  if (range == ranges_.end()) {
    return kErrorInvalidAddress;
  }
  const auto [begin, size] = *range;
  pinned_.erase(pinned_.lower_bound(begin), pinned_.lower_bound(begin + size));
  ::munmap(pages, size);
  ranges_.erase(range);
  return 0;
}

std::uint32_t PageRanges::commit(void* pages, std::uint64_t size) {
  if (!lie_in_one(pages, size)) {
    return kErrorInvalidAddress;
  }
  return ::mprotect(pages, size, PROT_READ | PROT_WRITE) == 0 ? 0 : kErrorNotEnoughMemory;
}

std::uint32_t PageRanges::decommit(void* pages, std::uint64_t size) {
  if (!lie_in_one(pages, size)) {
    return kErrorInvalidAddress;
  }
  ::madvise(pages, size, MADV_DONTNEED);
  ::mprotect(pages, size, PROT_NONE);
  return 0;
}

std::uint32_t PageRanges::pin(void* pages, std::uint64_t size) {
  pinned_[address_of(pages)] = size;
  return 0;
}

std::uint32_t PageRanges::unpin(void* pages, std::uint64_t size) {
  const auto pinned = pinned_.find(address_of(pages));
  if (pinned == pinned_.end() || pinned->second != size) {
    return kErrorNotLocked;
  }
  pinned_.erase(pinned);
  return 0;
}

// None is never meant: to the system a size of 0 may be the whole range.
bool PageRanges::lie_in_one(void* pages, std::uint64_t size) const {
  const std::uint64_t begin = address_of(pages);
  const auto behind = ranges_.upper_bound(begin);
  if (size == 0 || behind == ranges_.begin()) {
    return false;
  }
  const auto range = std::prev(behind);
  return begin + size <= range->first + range->second;
}

}  // namespace orsin::platform
