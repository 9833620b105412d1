// Memory: pages straight from the system, aligned and small blocks, figures, a parallel copy.
//
// Sizes are bytes unless a name says otherwise. Every failure is a null, false or -1 result; where
// a call has a log line for it, the line is written before the call returns.
#pragma once

#include "orsincore/base.h"

/// What mem_info() finds out, all in bytes.
struct mem_info_str {
  std::uint64_t total_physical;      ///< Memory in the machine.
  std::uint64_t available_physical;  ///< Of that, what can be had without paging.
  std::uint64_t available_virtual;   ///< Address space of this process that is still free.
  std::uint64_t total_virtual;       ///< Address space of this process.
  std::uint64_t largest_usable;  ///< The largest block that is worth asking for; see mem_info().
};

/// Commits fresh zeroed pages straight from the system, as high in the address space as it can.
///
/// @param size  Bytes; the system rounds up to whole pages. 0 fails.
/// @param lock  Non-zero also pins the pages in physical memory.
/// @return The page-aligned address, the caller's until os_free(); null on failure, after one
///         warning with the size in KiB or the reason why the pages could not be pinned.
///         A failed call leaves nothing allocated.
/// Any thread. Windows: VirtualAlloc, VirtualLock.
ORSIN_API void* os_alloc(std::uint64_t size, int lock);

/// Gives pages from os_alloc() back to the system.
///
/// @return False, with a debug line, for an address that os_alloc() did not hand out or that was
///         given back already. A refusal of the system is a warning; the address is forgotten all
///         the same and the result is true.
/// Any thread. Windows: VirtualUnlock, VirtualFree.
ORSIN_API bool os_free(void* address);

/// Pins the pages that hold [address, address + size) in physical memory.
///
/// @return 0, or -1 after one warning with the system's reason (the process may pin only little
///         memory unless its working set was enlarged).
/// Any thread. Windows: VirtualLock.
ORSIN_API int mem_lock(void* address, std::uint64_t size);

/// Lets the system page out again what mem_lock() pinned. 0, or -1 after one warning.
/// Any thread. Windows: VirtualUnlock.
ORSIN_API int mem_unlock(void* address, std::uint64_t size);

/// The size of a page in bytes, at least 512; asked of the system once. Any thread.
/// Windows: GetSystemInfo.
ORSIN_API int mem_pagesize();

/// Fills `info` with the system's figures and walks the address space for the largest free region.
///
/// `largest_usable` is that region, but never more than the available physical memory; where less
/// than half of the machine's memory is available and the region is larger than that half, it is
/// the half.
/// @return The available physical memory.
/// Any thread; takes as long as the address space has regions.
/// Windows: GlobalMemoryStatusEx, VirtualQuery.
ORSIN_API std::uint64_t mem_info(mem_info_str* info);

/// Allocates on the process heap at a multiple of `alignment`.
///
/// @param alignment  Bytes, any number from 4 on; below 4 means the page size.
/// @return The block, the caller's until a_free() or a_realloc(); null after one error line.
/// Any thread.
ORSIN_API void* a_alloc(std::uint64_t size, int alignment);

/// Makes a new aligned block with the old block's first bytes, as many as both have.
///
/// The old block is released through the word that lies where its heap block begins, one step
/// further back than a_free() goes: see the note in memory/aligned_block.h before using this.
/// @param data  A block from a_alloc(), or null for a new one.
/// @return The new block; null on failure, after a warning, with the old block untouched.
/// Any thread.
ORSIN_API void* a_realloc(void* data, std::uint64_t size, int alignment);

/// Releases a block from a_alloc(); `data` must not be null. Any thread.
ORSIN_API void a_free(void* data);

/// Validates the process heap and joins its free blocks.
///
/// @return The size of the largest free block in bytes, or 1 where the system names neither a size
///         nor a reason; 0 after a warning when the heap is damaged or the system reports an error.
/// Any thread. Windows: HeapValidate, HeapCompact.
ORSIN_API std::uint64_t a_heapcompact();

/// Allocates a small block: a pointer taken from a list, with no lock and no search.
///
/// Up to 128 bytes come from three pools of 32, 64 and 128 bytes and are aligned to 8; larger sizes
/// come from malloc(). The contents are undefined.
/// @return The block, the caller's until sb_free() with the same size; null when memory is short.
/// One thread at a time, together with sb_free().
ORSIN_API void* sb_alloc(std::size_t size);

/// Returns a block of sb_alloc() to its pool, or to the process heap if it is above 128 bytes.
///
/// @param pointer  Must not be null for sizes up to 128.
/// @param size     The size that it was allocated with; nothing checks it.
/// One thread at a time, together with sb_alloc().
ORSIN_API void sb_free(void* pointer, std::size_t size);

/// Copies `count` bytes with every worker of the executor; the ranges must not overlap.
///
/// Every copy is split, however small. Must not be called from inside an smp_exec() job.
/// @return `destination`, when the last worker has finished.
/// Any thread that is not a worker.
ORSIN_API void* memcpy_mt(void* destination, const void* source, std::size_t count);

/// Does nothing and returns null; for callers written for systems with autorelease pools.
ORSIN_API void* ov_create_autorelease_pool();

/// Does nothing.
ORSIN_API void ov_release_autorelease_pool(void* pool);
