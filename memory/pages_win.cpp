// Pages and the address space, answered by Windows.
#include "memory/pages_port.h"

#include "base/win/windows.h"

namespace orsin::port {
namespace {

SYSTEM_INFO system_info() noexcept {
  SYSTEM_INFO info;
  ::GetSystemInfo(&info);
  return info;
}

}  // namespace

void* commit_pages_top_down(std::uint64_t size) noexcept {
  // A commit without an address reserves as well.
  return ::VirtualAlloc(nullptr, size, MEM_COMMIT | MEM_TOP_DOWN, PAGE_READWRITE);
}

bool release_pages(void* address) noexcept {
  return ::VirtualFree(address, 0, MEM_RELEASE) != FALSE;
}

void* reserve_pages(std::uint64_t size) noexcept {
  return ::VirtualAlloc(nullptr, size, MEM_RESERVE, PAGE_READWRITE);
}

bool commit_pages(void* address, std::uint64_t size) noexcept {
  return ::VirtualAlloc(address, size, MEM_COMMIT, PAGE_READWRITE) != nullptr;
}

void decommit_pages(void* address, std::uint64_t size) noexcept {
  ::VirtualFree(address, size, MEM_DECOMMIT);
}

bool pin_pages(void* address, std::uint64_t size) noexcept {
  return ::VirtualLock(address, size) != FALSE;
}

bool unpin_pages(void* address, std::uint64_t size) noexcept {
  return ::VirtualUnlock(address, size) != FALSE;
}

std::uint32_t page_size() noexcept {
  return system_info().dwPageSize;
}

MemoryStatus memory_status() noexcept {
  MEMORYSTATUSEX status = {};
  status.dwLength = sizeof status;
  if (::GlobalMemoryStatusEx(&status) == FALSE) {
    return {};
  }
  return {status.ullTotalPhys, status.ullAvailPhys, status.ullAvailVirtual, status.ullTotalVirtual};
}

AddressSpace address_space() noexcept {
  const SYSTEM_INFO info = system_info();
  return {reinterpret_cast<std::uintptr_t>(info.lpMinimumApplicationAddress),
          reinterpret_cast<std::uintptr_t>(info.lpMaximumApplicationAddress)};
}

Region region_at(std::uint64_t address) noexcept {
  MEMORY_BASIC_INFORMATION region = {};
  if (::VirtualQuery(reinterpret_cast<const void*>(address), &region, sizeof region) == 0) {
    return {};
  }
  return {reinterpret_cast<std::uintptr_t>(region.BaseAddress), region.RegionSize,
          region.State == MEM_FREE};
}

}  // namespace orsin::port
