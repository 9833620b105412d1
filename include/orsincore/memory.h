/// @file
/// Memory: pages straight from the system, aligned and small blocks, figures, a parallel copy.
///
/// Sizes are bytes unless a name says otherwise. Every failure is a null, false or -1 result; where
/// a call has a log line for it, the line is written before the call returns.
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
/// @param info  Null asks for the result only.
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
/// Do not use it on a live block unless you know why: kept as it always was, it releases the old
/// block one step further back than a_free() does, through the word that lies where the heap block
/// begins, which frees a wild address. With null it is an a_alloc(). See docs/memory.md.
/// @param data       A block from a_alloc(), or null for a new one.
/// @param size       Bytes of the new block.
/// @param alignment  As for a_alloc().
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

/// Copies `count` bytes with every worker of the executor; the ranges must not overlap, nor be null
/// unless `count` is 0.
///
/// Every copy is split, however small. Must not be called from inside an smp_exec() job.
/// @return `destination`, when the last worker has finished.
/// Any thread that is not a worker.
ORSIN_API void* memcpy_mt(void* destination, const void* source, std::size_t count);

/// Does nothing and returns null; for callers written for systems with autorelease pools.
ORSIN_API void* ov_create_autorelease_pool();

/// Does nothing.
ORSIN_API void ov_release_autorelease_pool(void* pool);

// Movable-block heaps
// -------------------
// A heap is one region of pages, carved into blocks on demand. A block belongs to a handle: the
// address of its owner's pointer variable. The heap writes the block's data address into that
// variable, a new one when it moves the block, and null when it discards it. A locked block stays
// where it is; an unlocked one may be moved or discarded, least recently used first, as soon as
// another allocation needs the room. An owner may use its pointer only while it holds a lock.
//
// Locks are taken for every picture, so the calls trust their callers: unless they say so, neither
// a heap nor a handle may be null. The mem_ calls for buffers take care of null handles.
//
//   void* frame = nullptr;                             // The variable; &frame is the handle.
//   mheap_alloc_lock(heap, bytes, &frame);             // Locked once: frame is good.
//   mheap_unlock(heap, &frame);                        // From here on it may move or vanish.
//   mheap_lock(heap, &frame); if (frame == nullptr) { /* discarded: load it again */ }

/// What a heap may do to make room.
enum mheap_mode : std::uint32_t {
  MHEAP_DISCARD = 0,  ///< Discards blocks; moves them only when that gave no room. Waits for room.
  MHEAP_COMPACT = 1,  ///< Moves blocks before it discards any. Tries again without end for room.
};

/// Gets a block's data address when its contents are thrown away or the block is freed. Runs inside
/// the heap's mutex: it must not call the same heap. Another heap it may call, unless callbacks of that
/// one call this one in turn.
typedef void (*mheap_discard_callback)(void* data);

/// The header at the start of every block. The data follows header_size bytes after it; the next
/// block `size` bytes after it.
struct mheap_mblk {
  std::uint64_t state;         ///< 0 free, 1 used.
  void** owner;                ///< The handle; null in free blocks and after a pending free.
  std::uint8_t* data;          ///< The data while used, else null.
  std::uint64_t size;          ///< Of the whole block, header included, in bytes.
  std::uint32_t lock_count;    ///< Locks by the handle.
  std::uint32_t lockex_count;  ///< Locks by an address inside the block.
  std::uint64_t last_use;      ///< The heap's clock at the last allocation, lock, keep or unlock.
  mheap_discard_callback discard_callback;  ///< Null for none.
  std::uint32_t flags;  ///< Bit 0: to be released by the next mheap_unlock_ex().
};

/// A heap. Read it as you like while no other thread uses the heap; change nothing.
struct _mheap {
  char name[32];              ///< Not terminated when it is 32 bytes or longer.
  std::uint64_t total_size;   ///< Bytes of the region.
  std::uint64_t alignment;    ///< What block sizes are multiples of.
  std::uint64_t header_size;  ///< Bytes of header in front of each block's data.
  mheap_mode mode;            ///< What the heap may do to make room.
  mheap_mblk* first_block;    ///< At `base`.
  mheap_mblk* end_block;      ///< Where every walk over the blocks stops.
  std::uint8_t* base;         ///< The region.
  __mutex_str* mutex;         ///< Guards everything in the heap.
  __cond_str* cond;           ///< Where allocations wait for an unlock; each unlock signals it.
  std::uint64_t clock;        ///< Every use stamps its block with this and counts on.
};

/// Makes a heap over a new region.
///
/// @param name       For the log; the first 32 bytes are kept. Null for none.
/// @param size       Bytes, rounded down to a multiple of `alignment`.
/// @param alignment  The granularity of blocks, above 0; with a power of two from 8 on, data lies at
///                   multiples of it.
/// @param mode       What the heap may do to make room.
/// @param os_flags   Non-zero pins the region in physical memory; see os_alloc().
/// @return The heap, the caller's until mheap_destroy(); null when memory is short, the alignment
///         is not above 0 or the region could not hold one header.
ORSIN_API _mheap* mheap_initialize(const char* name, std::uint64_t size, int alignment,
                                   mheap_mode mode, int os_flags);

/// Ends a heap and gives its region back. Its blocks are not looked at: handles keep their values
/// and no callback runs. No thread may be using the heap. Null does nothing.
ORSIN_API void mheap_destroy(_mheap* heap);

/// Allocates a block of at least `size` data bytes, locked once, and writes its address into
/// `*handle`.
///
/// Where there is no room, unlocked blocks are discarded and moved. If that gives none either, a
/// heap of mode 0 waits for an unlock, at most ten times 100 ms, and a heap of mode 1 tries again
/// until another thread has made room.
/// @return 1, the lock count; -1 when there is no room (with warnings about each wait) or `size` is
///         0 (with an error line).
/// Any thread.
ORSIN_API int mheap_alloc_lock(_mheap* heap, std::uint64_t size, void** handle);

/// Locks a block once more. The new lock count; -1 when `*handle` is null or, with a debug line, no
/// address of this heap. Any thread.
ORSIN_API int mheap_lock(_mheap* heap, void** handle);

/// Marks a block as just used, so that others are discarded first. Its lock count, or -1 as above.
/// Any thread.
ORSIN_API int mheap_keep(_mheap* heap, void** handle);

/// Takes one lock off and signals `cond`: one thread that waits there is woken, be it an allocation
/// that waits for room or a thread of the host.
///
/// @return The new lock count; 0 with a debug line when there was no lock; -1 with a debug line when
///         `*handle` is no address of this heap.
/// Any thread.
ORSIN_API int mheap_unlock(_mheap* heap, void** handle);

/// Frees an unlocked block: runs its discard callback and clears `*handle`.
///
/// A block that is still locked by mheap_lock_ex() is freed by the next mheap_unlock_ex();
/// `*handle` is cleared at once.
/// @return 1; -1 when `*handle` is null or, with a debug line, no block of this handle or locked.
/// Any thread.
ORSIN_API int mheap_free(_mheap* heap, void** handle);

/// Locks the block that `address` points into, for code that has no handle.
///
/// @return The block's data address; null when the heap has no such address.
/// Any thread.
ORSIN_API void* mheap_lock_ex(_mheap* heap, const void* address);

/// Takes such a lock off; `data` is what mheap_lock_ex() returned. The first one after a pending
/// free releases the block, even if other locks of the kind are left. 1, or 0 for another address.
/// Any thread.
ORSIN_API int mheap_unlock_ex(_mheap* heap, void* data);

/// Sets what is called when the block's contents are thrown away; null for nothing.
/// 1, or 0 when `data` is no address of this heap. Any thread.
ORSIN_API int mheap_set_discard_callback(_mheap* heap, void* data, mheap_discard_callback callback);

/// True when `*handle` points into this heap and the block there belongs to this very handle; false
/// for null.
/// Takes no lock; the answer is worth something while the caller keeps the block from moving.
ORSIN_API bool mheap_is_valid(_mheap* heap, void** handle);

/// Sums up free bytes, and those that are free or could be freed now; both with their headers.
/// Takes no lock: with other threads at work the sums are estimates. Returns the total size.
ORSIN_API std::uint64_t mheap_queryspace(_mheap* heap, std::uint64_t& free,
                                         std::uint64_t& freeable);

ORSIN_API std::uint64_t mheap_totalsize(_mheap* heap);  ///< Bytes of the region. Any thread.
ORSIN_API void* mheap_heapbase(_mheap* heap);           ///< The region. Any thread.

/// Moves the heap into a larger region; locked blocks move too.
///
/// @return The new size; -1 (all bits set) when it is not larger than the old one. When the region
///         cannot be had the new size is returned all the same and nothing has changed: ask
///         mheap_totalsize(). A damaged heap stays as it is: an error line, signal 11, and -1.
/// Any thread; owners must not be using their blocks.
ORSIN_API std::uint64_t mheap_resize(_mheap* heap, std::uint64_t size, int os_flags);

/// Reads one byte a page, so that the pages are in memory. The bytes' sum; 0 for a heap of at most
/// one page. Takes no lock.
ORSIN_API std::uint64_t mheap_prefetch_all(_mheap* heap);

/// Discards every unlocked block and joins the free ones. 0, or -1 for a heap without blocks.
/// A damaged heap gets an error line and signal 11. Any thread.
ORSIN_API int mheap_clearall(_mheap* heap);

/// Joins free blocks and checks the sizes. 0, or -1 for a heap without blocks and for a damaged
/// one, which then stays locked for good. Any thread.
ORSIN_API int mheap_validate(_mheap* heap);

/// Lists the blocks at debug level, sizes in KiB, under a line with the heap's name and `title`.
/// Any thread.
ORSIN_API void mheap_dump(_mheap* heap, const char* title);

/// Lists the blocks at debug level with addresses, owners and bytes; `mark` gets an asterisk.
/// Any thread.
ORSIN_API void mheap_trace(_mheap* heap, const mheap_mblk* mark);

// Standard heaps
// --------------
// Four movable-block heaps for media buffers, made at start-up. A buffer is named by its handle; the
// calls find the heap by themselves. Sizes come from the machine's memory and from "memory.cfg".

/// The standard heaps.
enum MEM_HEAP_ID : int {
  MEM_HEAP_ANY = 0,    ///< Chosen by size: Proxy below 256 KiB, else Frame. For allocations only.
  MEM_HEAP_FRAME = 1,  ///< Whole pictures.
  MEM_HEAP_PROXY = 2,  ///< Small pictures.
  MEM_HEAP_AUDIO = 3,  ///< Sound.
  MEM_HEAP_IMAGE = 4,  ///< Loaded images; the one heap that moves blocks before it discards any.
};

/// Makes the four heaps and reports their sizes in the log; ov_initialize() calls it.
///
/// A heap that cannot be had in full is made smaller, with two warning lines for the Frame heap.
/// @return The bytes of all four together, also on every later call, which does nothing; 0 after a
///         line "FATAL: ..." when one cannot be had at all: then none is left.
ORSIN_API std::uint64_t mem_alloc_pools();

/// Ends the four heaps; ov_closedown() calls it. No thread may be using a buffer.
ORSIN_API void mem_free_pools();

/// A heap, or null before mem_alloc_pools() and for any other id. Any thread.
ORSIN_API _mheap* mem_getheap(MEM_HEAP_ID id);

/// A heap's size in bytes; 0 where mem_getheap() is null. Any thread.
ORSIN_API std::uint64_t mem_heapsize(MEM_HEAP_ID id);

/// A heap's region; null where mem_getheap() is. Any thread.
ORSIN_API void* mem_heapbase(MEM_HEAP_ID id);

/// mheap_clearall() of a heap; -1 where mem_getheap() is null. Any thread.
ORSIN_API int mem_clearall(MEM_HEAP_ID id);

/// mheap_validate() of a heap; -1 where mem_getheap() is null. Any thread.
ORSIN_API int mem_validate(MEM_HEAP_ID id);

/// mheap_dump() of a heap: 0; -1 where mem_getheap() is null. Any thread.
ORSIN_API int mem_dumpheap(MEM_HEAP_ID id, const char* title);

/// Allocates a buffer, locked once, and writes its address into `*handle`.
///
/// With MEM_HEAP_ANY a full heap is no failure: the other of Frame and Proxy is tried, then the
/// system (such a buffer is never moved or discarded).
/// @return The buffer, until mem_free_buffer() or mem_free_locked_buffer(); null when there is no
///         room, after a warning when even the system had none, and for an unknown id or a null
///         handle.
/// Any thread. May wait; see mheap_alloc_lock().
ORSIN_API void* mem_alloc_locked_buffer(void** handle, std::uint64_t size, MEM_HEAP_ID id);

/// Unlocks a buffer once and frees it. 1, or 0 for one from the system; -1 when it was still locked
/// or is none, as is a null handle. Any thread.
ORSIN_API int mem_free_locked_buffer(void** handle);

/// mheap_lock(), mheap_keep() and mheap_unlock() for a buffer of any of the heaps.
///
/// @return What they return; 0 for a null `handle` and for a buffer from the system, which needs no
///         lock; -1 with a debug line for anything else: a discarded buffer, for one.
/// Any thread.
ORSIN_API int mem_lock_buffer(void** handle);
/// @copydoc mem_lock_buffer()
ORSIN_API int mem_keep_buffer(void** handle);
/// @copydoc mem_lock_buffer()
ORSIN_API int mem_unlock_buffer(void** handle);

/// Frees an unlocked buffer. 1, or 0 for any address outside the heaps; -1 when it is locked or
/// `*handle` is null. Any thread.
ORSIN_API int mem_free_buffer(void** handle);

/// mheap_set_discard_callback() in the Frame heap; buffers of other heaps are not reached.
/// Any thread.
ORSIN_API void mem_set_discard_callback(void* data, mheap_discard_callback callback);
