// What the memory layer asks of the platform about pages and the address space.
//
// pages_win.cpp answers with one Windows call a function: no logging, no retry, no policy. A call
// that fails leaves the system's last error for os_errormsg(). Any thread.
#pragma once

#include <cstdint>

namespace orsin::port {

/// Memory figures of the machine and of this process in bytes; all 0 where the system has none.
struct MemoryStatus {
  std::uint64_t total_physical = 0;
  std::uint64_t available_physical = 0;
  std::uint64_t available_virtual = 0;
  std::uint64_t total_virtual = 0;
};

/// A stretch of the address space in one state. Size 0: the system knows nothing there.
struct Region {
  std::uint64_t address = 0;
  std::uint64_t size = 0;
  bool is_free = false;
};

/// The user part of the address space, first and last usable address.
struct AddressSpace {
  std::uint64_t lowest = 0;
  std::uint64_t highest = 0;
};

/// Zeroed read/write pages as high in the address space as possible; null on failure.
[[nodiscard]] void* commit_pages_top_down(std::uint64_t size) noexcept;
[[nodiscard]] bool release_pages(void* address) noexcept;

/// Address space that nothing else will use, for commit_pages(); null on failure. release_pages()
/// gives all of it back.
[[nodiscard]] void* reserve_pages(std::uint64_t size) noexcept;

/// Zeroed read/write pages in a reservation, and back again. Address and size: whole pages.
[[nodiscard]] bool commit_pages(void* address, std::uint64_t size) noexcept;
void decommit_pages(void* address, std::uint64_t size) noexcept;

[[nodiscard]] bool pin_pages(void* address, std::uint64_t size) noexcept;
[[nodiscard]] bool unpin_pages(void* address, std::uint64_t size) noexcept;

[[nodiscard]] std::uint32_t page_size() noexcept;
[[nodiscard]] MemoryStatus memory_status() noexcept;
[[nodiscard]] AddressSpace address_space() noexcept;
[[nodiscard]] Region region_at(std::uint64_t address) noexcept;

}  // namespace orsin::port
