// Finds, adds and forgets the records of system allocations; see the header.
#include "memory/allocation_table.h"

#include <algorithm>

namespace orsin {

void AllocationTable::remember(const AllocationRecord& record) {
  // Kept on purpose: if the table cannot grow, the caller still gets the pages and the total
  // counts them, but os_free() will not know the address. Refusing memory that the system has
  // already given would hurt the caller more than a leak that closedown reports. The failed growth
  // has written its own line.
  static_cast<void>(records_.append(record));
  held_bytes_ += record.size_bytes;
  peak_bytes_ = std::max(peak_bytes_, held_bytes_);
}

const AllocationRecord* AllocationTable::find(std::uint64_t address) const {
  // From the end: what was allocated last is freed first.
  for (const AllocationRecord* record = records_.end(); record != records_.begin();) {
    --record;
    if (record->address == address) {
      return record;
    }
  }
  return nullptr;
}

void AllocationTable::forget(const AllocationRecord* record) {
  held_bytes_ -= record->size_bytes;
  records_.remove(static_cast<int>(record - records_.begin()));
  if (held_bytes_ == 0) {
    records_.release();
  }
}

void AllocationTable::clear() {
  records_.release();
  held_bytes_ = 0;
  peak_bytes_ = 0;
}

}  // namespace orsin
