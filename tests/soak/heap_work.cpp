// Blocks of the standard heaps, more than they have room for: the heaps move and discard all the time.
#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "orsincore/memory.h"
#include "tests/soak/site.h"

namespace orsin::soak {
namespace {

constexpr int kThreads = 3;

struct Kind {
  MEM_HEAP_ID heap;
  std::uint32_t blocks;     // Of each thread: together they ask for more than the heap has.
  std::uint32_t bytes_max;  // Of a block.
};

// The heaps' smallest sizes are 256, 128, 128 and 32 MiB.
constexpr std::array<Kind, 4> kKinds = {{{MEM_HEAP_FRAME, 32, 8 << 20},
                                         {MEM_HEAP_PROXY, 1000, 256 << 10},
                                         {MEM_HEAP_AUDIO, 1000, 300 << 10},
                                         {MEM_HEAP_IMAGE, 16, 2 << 20}}};
constexpr std::size_t kStrideBytes = 64 * 1024;  // A mark in each.

struct Block {
  void* data = nullptr;  // Changed by the heap.
  std::uint64_t size = 0;
  std::uint64_t mark = 0;
};

// What a block must hold for as long as it has not been discarded.
std::uint64_t& mark_at(void* data, std::size_t offset) {
  return *reinterpret_cast<std::uint64_t*>(static_cast<unsigned char*>(data) + offset);
}

class HeapWork : public Work {
 public:
  explicit HeapWork(std::uint64_t seed) : Work("heaps", seed) {
    for (const Kind& kind : kKinds) {
      blocks_.emplace_back(kind.blocks);
    }
  }

  ~HeapWork() override {
    for (std::vector<Block>& blocks : blocks_) {
      for (Block& block : blocks) {
        static_cast<void>(mem_free_buffer(&block.data));
      }
    }
  }

  void step() override {
    if (dice_.once_in(200)) {
      use_a_heap_of_its_own();
      return;
    }
    const std::uint32_t index = dice_.below(kKinds.size());
    const Kind& kind = kKinds[index];
    Block& block = blocks_[index][dice_.below(kind.blocks)];
    if (dice_.once_in(8)) {
      static_cast<void>(mem_free_buffer(&block.data));  // Discarded already, perhaps.
    } else if (!look_at(block)) {
      allocate(kind, block);
    }
  }

 private:
  // False when the block has been discarded, or never was there.
  bool look_at(Block& block) {
    _mheap* const heap = mem_getheap(heap_of(block));
    if (mheap_lock(heap, &block.data) < 1) {
      return false;
    }
    bool holds = true;
    for (std::size_t offset = 0; offset < block.size; offset += kStrideBytes) {
      holds = holds && mark_at(block.data, offset) == block.mark + offset;
    }
    expect(holds, "a block of " + std::to_string(block.size) + " bytes holds something else");
    expect(mheap_unlock(heap, &block.data) == 0, "a block was locked by somebody else");
    count_done();
    return true;
  }

  void allocate(const Kind& kind, Block& block) {
    block.size = 64 + dice_.below(kind.bytes_max - 64);
    if (mem_alloc_locked_buffer(&block.data, block.size, kind.heap) == nullptr) {
      // The few locks that others hold never fill a heap, but what they leave free may be in pieces.
      count_refused();
      return;
    }
    block.mark = ++marks_ << 32;
    for (std::size_t offset = 0; offset < block.size; offset += kStrideBytes) {
      if (offset + sizeof(std::uint64_t) <= block.size) {
        mark_at(block.data, offset) = block.mark + offset;
      } else {
        block.size = offset;  // No room for one more mark.
      }
    }
    expect(mem_unlock_buffer(&block.data) == 0, "a new block was locked more than once");
    count_done();
  }

  void use_a_heap_of_its_own() {
    constexpr std::uint64_t kHeapBytes = 1 << 20;
    _mheap* const heap = mheap_initialize("Soak", kHeapBytes, 64, MHEAP_COMPACT, 0);
    if (!expect(heap != nullptr, "no heap of 1 MiB")) {
      return;
    }
    std::array<void*, 40> handles = {};
    for (void*& handle : handles) {
      if (expect(mheap_alloc_lock(heap, 1 + dice_.below(60'000), &handle) == 1, "no block")) {
        expect(mheap_unlock(heap, &handle) == 0, "a new block was locked more than once");
      }
    }
    expect(mheap_resize(heap, 2 * kHeapBytes, 0) == 2 * kHeapBytes, "the heap cannot grow");
    expect(mheap_validate(heap) == 0, "the heap is damaged");
    mheap_destroy(heap);
    void* const pages = os_alloc(1 + dice_.below(300'000), 0);
    expect(pages != nullptr && os_free(pages), "no pages");
    void* const aligned = a_alloc(1 + dice_.below(100'000), 4096);
    if (expect(aligned != nullptr, "no aligned block")) {
      a_free(aligned);
    }
    count_done();
  }

  MEM_HEAP_ID heap_of(const Block& block) const {
    for (std::size_t i = 0; i < kKinds.size(); ++i) {
      if (&block >= blocks_[i].data() && &block < blocks_[i].data() + blocks_[i].size()) {
        return kKinds[i].heap;
      }
    }
    return MEM_HEAP_ANY;
  }

  std::vector<std::vector<Block>> blocks_;  // By kind; they never move, as the heaps know them.
  std::uint64_t marks_ = 0;
};

// Every page of the heaps is touched once, or their filling up would look like a leak.
bool touch_all_heaps() {
  constexpr std::uint64_t kHeadersBytes = 64 * 1024;
  for (const Kind& kind : kKinds) {
    void* all = nullptr;
    const std::uint64_t size = mem_heapsize(kind.heap) - kHeadersBytes;
    if (mem_alloc_locked_buffer(&all, size, kind.heap) == nullptr) {
      return false;
    }
    std::memset(all, 1, static_cast<std::size_t>(size));
    static_cast<void>(mem_free_locked_buffer(&all));
  }
  return true;
}

}  // namespace

Works heap_works(std::uint64_t seed) {
  Works works;
  for (int i = 0; touch_all_heaps() && i < kThreads; ++i) {
    works.push_back(std::make_unique<HeapWork>(seed + static_cast<std::uint64_t>(i)));
  }
  return works;
}

}  // namespace orsin::soak
