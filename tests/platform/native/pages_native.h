// Lets a native test play a machine: how much memory it has, what it refuses, what lies where.
//
//   const PagesScript script;                 // Back to a willing machine at the end.
//   script->largest_commit_bytes = 1 << 20;
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <vector>

#include "memory/pages_port.h"

namespace orsin::test {

struct NativePages {
  std::uint64_t largest_commit_bytes = std::numeric_limits<std::uint64_t>::max();
  std::size_t commits_granted = std::numeric_limits<std::size_t>::max();  // All later ones fail.
  bool refuses_pin = false;
  bool refuses_unpin = false;
  bool refuses_release = false;
  std::uint32_t page_size = 4096;
  port::MemoryStatus status = {std::uint64_t{8} << 30, std::uint64_t{6} << 30,
                               std::uint64_t{1} << 46, std::uint64_t{1} << 47};
  std::vector<port::Region> regions;  // In address order; what is not listed is unknown.

  // What was asked for so far.
  std::vector<std::uint64_t> commits;       // Sizes, refused ones too.
  std::vector<std::uint64_t> decommits;     // Sizes.
  std::vector<std::uint64_t> reservations;  // Sizes.
};

/// The machine that the port functions answer for. Change it while one thread runs.
NativePages& native_pages();

/// How many regions of pages are committed or reserved now.
[[nodiscard]] std::size_t count_regions_taken();

/// Address and size of what is pinned now.
[[nodiscard]] std::map<std::uint64_t, std::uint64_t> pinned_pages();

/// Resets the machine at both ends of a test.
class PagesScript {
 public:
  PagesScript() { native_pages() = {}; }
  ~PagesScript() { native_pages() = {}; }
  PagesScript(const PagesScript&) = delete;
  PagesScript& operator=(const PagesScript&) = delete;

  NativePages* operator->() const { return &native_pages(); }
};

}  // namespace orsin::test
