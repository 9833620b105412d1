// The standard heaps on machines of every size, played by the native port.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "memory/heap_sizes.h"
#include "memory/os_allocation.h"
#include "memory/standard_heaps.h"
#include "orsincore/memory.h"
#include "orsincore/primitives.h"
#include "tests/platform/native/counted_primitives.h"
#include "tests/platform/native/pages_native.h"
#include "tests/support/latch.h"
#include "tests/support/log_capture.h"
#include "tests/support/temporary_directory.h"

namespace orsin {
namespace {

using test::Lines;
using test::LogCapture;
using test::PagesScript;
using test::pinned_pages;

// A machine of 1 GiB, an empty current directory, and no heaps at either end.
class StandardHeaps : public testing::Test {
 protected:
  void SetUp() override {
    standard_heaps::reset();
    set_available(1024);
    std::filesystem::current_path(test::to_path(directory_.path()));
  }
  void TearDown() override {
    standard_heaps::reset();
    std::filesystem::current_path(before_);
  }

  void set_available(std::uint64_t mib) {
    machine_->status.total_physical = mib * kMib;
    machine_->status.available_physical = mib * kMib;
    machine_->regions = {{0x10000, std::uint64_t{1} << 46, true}};
  }

  void configure(std::string_view text) { directory_.write("memory.cfg", text); }

  PagesScript machine_;
  test::TemporaryDirectory directory_;
  std::filesystem::path before_ = std::filesystem::current_path();
};

TEST_F(StandardHeaps, OnAMachineOf1GibAreSmall) {
  EXPECT_EQ(mem_alloc_pools(), 544 * kMib);

  EXPECT_EQ(mem_heapsize(MEM_HEAP_FRAME), 256 * kMib);
  EXPECT_EQ(mem_heapsize(MEM_HEAP_PROXY), 128 * kMib);
  EXPECT_EQ(mem_heapsize(MEM_HEAP_AUDIO), 128 * kMib);
  EXPECT_EQ(mem_heapsize(MEM_HEAP_IMAGE), 32 * kMib);
}

TEST(StandardHeapsDeathTest, AreMadeAndEndedByTheFirstCallsOfAProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        const bool are_made = mem_alloc_pools() > kMib && mem_getheap(MEM_HEAP_FRAME) != nullptr;
        mem_free_pools();
        standard_heaps::reset();
        std::_Exit(are_made ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

TEST_F(StandardHeaps, AreMadeToMeasure) {
  mem_alloc_pools();

  EXPECT_STREQ(mem_getheap(MEM_HEAP_FRAME)->name, "Frame");
  EXPECT_EQ(mem_getheap(MEM_HEAP_FRAME)->alignment, 8192u);
  EXPECT_EQ(mem_getheap(MEM_HEAP_FRAME)->mode, 0u);
  EXPECT_STREQ(mem_getheap(MEM_HEAP_PROXY)->name, "Proxy");
  EXPECT_EQ(mem_getheap(MEM_HEAP_PROXY)->alignment, static_cast<unsigned>(mem_pagesize()));
  EXPECT_EQ(mem_getheap(MEM_HEAP_PROXY)->mode, 0u);
  EXPECT_STREQ(mem_getheap(MEM_HEAP_AUDIO)->name, "Audio");
  EXPECT_EQ(mem_getheap(MEM_HEAP_AUDIO)->alignment, 16u);
  EXPECT_EQ(mem_getheap(MEM_HEAP_AUDIO)->mode, 0u);
  EXPECT_STREQ(mem_getheap(MEM_HEAP_IMAGE)->name, "Image");
  EXPECT_EQ(mem_getheap(MEM_HEAP_IMAGE)->alignment, static_cast<unsigned>(mem_pagesize()));
  EXPECT_EQ(mem_getheap(MEM_HEAP_IMAGE)->mode, 1u);
  EXPECT_TRUE(pinned_pages().empty());  // Other programs need memory, too.
}

TEST_F(StandardHeaps, AreMadeOnce) {
  const std::uint64_t total = mem_alloc_pools();
  const _mheap* frame = mem_getheap(MEM_HEAP_FRAME);
  const std::size_t commits = machine_->commits.size();

  EXPECT_EQ(mem_alloc_pools(), total);

  EXPECT_EQ(mem_getheap(MEM_HEAP_FRAME), frame);
  EXPECT_EQ(machine_->commits.size(), commits);
}

TEST_F(StandardHeaps, KeepTheirTotalAfterTheirEnd) {
  const std::uint64_t total = mem_alloc_pools();

  mem_free_pools();

  EXPECT_EQ(mem_alloc_pools(), total);
  EXPECT_EQ(mem_getheap(MEM_HEAP_FRAME), nullptr);
  EXPECT_EQ(mem_heapsize(MEM_HEAP_FRAME), 0u);
}

TEST_F(StandardHeaps, AreEmptyAfterTheirEndToWhoeverStillKnowsThem) {
  mem_alloc_pools();
  _mheap* const frame = mem_getheap(MEM_HEAP_FRAME);

  mem_free_pools();

  EXPECT_EQ(mheap_totalsize(frame), 0u);
  EXPECT_EQ(mheap_heapbase(frame), nullptr);
}

template <typename Work>
int count_locks(Work work) {
  const int before = test::primitive_calls().locks;
  work();
  return test::primitive_calls().locks - before;
}

// Whoever is at work in a heap, or waits in it, holds that mutex.
TEST_F(StandardHeaps, GiveTheirRegionsBackUnderTheirMutexes) {
  constexpr int kHeaps = 4;
  mem_alloc_pools();
  void* pages = os_alloc(4096, 0);

  const int locks_for_pages = count_locks([&] { os_free(pages); });

  EXPECT_EQ(count_locks(mem_free_pools), kHeaps * (locks_for_pages + 1));
}

TEST_F(StandardHeaps, GiveEverythingBack) {
  const LogCapture log(3);
  mem_alloc_pools();

  mem_free_pools();
  os_allocation::report_and_forget();

  EXPECT_EQ(log.lines().back(), "     :                   ---------");
}

TEST_F(StandardHeaps, ReportTheirSetup) {
  const LogCapture log;

  mem_alloc_pools();

  EXPECT_EQ(log.lines(),
            (Lines{"INFO : Memory setup:", "     :  Available      :  1024.000 Mb",
                   "     :  Max block      :  1024.000 Mb", "     :  Frame heap     :   256.000 Mb",
                   "     :  Proxy heap     :   128.000 Mb", "     :  Audio heap     :   128.000 Mb",
                   "     :  Image heap     :    32.000 Mb", "     :                   ---------",
                   "     :  Total size     :   544.000 Mb", "     :                   ---------"}));
}

TEST_F(StandardHeaps, ReportNoLargestBlockWhereNoneIsKnown) {
  const LogCapture log;
  machine_->regions.clear();

  mem_alloc_pools();

  EXPECT_EQ(log.lines()[2], "     :  Frame heap     :   256.000 Mb");
}

TEST_F(StandardHeaps, FollowTheConfiguration) {
  const LogCapture log;
  configure(
      "frame_heap_size=300\nproxy_heap_size=200\r\naudio_heap_size=150\nimage_heap_size=8\n"
      "Frame_heap_size=9999\n\nno key here");

  mem_alloc_pools();

  EXPECT_EQ(mem_heapsize(MEM_HEAP_FRAME), 300 * kMib);
  EXPECT_EQ(mem_heapsize(MEM_HEAP_PROXY), 200 * kMib);
  EXPECT_EQ(mem_heapsize(MEM_HEAP_AUDIO), 150 * kMib);
  EXPECT_EQ(mem_heapsize(MEM_HEAP_IMAGE), 32 * kMib);
  const Lines lines = log.lines();
  EXPECT_EQ(
      Lines(lines.begin(), lines.begin() + 8),
      (Lines{"INFO : Memory config:", "     : frame_heap_size=300", "     : proxy_heap_size=200\r",
             "     : audio_heap_size=150", "     : image_heap_size=8",
             "     : Frame_heap_size=9999", "     : ", "     : no key here"}));
}

TEST_F(StandardHeaps, SurviveAbsurdConfigurations) {
  struct Case {
    const char* what;
    std::string text;
    std::uint64_t frame_mib;
  };
  constexpr char kBinary[] = "\x01\xFF\xFE\n\0frame\nframe_heap_size=300\n";
  const Case kCases[] = {
      {"an empty file", "", 256},
      {"nothing but line ends", "\r\n\n\r\n", 256},
      {"zero", "frame_heap_size=0\n", 256},
      {"negative", "frame_heap_size=-300\n", 256},
      {"text", "frame_heap_size=plenty\n", 256},
      {"2^63", "frame_heap_size=9223372036854775808\n", 256},
      {"2^64", "frame_heap_size=18446744073709551616\n", 256},
      {"the last line counts", "frame_heap_size=400\nframe_heap_size=300\n", 300},
      {"CR LF and no final line feed", "proxy_heap_size=128\r\nframe_heap_size=300", 300},
      {"a line of 200 characters", "frame_heap_size=300" + std::string(181, ' ') + "\n", 300},
      {"digits cut after 127 characters", "frame_heap_size=" + std::string(111, '0') + "300\n",
       256},
      {"bytes that are no text", std::string(kBinary, sizeof kBinary - 1), 300},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.what);
    standard_heaps::reset();
    configure(c.text);

    EXPECT_NE(mem_alloc_pools(), 0u);

    EXPECT_EQ(mem_heapsize(MEM_HEAP_FRAME), c.frame_mib * kMib);
    EXPECT_EQ(mem_heapsize(MEM_HEAP_IMAGE), 32 * kMib);
  }
}

// More than the machine has, and more than any machine has.
TEST_F(StandardHeaps, EndInAReducedFrameHeapForAnAbsurdSize) {
  for (const char* size : {"100000", "8796093022207", "17592186044415"}) {
    SCOPED_TRACE(size);
    standard_heaps::reset();
    configure("frame_heap_size=" + std::string(size));
    machine_->largest_commit_bytes = 300 * kMib;
    const LogCapture log(1);

    EXPECT_NE(mem_alloc_pools(), 0u);

    const Lines lines = log.lines();
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines[lines.size() - 2], "WARN : ** MEMORY ALLOCATION FAILED:");
    EXPECT_NE(lines.back().find("** REDUCED Frame heap size from "), std::string::npos);
    EXPECT_LE(mem_heapsize(MEM_HEAP_FRAME), 300 * kMib);
    EXPECT_GE(mem_heapsize(MEM_HEAP_FRAME), 128 * kMib);
  }
}

TEST_F(StandardHeaps, ReadALongLineAsSeveral) {
  const LogCapture log;
  configure(std::string(127, 'x') + "frame_heap_size=300" + std::string(54, 'y') + "\n");

  mem_alloc_pools();

  EXPECT_EQ(mem_heapsize(MEM_HEAP_FRAME), 300 * kMib);
  EXPECT_EQ(log.lines()[1], "     : " + std::string(127, 'x'));
  EXPECT_EQ(log.lines()[2], "     : frame_heap_size=300" + std::string(54, 'y'));
}

TEST_F(StandardHeaps, AskForAFrameHeapOf4GibWhenConfigured) {
  configure("frame_heap_size=4096");
  machine_->largest_commit_bytes = 300 * kMib;
  const LogCapture log;

  mem_alloc_pools();

  EXPECT_EQ(machine_->commits[3], 4 * kGib);
  EXPECT_EQ(mem_heapsize(MEM_HEAP_FRAME), 256 * kMib);
}

TEST_F(StandardHeaps, ReduceTheFrameHeapUntilItCanBeHad) {
  const LogCapture log(1);
  configure("frame_heap_size=1000");
  machine_->largest_commit_bytes = 260 * kMib;

  mem_alloc_pools();

  EXPECT_EQ(mem_heapsize(MEM_HEAP_FRAME), 250 * kMib);
  EXPECT_EQ(log.lines(),
            (Lines{"WARN : MEMORY: OS allocation failed, Requested: 1024000.000 - error 8",
                   "WARN : MEMORY: OS allocation failed, Requested: 512000.000 - error 8",
                   "WARN : ** MEMORY ALLOCATION FAILED:",
                   "     : ** REDUCED Frame heap size from 1000Mb to 250Mb"}));
}

TEST_F(StandardHeaps, AreNoneWhereNotEvenTheLeastFrameHeapCanBeHad) {
  const LogCapture log(0);
  configure("frame_heap_size=1024");
  machine_->largest_commit_bytes = 200 * kMib;

  EXPECT_EQ(mem_alloc_pools(), 0u);

  EXPECT_EQ(machine_->commits.back(), 256 * kMib);
  EXPECT_EQ(log.lines(), Lines{"ERROR: FATAL: Can't create frame heap"});
}

TEST_F(StandardHeaps, EndInAReducedFrameHeapWhereTheSizeWraps) {
  const LogCapture log(1);
  set_available(500);
  machine_->largest_commit_bytes = 300 * kMib;

  mem_alloc_pools();

  const Lines lines = log.lines();
  ASSERT_GE(lines.size(), 2u);
  EXPECT_EQ(lines[lines.size() - 2], "WARN : ** MEMORY ALLOCATION FAILED:");
  EXPECT_EQ(lines.back(), "     : ** REDUCED Frame heap size from -38Mb to 255Mb");
  // 2^64 - 38 MiB halved 36 times, in whole units.
  EXPECT_EQ(mem_heapsize(MEM_HEAP_FRAME), 256 * kMib - 8192);
}

TEST_F(StandardHeaps, FallBackToTheirMinimum) {
  configure("proxy_heap_size=500\naudio_heap_size=500\nimage_heap_size=500\n");
  machine_->largest_commit_bytes = 256 * kMib;

  EXPECT_EQ(mem_alloc_pools(), 544 * kMib);

  EXPECT_EQ(mem_heapsize(MEM_HEAP_PROXY), 128 * kMib);
  EXPECT_EQ(mem_heapsize(MEM_HEAP_AUDIO), 128 * kMib);
  EXPECT_EQ(mem_heapsize(MEM_HEAP_IMAGE), 32 * kMib);
}

TEST_F(StandardHeaps, AreAllOrNone) {
  struct Case {
    std::size_t commits_granted;
    const char* line;
  };
  constexpr Case kCases[] = {{0, "ERROR: FATAL: Can't create proxy heap"},
                             {1, "ERROR: FATAL: Can't create audio heap"},
                             {2, "ERROR: FATAL: Can't create image heap"},
                             {3, "ERROR: FATAL: Can't create frame heap"}};
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.line);
    const LogCapture log(0);
    machine_->commits.clear();
    machine_->commits_granted = c.commits_granted;

    EXPECT_EQ(mem_alloc_pools(), 0u);

    EXPECT_EQ(log.lines(), Lines{c.line});
    for (const MEM_HEAP_ID id : {MEM_HEAP_FRAME, MEM_HEAP_PROXY, MEM_HEAP_AUDIO, MEM_HEAP_IMAGE}) {
      EXPECT_EQ(mem_getheap(id), nullptr);
    }
  }
  const LogCapture log(3);
  os_allocation::report_and_forget();
  EXPECT_EQ(log.lines(), Lines{});
}

TEST_F(StandardHeaps, BeforeTheyAreMadeAreNothing) {
  EXPECT_EQ(mem_getheap(MEM_HEAP_FRAME), nullptr);
  EXPECT_EQ(mem_heapsize(MEM_HEAP_FRAME), 0u);
  EXPECT_EQ(mem_heapbase(MEM_HEAP_FRAME), nullptr);
  EXPECT_EQ(mem_clearall(MEM_HEAP_FRAME), -1);
  EXPECT_EQ(mem_validate(MEM_HEAP_FRAME), -1);
  EXPECT_EQ(mem_dumpheap(MEM_HEAP_FRAME, "None"), -1);
}

TEST_F(StandardHeaps, AnswerToTheirOwnIdOnly) {
  mem_alloc_pools();
  for (const int id : {-1, 0, 5}) {
    SCOPED_TRACE(id);
    EXPECT_EQ(mem_getheap(static_cast<MEM_HEAP_ID>(id)), nullptr);
    EXPECT_EQ(mem_heapsize(static_cast<MEM_HEAP_ID>(id)), 0u);
    EXPECT_EQ(mem_heapbase(static_cast<MEM_HEAP_ID>(id)), nullptr);
    EXPECT_EQ(mem_clearall(static_cast<MEM_HEAP_ID>(id)), -1);
    EXPECT_EQ(mem_validate(static_cast<MEM_HEAP_ID>(id)), -1);
    EXPECT_EQ(mem_dumpheap(static_cast<MEM_HEAP_ID>(id), "None"), -1);
  }
  const LogCapture log(3);

  EXPECT_EQ(mem_heapbase(MEM_HEAP_AUDIO), mem_getheap(MEM_HEAP_AUDIO)->base);
  EXPECT_EQ(mem_clearall(MEM_HEAP_AUDIO), 0);
  EXPECT_EQ(mem_validate(MEM_HEAP_AUDIO), 0);
  EXPECT_EQ(mem_dumpheap(MEM_HEAP_AUDIO, "Now"), 0);

  EXPECT_EQ(log.lines()[0], "DEBUG: HEAP 'Audio' - Now:");
}

// --- Buffers ---

class HeapBuffers : public StandardHeaps {
 protected:
  void SetUp() override {
    StandardHeaps::SetUp();
    mem_alloc_pools();
  }

  // Leaves no room that could be made in a heap.
  void fill(MEM_HEAP_ID id) {
    void*& all = filling_[id];
    const _mheap* heap = mem_getheap(id);
    ASSERT_NE(mem_alloc_locked_buffer(
                  &all, heap->total_size - 2 * heap->header_size - heap->alignment, id),
              nullptr);
  }

  static bool lies_in(MEM_HEAP_ID id, const void* data) {
    const auto* base = static_cast<const char*>(mem_heapbase(id));
    return data > base && data < base + mem_heapsize(id);
  }

 private:
  void* filling_[5] = {};
};

TEST_F(HeapBuffers, OfAnySizeGoWhereTheyFit) {
  void* small = nullptr;
  void* large = nullptr;

  EXPECT_EQ(mem_alloc_locked_buffer(&small, 100000, MEM_HEAP_ANY), small);
  EXPECT_EQ(mem_alloc_locked_buffer(&large, 300000, MEM_HEAP_ANY), large);

  EXPECT_TRUE(lies_in(MEM_HEAP_PROXY, small));
  EXPECT_TRUE(lies_in(MEM_HEAP_FRAME, large));
}

TEST_F(HeapBuffers, Of256KibAreLarge) {
  void* below = nullptr;
  void* exactly = nullptr;

  mem_alloc_locked_buffer(&below, 0x40000 - 1, MEM_HEAP_ANY);
  mem_alloc_locked_buffer(&exactly, 0x40000, MEM_HEAP_ANY);

  EXPECT_TRUE(lies_in(MEM_HEAP_PROXY, below));
  EXPECT_TRUE(lies_in(MEM_HEAP_FRAME, exactly));
}

TEST_F(HeapBuffers, LieInTheHeapThatWasNamed) {
  for (const MEM_HEAP_ID id : {MEM_HEAP_FRAME, MEM_HEAP_PROXY, MEM_HEAP_AUDIO, MEM_HEAP_IMAGE}) {
    void* data = nullptr;

    mem_alloc_locked_buffer(&data, 1000, id);

    EXPECT_TRUE(lies_in(id, data));
    EXPECT_EQ(mem_lock_buffer(&data), 2);
    EXPECT_EQ(mem_keep_buffer(&data), 2);
    EXPECT_EQ(mem_unlock_buffer(&data), 1);
    EXPECT_EQ(mem_free_buffer(&data), -1);
    EXPECT_EQ(mem_free_locked_buffer(&data), 1);
    EXPECT_EQ(data, nullptr);
  }
}

TEST_F(HeapBuffers, FallBackToTheOtherHeapAndThenToTheSystem) {
  fill(MEM_HEAP_FRAME);
  void* first = nullptr;
  void* second = nullptr;

  mem_alloc_locked_buffer(&first, 300000, MEM_HEAP_ANY);
  EXPECT_TRUE(lies_in(MEM_HEAP_PROXY, first));
  mem_free_locked_buffer(&first);
  fill(MEM_HEAP_PROXY);
  mem_alloc_locked_buffer(&second, 300000, MEM_HEAP_ANY);

  EXPECT_TRUE(os_allocation::is_live(second));
  EXPECT_TRUE(pinned_pages().empty());
  EXPECT_EQ(mem_lock_buffer(&second), 0);
  EXPECT_EQ(mem_keep_buffer(&second), 0);
  EXPECT_EQ(mem_unlock_buffer(&second), 0);
  EXPECT_EQ(mem_free_locked_buffer(&second), 0);
  EXPECT_EQ(second, nullptr);
}

TEST_F(HeapBuffers, DoNotFallBackFromANamedHeap) {
  fill(MEM_HEAP_PROXY);
  void* data = nullptr;

  EXPECT_EQ(mem_alloc_locked_buffer(&data, 300000, MEM_HEAP_PROXY), nullptr);
}

TEST_F(HeapBuffers, ReportWhenEvenTheSystemHasNone) {
  fill(MEM_HEAP_FRAME);
  fill(MEM_HEAP_PROXY);
  machine_->largest_commit_bytes = 0;
  const LogCapture log(1);
  void* data = nullptr;

  EXPECT_EQ(mem_alloc_locked_buffer(&data, 1536, MEM_HEAP_ANY), nullptr);

  const Lines lines = log.lines();
  EXPECT_EQ(lines.back(), "WARN : MEMORY: Heap allocation failed.. (Requested: 1.500)");
  EXPECT_EQ(lines[lines.size() - 2],
            "WARN : MEMORY: OS allocation failed, Requested: 1.500 - error 8");
}

TEST_F(HeapBuffers, OfAnUnknownHeapAreRefused) {
  void* data = nullptr;

  EXPECT_EQ(mem_alloc_locked_buffer(&data, 100, static_cast<MEM_HEAP_ID>(5)), nullptr);
  EXPECT_EQ(mem_alloc_locked_buffer(&data, 100, static_cast<MEM_HEAP_ID>(-1)), nullptr);
}

TEST_F(HeapBuffers, ThatAreNoneAreNoted) {
  const LogCapture log(3);
  auto* nowhere = reinterpret_cast<void*>(std::uintptr_t{0x1234abcd});

  EXPECT_EQ(mem_lock_buffer(&nowhere), -1);
  EXPECT_EQ(mem_keep_buffer(&nowhere), -1);
  EXPECT_EQ(mem_unlock_buffer(&nowhere), -1);
  EXPECT_EQ(mem_free_locked_buffer(&nowhere), -1);

  EXPECT_EQ(log.lines(), (Lines{"DEBUG: MEMORY: Lock memory, bad reference: 1234abcd",
                                "DEBUG: MEMORY: Keep memory, bad reference: 1234abcd",
                                "DEBUG: MEMORY: Unlock memory, bad reference: 1234abcd",
                                "DEBUG: MEMORY: OS bad memory reference passed: 1234abcd"}));
}

TEST_F(HeapBuffers, ThatWereDiscardedAreNoted) {
  const LogCapture log(3);
  void* data = nullptr;
  mem_alloc_locked_buffer(&data, 1000, MEM_HEAP_FRAME);
  mem_unlock_buffer(&data);
  mem_clearall(MEM_HEAP_FRAME);

  EXPECT_EQ(mem_lock_buffer(&data), -1);

  EXPECT_EQ(log.lines(), Lines{"DEBUG: MEMORY: Lock memory, bad reference: 0"});
}

TEST_F(HeapBuffers, WithoutAHandleNeedNoLockAndCannotBeFreed) {
  EXPECT_EQ(mem_lock_buffer(nullptr), 0);
  EXPECT_EQ(mem_keep_buffer(nullptr), 0);
  EXPECT_EQ(mem_unlock_buffer(nullptr), 0);
  EXPECT_EQ(mem_free_buffer(nullptr), -1);
  EXPECT_EQ(mem_free_locked_buffer(nullptr), -1);
  void* null = nullptr;
  EXPECT_EQ(mem_free_buffer(&null), -1);
  EXPECT_EQ(mem_free_locked_buffer(&null), -1);
}

TEST_F(HeapBuffers, KeepFreeingUnknownAddressesWithSuccess) {
  const LogCapture log(3);
  auto* nowhere = reinterpret_cast<void*>(std::uintptr_t{0x1234abcd});

  EXPECT_EQ(mem_free_buffer(&nowhere), 0);

  EXPECT_EQ(nowhere, nullptr);
  EXPECT_EQ(log.lines(), Lines{"DEBUG: MEMORY: OS bad memory reference passed: 1234abcd"});
}

TEST_F(HeapBuffers, FreedFromTheSystemAreGone) {
  void* data = os_alloc(4096, 0);

  EXPECT_EQ(mem_free_buffer(&data), 0);

  EXPECT_EQ(data, nullptr);
}

int discards = 0;

void count_discard(void* /*data*/) {
  ++discards;
}

TEST_F(HeapBuffers, KeepDiscardCallbacksToTheFrameHeap) {
  discards = 0;
  void* frame = nullptr;
  void* proxy = nullptr;
  mem_alloc_locked_buffer(&frame, 1000, MEM_HEAP_FRAME);
  mem_alloc_locked_buffer(&proxy, 1000, MEM_HEAP_PROXY);

  mem_set_discard_callback(frame, count_discard);
  mem_set_discard_callback(proxy, count_discard);
  mem_free_locked_buffer(&frame);
  mem_free_locked_buffer(&proxy);

  EXPECT_EQ(discards, 1);
}

// All heaps but the Proxy heap have their mutexes held by this thread, as while they run a discard
// callback.
class BusyHeaps {
 public:
  BusyHeaps() {
    for (const MEM_HEAP_ID id : kBusy) {
      mp_get_mutex(mem_getheap(id)->mutex);
    }
  }
  ~BusyHeaps() { let_go(); }
  BusyHeaps(const BusyHeaps&) = delete;
  BusyHeaps& operator=(const BusyHeaps&) = delete;

  /// False when `work` on another thread has not ended in time: it waits for one of the heaps.
  template <typename Work>
  [[nodiscard]] bool let_through(Work work) {
    constexpr std::chrono::seconds kDeadline{10};  // Only for work that hangs.
    std::future<void> done = std::async(std::launch::async, work);
    const bool is_through = done.wait_for(kDeadline) == std::future_status::ready;
    let_go();
    return is_through;
  }

 private:
  static constexpr MEM_HEAP_ID kBusy[] = {MEM_HEAP_FRAME, MEM_HEAP_AUDIO, MEM_HEAP_IMAGE};

  void let_go() {
    for (const MEM_HEAP_ID id : kBusy) {
      if (is_held_) {
        mp_release_mutex(mem_getheap(id)->mutex);
      }
    }
    is_held_ = false;
  }

  bool is_held_ = true;
};

TEST_F(HeapBuffers, OfOneHeapDoNotWaitForAnother) {
  void* proxy = nullptr;
  ASSERT_NE(mem_alloc_locked_buffer(&proxy, 1000, MEM_HEAP_PROXY), nullptr);
  BusyHeaps others;

  const bool is_through = others.let_through([&] {
    EXPECT_EQ(mem_lock_buffer(&proxy), 2);
    EXPECT_EQ(mem_keep_buffer(&proxy), 2);
    EXPECT_EQ(mem_unlock_buffer(&proxy), 1);
    EXPECT_EQ(mem_unlock_buffer(&proxy), 0);
    EXPECT_EQ(mem_free_buffer(&proxy), 1);
  });

  EXPECT_TRUE(is_through);
}

TEST_F(HeapBuffers, FromTheSystemWaitForNoHeap) {
  void* pages = os_alloc(4096, 0);
  BusyHeaps others;

  const bool is_through = others.let_through([&] {
    EXPECT_EQ(mem_lock_buffer(&pages), 0);
    EXPECT_EQ(mem_free_locked_buffer(&pages), 0);
  });

  EXPECT_TRUE(is_through);
}

TEST_F(HeapBuffers, AreServedBesideAHeapThatFailedValidation) {
  void* frame = nullptr;
  void* audio = nullptr;
  mem_alloc_locked_buffer(&frame, 1000, MEM_HEAP_FRAME);
  mem_alloc_locked_buffer(&audio, 1000, MEM_HEAP_AUDIO);
  mheap_mblk* damaged = mem_getheap(MEM_HEAP_FRAME)->first_block;
  const std::uint64_t size = std::exchange(damaged->size, 0);
  ASSERT_EQ(mem_validate(MEM_HEAP_FRAME), -1);  // Its mutex is this thread's now.

  std::future<int> freed =
      std::async(std::launch::async, [&] { return mem_free_locked_buffer(&audio); });
  const bool is_through = freed.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
  damaged->size = size;
  mp_release_mutex(mem_getheap(MEM_HEAP_FRAME)->mutex);

  EXPECT_TRUE(is_through);
  EXPECT_EQ(freed.get(), 1);
}

TEST_F(HeapBuffers, AreFoundInAHeapThatHasGrownOnce) {
  void* buffer = nullptr;
  ASSERT_NE(mem_alloc_locked_buffer(&buffer, 1000, MEM_HEAP_IMAGE), nullptr);
  const void* before = buffer;

  EXPECT_EQ(mheap_resize(mem_getheap(MEM_HEAP_IMAGE), 40 * kMib, 0), 40 * kMib);

  EXPECT_NE(buffer, before);
  EXPECT_EQ(mem_lock_buffer(&buffer), 2);
}

// Holding the heap's mutex, this thread is quicker than one that has its new region already.
TEST_F(HeapBuffers, StayWhereTheQuickerOfTwoGrowthsHasBroughtThem) {
  _mheap* heap = mem_getheap(MEM_HEAP_IMAGE);
  for (const std::uint64_t mib : {40u, 48u}) {
    SCOPED_TRACE(mib);
    mp_get_mutex(heap->mutex);
    const std::size_t regions = test::count_regions_taken();
    std::future<std::uint64_t> slower =
        std::async(std::launch::async, [&] { return mheap_resize(heap, mib * kMib, 0); });
    while (test::count_regions_taken() == regions) {
      ASSERT_NE(slower.wait_for(std::chrono::seconds(0)), std::future_status::ready);
      std::this_thread::yield();
    }

    EXPECT_EQ(mheap_resize(heap, mib * kMib, 0), mib * kMib);
    const void* base = heap->base;
    mp_release_mutex(heap->mutex);

    EXPECT_EQ(slower.get(), ~std::uint64_t{0});
    EXPECT_EQ(heap->base, base);
    EXPECT_EQ(test::count_regions_taken(), regions);
  }
}

// A larger region takes the place of the old one while the heap's owner is looked for.
TEST_F(HeapBuffers, AreFoundWhileTheirHeapGrows) {
  constexpr int kThreads = 4;
  void* buffers[kThreads] = {};
  for (void*& buffer : buffers) {
    ASSERT_NE(mem_alloc_locked_buffer(&buffer, 1000, MEM_HEAP_IMAGE), nullptr);
  }
  test::Latch gate(kThreads + 1);
  std::atomic<bool> is_growing = true;
  std::atomic<int> lost = 0;
  std::vector<std::thread> threads;
  for (void*& buffer : buffers) {
    threads.emplace_back([&] {
      gate.arrive_and_wait();
      while (is_growing) {
        lost += mem_lock_buffer(&buffer) == 2 ? 0 : 1;
        lost += mem_unlock_buffer(&buffer) == 1 ? 0 : 1;
      }
    });
  }
  gate.arrive_and_wait();

  for (std::uint64_t mib = 33; mib <= 48; ++mib) {
    EXPECT_EQ(mheap_resize(mem_getheap(MEM_HEAP_IMAGE), mib * kMib, 0), mib * kMib);
  }
  is_growing = false;
  for (std::thread& thread : threads) {
    thread.join();
  }

  EXPECT_EQ(lost, 0);
}

// Every thread locks and unlocks its own buffers while the others' allocations move and discard them.
TEST_F(HeapBuffers, AreFoundWhileOthersMoveThem) {
  constexpr int kThreads = 8;
  test::Latch gate(kThreads);
  std::atomic<int> broken = 0;
  std::vector<std::thread> threads;
  for (int number = 0; number < kThreads; ++number) {
    threads.emplace_back([&, number] {
      std::mt19937 random(static_cast<unsigned>(number));
      void* buffers[4] = {};
      gate.arrive_and_wait();
      for (int round = 0; round < 300; ++round) {
        void*& buffer = buffers[random() % 4];
        if (mem_lock_buffer(&buffer) > 0) {
          broken += *static_cast<int*>(buffer) == number ? 0 : 1;
        } else if (mem_alloc_locked_buffer(&buffer, (random() % 3 + 1) * kMib, MEM_HEAP_IMAGE) !=
                   nullptr) {
          *static_cast<int*>(buffer) = number;
        } else {
          ++broken;
          continue;
        }
        mem_unlock_buffer(&buffer);
      }
      for (void*& buffer : buffers) {
        mem_free_buffer(&buffer);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }

  EXPECT_EQ(broken, 0);
}

}  // namespace
}  // namespace orsin
