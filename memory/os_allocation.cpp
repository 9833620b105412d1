// Pages from the system, and the table that remembers them.
//
// Promises: an address in the table is live and is given back to the system exactly once; a call
// that fails leaves nothing behind. `table_mutex` guards the table. It is taken after a heap's
// mutex and before the log's. memory_lifecycle.cpp starts it.
#include "memory/os_allocation.h"

#include <memory>

#include "base/library_locks.h"
#include "base/process_wide.h"
#include "base/system_error_text.h"
#include "memory/allocation_table.h"
#include "memory/pages_port.h"
#include "orsincore/log.h"
#include "orsincore/memory.h"

using namespace orsin;

namespace {

constinit LibraryMutex table_mutex{
    LockRank::kSystemAllocations};  // Does nothing before start-up, while one thread runs.

AllocationTable& table_locked() ORSIN_REQUIRES(table_mutex) {
  return process_wide<AllocationTable>();
}

struct ReleasePages {
  void operator()(void* pages) const { static_cast<void>(port::release_pages(pages)); }
};
using UniquePages = std::unique_ptr<void, ReleasePages>;

std::uint64_t address_of(const void* pointer) {
  return reinterpret_cast<std::uintptr_t>(pointer);
}

void warn_of_lock_error() {
  msgwarn("MEMORY: OS lock error - %s", SystemErrorText().c_str());
}

}  // namespace

void* os_alloc(std::uint64_t size, int lock) {
  const ScopedLock guard(table_mutex);

  UniquePages pages(port::commit_pages_top_down(size));
  if (!pages) {
    msgwarn("MEMORY: OS allocation failed, Requested: %.3f - %s", os_allocation::to_kib(size),
            SystemErrorText().c_str());
    return nullptr;
  }
  if (lock != 0 && !port::pin_pages(pages.get(), size)) {
    warn_of_lock_error();
    return nullptr;
  }

  table_locked().remember({address_of(pages.get()), size, lock});
  return pages.release();
}

bool os_free(void* address) {
  const ScopedLock guard(table_mutex);

  const AllocationRecord* record = table_locked().find(address_of(address));
  if (record == nullptr) {
    msgdebug("MEMORY: OS bad memory reference passed: %x",
             static_cast<unsigned int>(address_of(address)));
    return false;
  }

  if (record->is_locked != 0 && !port::unpin_pages(address, record->size_bytes)) {
    warn_of_lock_error();
  }
  if (!port::release_pages(address)) {
    msgwarn("MEMORY: OS free error - %s", SystemErrorText().c_str());
  }
  table_locked().forget(record);
  return true;
}

int mem_lock(void* address, std::uint64_t size) {
  if (!port::pin_pages(address, size)) {
    warn_of_lock_error();
    return -1;
  }
  return 0;
}

int mem_unlock(void* address, std::uint64_t size) {
  if (!port::unpin_pages(address, size)) {
    warn_of_lock_error();
    return -1;
  }
  return 0;
}

namespace orsin::os_allocation {

void start() {
  table_mutex.create();
}

void report_and_forget() {
  const ScopedLock guard(table_mutex);
  AllocationTable& table = table_locked();
  if (table.held_bytes() > 0 || table.count() > 0) {
    msgdebug("MEMORY: Closedown: %d OS allocations left: %d\n", table.count(),
             static_cast<int>(table.held_bytes()));
  }
  table.clear();
}

bool is_live(const void* address) {
  const ScopedLock guard(table_mutex);
  return table_locked().find(address_of(address)) != nullptr;
}

}  // namespace orsin::os_allocation
