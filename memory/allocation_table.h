// The table of the pages that the process holds from the system, oldest first.
//
// Promises: an address is found while its record stands, newest record first; records keep their
// order; `held_bytes` is the sum of all that was counted in and not forgotten. No lock: the owner
// (os_allocation.cpp) has one.
#pragma once

#include <cstdint>

#include "orsincore/base.h"

namespace orsin {

struct AllocationRecord {
  std::uint64_t address = 0;
  std::uint64_t size_bytes = 0;
  std::int32_t is_locked = 0;  // The flag as os_alloc() got it: 0 or not.
};

class AllocationTable {
 public:
  /// Adds a record and counts its bytes.
  void remember(const AllocationRecord& record);

  /// The newest record of an address; null when there is none.
  [[nodiscard]] const AllocationRecord* find(std::uint64_t address) const;

  /// Removes a record that find() returned. The table's own memory goes with the last byte held.
  void forget(const AllocationRecord* record);

  /// Drops every record and figure.
  void clear();

  [[nodiscard]] int count() const { return records_.count(); }
  [[nodiscard]] int capacity() const { return records_.capacity(); }
  [[nodiscard]] std::uint64_t held_bytes() const { return held_bytes_; }
  [[nodiscard]] std::uint64_t peak_bytes() const { return peak_bytes_; }

 private:
  ov_vector<AllocationRecord> records_;
  std::uint64_t held_bytes_ = 0;
  std::uint64_t peak_bytes_ = 0;
};

}  // namespace orsin
