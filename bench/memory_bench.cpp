// Small blocks against other allocators, and the parallel copy against memcpy().
//
// Small blocks: `batch` blocks are allocated and freed again, last one first (LIFO) or first one
// first (FIFO); the time is that of all pairs. Rivals: mimalloc, the run-time library's malloc(),
// and a bare list that pops and pushes in the benchmark itself (the floor: no call into a DLL). A
// good result is 3.5 times as many pairs per second as mimalloc in both orders.
//
// Copies: memcpy_mt() with two workers against memcpy() on the caller's thread, and against an
// smp_exec() that does nothing. A good result is twice memcpy()'s bytes per second from 16 MiB on,
// and 1 KiB within 1.2 times the empty call.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "orsincore/memory.h"
#include "orsincore/startup.h"
#include "orsincore/threads.h"

#ifdef ORSIN_RIVAL_MIMALLOC
#include <mimalloc.h>
#endif

namespace {

constexpr std::size_t kBatch = 256;

struct OrsinSmallBlocks {
  static void* take(std::size_t size) { return sb_alloc(size); }
  static void give_back(void* block, std::size_t size) { sb_free(block, size); }
};

#ifdef ORSIN_RIVAL_MIMALLOC
struct Mimalloc {
  static void* take(std::size_t size) { return mi_malloc(size); }
  static void give_back(void* block, std::size_t) { mi_free(block); }
};
#endif

struct RuntimeMalloc {
  static void* take(std::size_t size) { return std::malloc(size); }
  static void give_back(void* block, std::size_t) { std::free(block); }
};

struct BareList {
  struct Node {
    Node* next;
    unsigned char rest[120];
  };
  static inline std::array<Node, kBatch> nodes;
  static inline Node* head = nullptr;
  static inline const bool threaded = [] {
    for (Node& node : nodes) {
      node.next = head;
      head = &node;
    }
    return true;
  }();

  static void* take(std::size_t) {
    Node* node = head;
    head = node->next;
    return node;
  }
  static void give_back(void* block, std::size_t) {
    auto* node = static_cast<Node*>(block);
    node->next = head;
    head = node;
  }
};

template <typename Allocator>
void last_in_first_out(benchmark::State& state) {
  const auto size = static_cast<std::size_t>(state.range(0));
  std::array<void*, kBatch> blocks = {};
  for (auto _ : state) {
    for (void*& block : blocks) {
      block = Allocator::take(size);
    }
    benchmark::DoNotOptimize(blocks);
    for (std::size_t index = kBatch; index-- > 0;) {
      Allocator::give_back(blocks[index], size);
    }
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kBatch));
}

template <typename Allocator>
void first_in_first_out(benchmark::State& state) {
  const auto size = static_cast<std::size_t>(state.range(0));
  std::array<void*, kBatch> blocks = {};
  for (auto _ : state) {
    for (void*& block : blocks) {
      block = Allocator::take(size);
    }
    benchmark::DoNotOptimize(blocks);
    for (void* block : blocks) {
      Allocator::give_back(block, size);
    }
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kBatch));
}

#define ORSIN_SMALL_BLOCK_BENCHMARKS(order)                       \
  BENCHMARK_TEMPLATE(order, OrsinSmallBlocks)->Arg(24)->Arg(100); \
  BENCHMARK_TEMPLATE(order, RuntimeMalloc)->Arg(24)->Arg(100);    \
  BENCHMARK_TEMPLATE(order, BareList)->Arg(24)

ORSIN_SMALL_BLOCK_BENCHMARKS(last_in_first_out);
ORSIN_SMALL_BLOCK_BENCHMARKS(first_in_first_out);

#ifdef ORSIN_RIVAL_MIMALLOC
BENCHMARK_TEMPLATE(last_in_first_out, Mimalloc)->Arg(24)->Arg(100);
BENCHMARK_TEMPLATE(first_in_first_out, Mimalloc)->Arg(24)->Arg(100);
#endif

// Starts the executor with two workers, once.
void start_library() {
  static const bool is_started = [] {
    static char program[] = "memory_bench.exe";
    static char workers[] = "-P";
    static char count[] = "2";
    static char* arguments[] = {program, workers, count, nullptr};
    return ov_initialize(nullptr, "ORSIN_BENCH_DATA", 3, arguments);
  }();
  if (!is_started) {
    std::abort();
  }
}

template <void* (*copy)(void*, const void*, std::size_t)>
void copying(benchmark::State& state) {
  start_library();
  const auto count = static_cast<std::size_t>(state.range(0));
  std::vector<unsigned char> source(count, 1);
  std::vector<unsigned char> destination(count, 2);
  for (auto _ : state) {
    copy(destination.data(), source.data(), count);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void do_nothing() {}

void empty_smp_exec(benchmark::State& state) {
  start_library();
  for (auto _ : state) {
    smp_exec(do_nothing, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
  }
}

#define ORSIN_COPY_BENCHMARK(copy)  \
  BENCHMARK_TEMPLATE(copying, copy) \
      ->Arg(1 << 10)                \
      ->Arg(1 << 20)                \
      ->Arg(16 << 20)               \
      ->Arg(64 << 20)               \
      ->Arg(256 << 20)              \
      ->UseRealTime()

ORSIN_COPY_BENCHMARK(std::memcpy);
ORSIN_COPY_BENCHMARK(memcpy_mt);
BENCHMARK(empty_smp_exec)->UseRealTime();

}  // namespace
