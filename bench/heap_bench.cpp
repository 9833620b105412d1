// The movable-block heap: locks, small changes in a full heap, an editor's frames.
//
//   LockPair      mheap_lock() and mheap_unlock() of one block, against two bare critical sections
//                 around a counter. Good: at most 1.3 times as long.
//   Replace       one random buffer of `live` is freed and one allocated, proxies of 320 x 180
//                 pixels. Rivals: mimalloc, the run-time library's malloc(), and the same heap
//                 walking its headers. Good at 10,000: a hundredth of the walk's time; ahead of
//                 mimalloc from 1,000 on.
//   EditorFrames  frames of 8 to 32 MB come and go in a heap of 512 MiB that discards the least
//                 recently used; every page is touched. Rival: pages from the system for each frame.
//                 Good: 100 times as many frames per second.
//
//   AudioPieces   an editor's sound: pieces of 10 ms to 2 s come and go at random in a heap of 256 MiB
//                 with units of 16 bytes, which stays full. Good: the heap's index touches less than
//                 2 % of what the heap does ("index_percent").
//
//   StartHeaps    the four standard heaps are made and ended. Good: under 50 ms, and under 64 MB more
//                 in the working set ("resident_mb").
//
// Linked with the library's objects, so that the heap can be made to walk.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "base/win/windows.h"
// After the Windows headers that it needs.
#include <psapi.h>

#include "memory/movable_heap.h"
#include "memory/standard_heaps.h"
#include "orsincore/memory.h"

#ifdef ORSIN_RIVAL_MIMALLOC
#include <mimalloc.h>
#endif

namespace {

// --- Locks ---

void lock_pair_heap(benchmark::State& state) {
  _mheap* heap = mheap_initialize("Bench", 1 << 20, 16, MHEAP_DISCARD, 0);
  void* block = nullptr;
  mheap_alloc_lock(heap, 1000, &block);
  for (auto _ : state) {
    mheap_lock(heap, &block);
    mheap_unlock(heap, &block);
  }
  mheap_destroy(heap);
}
BENCHMARK(lock_pair_heap);

void lock_pair_bare(benchmark::State& state) {
  CRITICAL_SECTION section;
  InitializeCriticalSection(&section);
  int locks = 0;
  for (auto _ : state) {
    EnterCriticalSection(&section);
    benchmark::DoNotOptimize(++locks);
    LeaveCriticalSection(&section);
    EnterCriticalSection(&section);
    benchmark::DoNotOptimize(--locks);
    LeaveCriticalSection(&section);
  }
  DeleteCriticalSection(&section);
}
BENCHMARK(lock_pair_bare);

// --- Replacing one block of many ---

constexpr std::size_t kProxyBytes = 320 * 180 * 4;

class MovableHeap {
 public:
  explicit MovableHeap(std::size_t live)
      : heap_(mheap_initialize("Bench", (live + 16) * (kProxyBytes + 8192), 4096, MHEAP_DISCARD,
                               0)) {}
  ~MovableHeap() { mheap_destroy(heap_); }
  MovableHeap(const MovableHeap&) = delete;
  MovableHeap& operator=(const MovableHeap&) = delete;

  void take(void*& block) { mheap_alloc_lock(heap_, kProxyBytes, &block); }
  void give_back(void*& block) {
    mheap_unlock(heap_, &block);
    mheap_free(heap_, &block);
  }

 protected:
  _mheap* heap_;
};

class WalkingHeap : public MovableHeap {
 public:
  explicit WalkingHeap(std::size_t live) : MovableHeap(live) {
    orsin::movable_heap::drop_index(heap_);
  }
};

#ifdef ORSIN_RIVAL_MIMALLOC
struct Mimalloc {
  explicit Mimalloc(std::size_t) {}
  void take(void*& block) { block = mi_malloc(kProxyBytes); }
  void give_back(void*& block) { mi_free(block); }
};
#endif

struct RuntimeMalloc {
  explicit RuntimeMalloc(std::size_t) {}
  void take(void*& block) { block = std::malloc(kProxyBytes); }
  void give_back(void*& block) { std::free(block); }
};

template <typename Allocator>
void replace(benchmark::State& state) {
  const auto live = static_cast<std::size_t>(state.range(0));
  Allocator allocator(live);
  std::vector<void*> blocks(live);
  std::minstd_rand random(1);
  for (void*& block : blocks) {
    allocator.take(block);
    *static_cast<int*>(block) = 1;
  }
  std::vector<std::uint32_t> numbers(1 << 16);
  for (std::uint32_t& number : numbers) {
    number = static_cast<std::uint32_t>(random());
  }

  std::size_t step = 0;
  for (auto _ : state) {
    const std::uint32_t number = numbers[step++ % numbers.size()];
    void*& block = blocks[number % live];
    allocator.give_back(block);
    allocator.take(block);
    *static_cast<int*>(block) = 1;
  }
  for (void*& block : blocks) {
    allocator.give_back(block);
  }
}

BENCHMARK_TEMPLATE(replace, MovableHeap)->Arg(100)->Arg(1000)->Arg(10000);
BENCHMARK_TEMPLATE(replace, WalkingHeap)->Arg(100)->Arg(1000)->Arg(10000);
#ifdef ORSIN_RIVAL_MIMALLOC
BENCHMARK_TEMPLATE(replace, Mimalloc)->Arg(100)->Arg(1000)->Arg(10000);
#endif
BENCHMARK_TEMPLATE(replace, RuntimeMalloc)->Arg(100)->Arg(1000)->Arg(10000);

// --- An editor's frames ---

constexpr std::size_t kPageBytes = 4096;
constexpr std::size_t kMega = 1000000;

// Sizes of real pictures with 4 bytes a pixel, from full HD to 4K.
constexpr std::array<std::size_t, 5> kFrameBytes = {1920 * 1080 * 4, 2048 * 1080 * 4,
                                                    2048 * 1556 * 4, 3000 * 2000 * 4, 32 * kMega};

void touch_pages(void* frame, std::size_t bytes) {
  auto* data = static_cast<volatile unsigned char*>(frame);
  for (std::size_t offset = 0; offset < bytes; offset += kPageBytes) {
    data[offset] = 1;
  }
}

void editor_frames_heap(benchmark::State& state) {
  _mheap* heap = mheap_initialize("Frame", std::uint64_t{512} << 20, 8192, MHEAP_DISCARD, 0);
  std::vector<void*> owners(64);
  touch_pages(mheap_heapbase(heap), std::size_t{512} << 20);  // As after a minute of playing.
  std::size_t frame = 0;
  for (auto _ : state) {
    void*& owner = owners[frame % owners.size()];
    const std::size_t bytes = kFrameBytes[frame % kFrameBytes.size()];
    ++frame;
    if (owner != nullptr) {
      mheap_free(heap, &owner);
    }
    mheap_alloc_lock(heap, bytes, &owner);
    touch_pages(owner, bytes);
    mheap_unlock(heap, &owner);
  }
  mheap_destroy(heap);
}
BENCHMARK(editor_frames_heap)->UseRealTime()->Unit(benchmark::kMicrosecond);

void editor_frames_pages(benchmark::State& state) {
  std::vector<void*> owners(24);  // As many frames as the heap holds.
  std::size_t frame = 0;
  for (auto _ : state) {
    void*& owner = owners[frame % owners.size()];
    const std::size_t bytes = kFrameBytes[frame % kFrameBytes.size()];
    ++frame;
    if (owner != nullptr) {
      os_free(owner);
    }
    owner = os_alloc(bytes, 0);
    touch_pages(owner, bytes);
  }
  for (void* owner : owners) {
    if (owner != nullptr) {
      os_free(owner);
    }
  }
}
BENCHMARK(editor_frames_pages)->UseRealTime()->Unit(benchmark::kMicrosecond);

// --- Memory that is really there ---

double resident_mb() {
  PROCESS_MEMORY_COUNTERS counters = {};
  GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
  return static_cast<double>(counters.WorkingSetSize) / static_cast<double>(kMega);
}

// --- An editor's sound ---

constexpr std::size_t kSecondBytes = 48000 * 2 * sizeof(float);  // Stereo.
constexpr std::array<std::size_t, 4> kPieceBytes = {kSecondBytes / 100, kSecondBytes / 25,
                                                    kSecondBytes / 5, kSecondBytes * 2};

void audio_pieces(benchmark::State& state) {
  constexpr std::size_t kHeapBytes = std::size_t{256} << 20;
  _mheap* heap = mheap_initialize("Audio", kHeapBytes, 16, MHEAP_DISCARD, 0);
  touch_pages(mheap_heapbase(heap), kHeapBytes);  // From here on only the index grows.
  std::vector<void*> owners(4000);
  std::minstd_rand random(1);
  const double before = resident_mb();
  for (auto _ : state) {
    void*& owner = owners[random() % owners.size()];
    if (owner != nullptr) {
      mheap_free(heap, &owner);
    }
    mheap_alloc_lock(heap, kPieceBytes[random() % kPieceBytes.size()], &owner);
    mheap_unlock(heap, &owner);
  }
  const double index_mb = resident_mb() - before;
  state.counters["index_percent"] = index_mb * kMega * 100 / kHeapBytes;
  mheap_destroy(heap);
}
BENCHMARK(audio_pieces)->UseRealTime()->Iterations(20000)->Unit(benchmark::kMicrosecond);

// --- Start-up ---

void start_heaps(benchmark::State& state) {
  double resident = 0;
  for (auto _ : state) {
    const double before = resident_mb();
    if (mem_alloc_pools() == 0) {
      state.SkipWithError("no heaps");
    }
    resident = resident_mb() - before;
    orsin::standard_heaps::reset();
  }
  state.counters["resident_mb"] = resident;
}
BENCHMARK(start_heaps)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace
