// Handles of the standard heaps: rewritten when a block moves, cleared when it is discarded.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "orsincore/memory.h"
#include "tests/assembly/running_library.h"

namespace orsin {
namespace {

constexpr std::uint64_t kMib = 1024 * 1024;

class Buffer {
 public:
  Buffer(std::uint64_t bytes, MEM_HEAP_ID heap, char content) : bytes_(bytes), content_(content) {
    if (mem_alloc_locked_buffer(&data_, bytes, heap) != nullptr) {
      std::memset(data_, content, bytes);
    }
  }
  ~Buffer() {
    if (data_ != nullptr) {
      while (mem_unlock_buffer(&data_) > 0) {
      }
      mem_free_buffer(&data_);
    }
  }
  Buffer(const Buffer&) = delete;
  Buffer& operator=(const Buffer&) = delete;

  [[nodiscard]] void** handle() { return &data_; }
  [[nodiscard]] const char* data() const { return static_cast<const char*>(data_); }
  [[nodiscard]] bool is_intact() const {
    return data_ != nullptr && data()[0] == content_ &&
           std::memcmp(data(), data() + 1, bytes_ - 1) == 0;
  }

 private:
  void* data_ = nullptr;  // Its address is the handle.
  std::uint64_t bytes_;
  char content_;
};

TEST(AssembledMemory, TheImageHeapHasTheConfiguredSize) {
  EXPECT_EQ(mem_heapsize(MEM_HEAP_IMAGE), 32 * kMib);
}

TEST(AssembledMemory, AHeapRewritesTheHandleOfABlockThatItMoves) {
  Buffer first(10 * kMib, MEM_HEAP_IMAGE, 'a');
  Buffer second(10 * kMib, MEM_HEAP_IMAGE, 'b');
  ASSERT_TRUE(first.is_intact());
  ASSERT_TRUE(second.is_intact());
  const char* before = second.data();
  ASSERT_EQ(mem_unlock_buffer(second.handle()), 0);
  ASSERT_EQ(mem_free_locked_buffer(first.handle()), 1);

  // There are 10 MiB in front of the second one and 12 behind it.
  const Buffer large(18 * kMib, MEM_HEAP_IMAGE, 'c');

  EXPECT_TRUE(large.is_intact());
  EXPECT_NE(second.data(), before);
  EXPECT_TRUE(second.is_intact());
  EXPECT_EQ(mem_lock_buffer(second.handle()), 1) << "it is found by its handle all the same";
}

TEST(AssembledMemory, AHeapClearsTheHandleOfABlockThatItDiscards) {
  Buffer old(20 * kMib, MEM_HEAP_IMAGE, 'a');
  ASSERT_EQ(mem_unlock_buffer(old.handle()), 0);

  const Buffer large(24 * kMib, MEM_HEAP_IMAGE, 'b');

  EXPECT_TRUE(large.is_intact());
  EXPECT_EQ(old.data(), nullptr);
  EXPECT_EQ(mem_lock_buffer(old.handle()), -1) << "it has to be loaded again";
}

TEST(AssembledMemory, ALockedBlockStaysWhereItIs) {
  Buffer first(6 * kMib, MEM_HEAP_IMAGE, 'a');
  const Buffer locked(6 * kMib, MEM_HEAP_IMAGE, 'b');
  const char* before = locked.data();
  ASSERT_EQ(mem_unlock_buffer(first.handle()), 0);

  const Buffer large(16 * kMib, MEM_HEAP_IMAGE, 'c');

  EXPECT_TRUE(large.is_intact());
  EXPECT_EQ(locked.data(), before);
  EXPECT_TRUE(locked.is_intact());
}

TEST(AssembledMemory, AKeptBlockOutlivesOneThatWasUsedBefore) {
  Buffer first(12 * kMib, MEM_HEAP_IMAGE, 'a');
  Buffer second(12 * kMib, MEM_HEAP_IMAGE, 'b');
  ASSERT_EQ(mem_unlock_buffer(first.handle()), 0);
  ASSERT_EQ(mem_unlock_buffer(second.handle()), 0);

  EXPECT_EQ(mem_keep_buffer(first.handle()), 0);
  const Buffer large(16 * kMib, MEM_HEAP_IMAGE, 'c');

  EXPECT_TRUE(first.is_intact());
  EXPECT_EQ(second.data(), nullptr);
}

TEST(AssembledMemory, PagesOfTheSystemPassForABuffer) {
  void* pages = os_alloc(kMib, 0);
  ASSERT_NE(pages, nullptr);

  EXPECT_EQ(mem_lock_buffer(&pages), 0);
  EXPECT_EQ(mem_keep_buffer(&pages), 0);
  EXPECT_EQ(mem_unlock_buffer(&pages), 0);
  EXPECT_EQ(mem_free_buffer(&pages), 0);

  EXPECT_EQ(pages, nullptr);
  EXPECT_EQ(mem_free_buffer(&pages), -1);
}

TEST(AssembledMemory, AHeapCanBeLookedAt) {
  const Buffer buffer(kMib, MEM_HEAP_IMAGE, 'a');
  const auto* base = static_cast<const char*>(mem_heapbase(MEM_HEAP_IMAGE));

  EXPECT_GE(buffer.data(), base);
  EXPECT_LE(buffer.data() + kMib, base + mem_heapsize(MEM_HEAP_IMAGE));
  EXPECT_EQ(mem_validate(MEM_HEAP_IMAGE), 0);
  EXPECT_EQ(mem_dumpheap(MEM_HEAP_IMAGE, "with one locked megabyte"), 0);
  EXPECT_NE(test::log_line_with("with one locked megabyte"), "");
  for (const MEM_HEAP_ID none : {MEM_HEAP_ANY, static_cast<MEM_HEAP_ID>(5)}) {
    EXPECT_EQ(mem_heapbase(none), nullptr);
    EXPECT_EQ(mem_validate(none), -1);
    EXPECT_EQ(mem_dumpheap(none, "none"), -1);
  }
}

}  // namespace
}  // namespace orsin
