// The heap and its naive model side by side, over more than a million seeded random operations.
//
// Set ORSIN_HEAP_SEED to repeat a run.
#include <gtest/gtest.h>

#include <bit>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "memory/heap_blocks.h"
#include "memory/heap_record.h"
#include "memory/movable_heap.h"
#include "orsincore/memory.h"
#include "tests/memory/heap_fixture.h"
#include "tests/memory/heap_model.h"

namespace orsin {
namespace {

using test::HeapModel;

// 18 shapes of heap with and without their index: 1,296,000 in all.
constexpr int kOperationsEach = 36000;

enum class Search { kIndexed, kWalking };

struct Shape {
  const char* name;
  int alignment;
  std::uint64_t size;
  std::uint64_t block_max;
  int owners;
  int compare_every;  // Operations between two comparisons of the whole tiling.
};

constexpr Shape kShapes[] = {
    {"Small16", 16, 20000, 3000, 48, 1},       {"Large16", 16, 300000, 2000, 1500, 97},
    {"Small512", 512, 100000, 9000, 32, 1},    {"Large512", 512, 500000, 6000, 800, 97},
    {"Small4096", 4096, 600000, 40000, 32, 1}, {"Large4096", 4096, 2500000, 30000, 600, 97},
    {"Small8192", 8192, 600000, 60000, 40, 1}, {"Large8192", 8192, 3200000, 40000, 400, 97},
    {"Small48", 48, 20000, 3000, 48, 1},
};

unsigned chosen_seed() {
  const char* given = std::getenv("ORSIN_HEAP_SEED");
  return given != nullptr ? static_cast<unsigned>(std::stoul(given)) : 20261121U;
}

std::vector<void*> callbacks_seen;

void note_callback(void* data) {
  callbacks_seen.push_back(data);
}

// One heap, its model, and the owners with what they wrote into their blocks.
class SideBySide {
 public:
  SideBySide(const Shape& shape, mheap_mode mode, Search search, unsigned seed)
      : shape_(shape),
        random_(seed),
        heap_(mheap_initialize(shape.name, shape.size, shape.alignment, mode, 0)),
        model_(reinterpret_cast<std::uintptr_t>(heap_->base), shape.size,
               static_cast<std::uint64_t>(shape.alignment), static_cast<int>(mode), shape.owners),
        owners_(static_cast<std::size_t>(shape.owners)) {
    callbacks_seen.clear();
    if (search == Search::kWalking) {
      movable_heap::drop_index(heap_);
    }
    is_indexed_ = search == Search::kIndexed && std::has_single_bit(heap_->alignment);
  }
  ~SideBySide() { mheap_destroy(heap_); }
  SideBySide(const SideBySide&) = delete;
  SideBySide& operator=(const SideBySide&) = delete;

  void run(int operations) {
    for (int step = 0; step < operations; ++step) {
      act();
      compare_callbacks();
      compare_owners();
      if (step % shape_.compare_every == 0) {
        compare_tiling();
      }
      if (testing::Test::HasFailure()) {
        FAIL() << "operation " << step;
      }
    }
    compare_tiling();
    check_every_stamp();
    // A run that allocates, discards and moves nothing would prove nothing.
    EXPECT_GT(allocations_, operations / 40);
    EXPECT_GT(discards_, operations / 400);
    if (heap_->mode == MHEAP_COMPACT) {
      EXPECT_GT(moves_, 20);
    }
    // Nor would a run without its index, however often the heap has grown.
    EXPECT_EQ(record_of(heap_).runs.exists(), is_indexed_);
  }

 private:
  struct Owner {
    void* data = nullptr;
    void* stamped_at = nullptr;
    std::uint64_t bytes = 0;
    unsigned char stamp = 0;
  };

  unsigned pick(std::size_t count) { return static_cast<unsigned>(random_() % count); }

  void act() {
    const int number = static_cast<int>(pick(owners_.size()));
    Owner& owner = owners_[static_cast<std::size_t>(number)];
    const unsigned what = pick(1000);
    if (what < 250) {
      allocate(number, owner);
    } else if (what < 560) {
      ASSERT_EQ(mheap_unlock(heap_, &owner.data), model_.unlock(number));
    } else if (what < 650) {
      ASSERT_EQ(mheap_lock(heap_, &owner.data), model_.lock(number));
    } else if (what < 720) {
      ASSERT_EQ(mheap_keep(heap_, &owner.data), model_.keep(number));
    } else if (what < 850) {
      ASSERT_EQ(mheap_free(heap_, &owner.data), model_.free(number));
    } else if (what < 880) {
      lock_ex();
    } else if (what < 950) {
      unlock_ex();
    } else if (what < 970) {
      set_callback(owner);
    } else if (what < 995) {
      ask(owner, number);
    } else {
      act_on_the_whole_heap();
    }
  }

  void allocate(int number, Owner& owner) {
    if (owner.data != nullptr) {
      return;
    }
    // Mostly small, some of any size, a few that cannot fit.
    std::uint64_t bytes = random_() % (pick(4) == 0 ? shape_.block_max : shape_.block_max / 8) + 1;
    if (pick(500) == 0) {
      bytes = random_() % (shape_.size * 2) + 1;
    }
    const int expected = model_.allocate(number, bytes);
    if (expected == 1 && pick(2) == 0) {
      ASSERT_EQ(mheap_alloc_lock(heap_, bytes, &owner.data), expected);
    } else {
      const HeapLock lock(heap_);
      const std::uint64_t needed = heap_block_size(*heap_, bytes);
      ASSERT_EQ(movable_heap::allocate_once_locked(*heap_, needed, &owner.data), expected == 1);
    }
    if (expected == 1) {
      ++allocations_;
      stamp(owner);
    }
  }

  void lock_ex() {
    const std::uint64_t offset = random_() % (model_.total_size() + 100);
    const std::int64_t expected = model_.lock_ex(offset);
    void* data = mheap_lock_ex(heap_, heap_->base + offset);
    ASSERT_EQ(data == nullptr ? HeapModel::kNull : offset_of(data), expected);
  }

  // The data address of some block, used or free.
  std::uint64_t some_data_offset() {
    const std::uint64_t target = random_() % model_.end_offset();
    std::uint64_t offset = 0;
    for (const HeapModel::Block& block : model_.blocks()) {
      if (offset + block.size > target) {
        break;
      }
      offset += block.size;
    }
    return offset + model_.header_size();
  }

  void unlock_ex() {
    const std::uint64_t offset = some_data_offset();
    ASSERT_EQ(mheap_unlock_ex(heap_, heap_->base + offset), model_.unlock_ex(offset));
  }

  void set_callback(const Owner& owner) {
    if (owner.data != nullptr) {
      model_.set_callback(static_cast<std::uint64_t>(offset_of(owner.data)));
      ASSERT_EQ(mheap_set_discard_callback(heap_, owner.data, note_callback), 1);
    }
  }

  void ask(Owner& owner, int number) {
    std::uint64_t free = 0;
    std::uint64_t freeable = 0;
    ASSERT_EQ(mheap_queryspace(heap_, free, freeable), model_.total_size());
    ASSERT_EQ(free, model_.free_bytes());
    ASSERT_EQ(freeable, model_.freeable_bytes());
    ASSERT_EQ(mheap_is_valid(heap_, &owner.data), model_.pointer(number) != HeapModel::kNull);
  }

  void act_on_the_whole_heap() {
    const unsigned what = pick(40);
    if (what == 0 && model_.total_size() < shape_.size * 2) {
      resize();
    } else if (what == 1) {
      model_.clear_all();
      ASSERT_EQ(mheap_clearall(heap_), 0);
    } else if (what < 10) {
      model_.validate();
      ASSERT_EQ(mheap_validate(heap_), 0);
    } else if (what < 20) {
      fragment();
    }
  }

  // Leaves small gaps everywhere: the next large block needs many of them together.
  void fragment() {
    for (std::size_t i = 0; i < owners_.size(); ++i) {
      Owner& owner = owners_[i];
      const int number = static_cast<int>(i);
      while (mheap_unlock(heap_, &owner.data) > 0) {
        ASSERT_GT(model_.unlock(number), 0);
      }
      ASSERT_LE(model_.unlock(number), 0);
      if (owner.bytes < shape_.block_max / 8 && pick(3) == 0) {
        ASSERT_EQ(mheap_free(heap_, &owner.data), model_.free(number));
      }
    }
  }

  void resize() {
    const std::uint64_t size = model_.total_size() - 3 * model_.header_size() +
                               random_() % (model_.header_size() * 40 + 1);
    const bool grows = model_.can_grow_to(size);
    const std::uint64_t result = mheap_resize(heap_, size, 0);
    if (grows) {
      model_.resize(reinterpret_cast<std::uintptr_t>(heap_->base), size);
    }
    ASSERT_EQ(result, grows ? model_.total_size() : ~std::uint64_t{0});
  }

  std::int64_t offset_of(const void* address) const {
    return static_cast<const std::uint8_t*>(address) - heap_->base;
  }

  void stamp(Owner& owner) {
    const auto* header = reinterpret_cast<const mheap_mblk*>(
        static_cast<std::uint8_t*>(owner.data) - heap_->header_size);
    owner.bytes = header->size - heap_->header_size;
    owner.stamp = static_cast<unsigned char>(random_());
    owner.stamped_at = owner.data;
    std::memset(owner.data, owner.stamp, owner.bytes);
  }

  // A block of one byte repeated equals itself moved by one.
  static bool stamp_is_whole(const Owner& owner) {
    const auto* data = static_cast<const unsigned char*>(owner.data);
    return data[0] == owner.stamp && std::memcmp(data, data + 1, owner.bytes - 1) == 0;
  }

  // The assertions stand behind plain comparisons: there are millions of them.
  void compare_owners() {
    for (std::size_t i = 0; i < owners_.size(); ++i) {
      Owner& owner = owners_[i];
      const std::int64_t expected = model_.pointer(static_cast<int>(i));
      if ((owner.data == nullptr ? HeapModel::kNull : offset_of(owner.data)) != expected) {
        FAIL() << "owner " << i << " has " << owner.data << ", expected offset " << expected;
      }
      if (owner.data == nullptr && owner.stamped_at != nullptr) {
        ++discards_;
        owner.stamped_at = nullptr;
      }
      if (owner.data != owner.stamped_at) {
        ++moves_;
        ASSERT_TRUE(stamp_is_whole(owner)) << "owner " << i << " after a move";
        owner.stamped_at = owner.data;
      }
    }
  }

  void compare_callbacks() {
    ASSERT_EQ(callbacks_seen.size(), model_.callbacks.size());
    callbacks_seen.clear();
    model_.callbacks.clear();
  }

  void compare_tiling() {
    const mheap_mblk* block = heap_->first_block;
    std::size_t index = 0;
    for (const HeapModel::Block& expected : model_.blocks()) {
      if (block == heap_->end_block || !agrees(*block, expected)) {
        FAIL() << "block " << index << " at " << offset_of(block) << ": size " << block->size
               << ", state " << block->state << ", locks " << block->lock_count << "+"
               << block->lockex_count << "; expected size " << expected.size << ", "
               << (expected.is_used ? "used" : "free") << ", locks " << expected.locks << "+"
               << expected.ex_locks;
      }
      block = next_block(block);
      ++index;
    }
    ASSERT_EQ(block, heap_->end_block);
    ASSERT_TRUE(movable_heap::blocks_of(heap_).index_agrees());
  }

  bool agrees(const mheap_mblk& block, const HeapModel::Block& expected) {
    void** const owner = expected.owner == HeapModel::kNobody
                             ? nullptr
                             : &owners_[static_cast<std::size_t>(expected.owner)].data;
    return block.size == expected.size && block.state == (expected.is_used ? 1u : 0u) &&
           block.owner == owner && reinterpret_cast<std::uintptr_t>(block.data) == expected.data &&
           block.lock_count == expected.locks && block.lockex_count == expected.ex_locks &&
           (!expected.is_used || block.last_use == expected.last_use) &&
           (block.discard_callback != nullptr) == expected.has_callback &&
           block.flags == (expected.is_pending ? 1u : 0u);
  }

  void check_every_stamp() {
    for (const Owner& owner : owners_) {
      if (owner.data != nullptr) {
        ASSERT_TRUE(stamp_is_whole(owner));
      }
    }
  }

  const Shape& shape_;
  std::mt19937_64 random_;
  _mheap* heap_;
  HeapModel model_;
  std::vector<Owner> owners_;
  bool is_indexed_ = false;
  int allocations_ = 0;
  int discards_ = 0;  // And blocks that were freed.
  int moves_ = 0;
};

// By this the comparison knows that the index is right.
TEST(HeapIndexCheck, SeesWhatTheIndexSaysAndTheHeadersDoNot) {
  test::FourBlocks four;  // Of six granules each, all used.
  FreeRuns& runs = record_of(four.heap.get()).runs;
  const HeapBlocks blocks = movable_heap::blocks_of(four.heap.get());
  EXPECT_TRUE(blocks.index_agrees());

  runs.insert(2, 3);  // Where no block begins.
  EXPECT_FALSE(blocks.index_agrees());
  runs.remove(2);
  runs.insert(6, 12);  // As long as the used block there.
  EXPECT_FALSE(blocks.index_agrees());
  runs.remove(6);

  mheap_free(four.heap.get(), &four.owners[1]);
  EXPECT_TRUE(blocks.index_agrees());
  runs.mark_unjoined(6);
  EXPECT_FALSE(blocks.index_agrees());
  runs.mark_joined(6);
  runs.insert(9, 12);  // Another that ends where the free block does.
  EXPECT_FALSE(blocks.index_agrees());
  runs.remove(9);
  runs.remove(6);
  EXPECT_FALSE(blocks.index_agrees());
}

class MovableHeapModel : public testing::TestWithParam<std::tuple<Shape, mheap_mode, Search>> {};

TEST_P(MovableHeapModel, AgreesWithTheHeap) {
  const auto& [shape, mode, search] = GetParam();
  const unsigned seed = chosen_seed();
  SCOPED_TRACE(testing::Message() << "ORSIN_HEAP_SEED=" << seed);
  std::printf("ORSIN_HEAP_SEED=%u\n", seed);

  SideBySide(shape, mode, search, seed).run(kOperationsEach);
}

INSTANTIATE_TEST_SUITE_P(Shapes, MovableHeapModel,
                         testing::Combine(testing::ValuesIn(kShapes),
                                          testing::Values(MHEAP_DISCARD, MHEAP_COMPACT),
                                          testing::Values(Search::kIndexed, Search::kWalking)),
                         [](const auto& shape) {
                           const bool compacts = std::get<1>(shape.param) == MHEAP_COMPACT;
                           const bool is_indexed = std::get<2>(shape.param) == Search::kIndexed;
                           return std::string(std::get<0>(shape.param).name) +
                                  (compacts ? "Compacting" : "Discarding") +
                                  (is_indexed ? "Indexed" : "Walking");
                         });

}  // namespace
}  // namespace orsin
