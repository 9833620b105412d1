// A movable-block heap that several threads want more of than it has.
//
// Whoever holds a lock has its block where it was, with what it put there; whoever holds none finds its
// block again unharmed, or learns that it is gone.
#include <array>
#include <cstring>

#include "orsincore/memory.h"
#include "tests/simulation/beside.h"
#include "tests/simulation/library_session.h"
#include "tests/simulation/scenario.h"

namespace orsin::simulation {
namespace {

constexpr std::uint64_t kHeapBytes = 64 * 1024;

struct Buffer {
  void* data = nullptr;  // The heap's handle is this variable.
  std::uint64_t bytes = 0;
  unsigned char mark = 0;
  bool is_locked = false;
};

// What one thread has in the heap.
class Owner {
 public:
  /// @param keeps_locks  Allocates while it holds locks. A heap that compacts waits without end for
  ///                     those who do.
  Owner(_mheap* heap, std::uint64_t seed, bool keeps_locks)
      : heap_(heap), choice_(seed), keeps_locks_(keeps_locks) {}

  void work() {
    const Inside library;
    for (int i = 0; i < 30; ++i) {
      Buffer& buffer = buffers_[choice_.below(buffers_.size())];
      if (buffer.is_locked) {
        expect_mark(buffer);
        unlock(buffer);
      } else if (buffer.bytes == 0 || choice_.one_in(4)) {
        free(buffer);
        allocate(buffer);
      } else {
        look(buffer);
      }
    }
    for (Buffer& buffer : buffers_) {
      if (buffer.is_locked) {
        expect_mark(buffer);
        unlock(buffer);
      }
      free(buffer);
    }
  }

  [[nodiscard]] int refused() const { return refused_; }

 private:
  void allocate(Buffer& buffer) {
    // One that waits without end must find room beside the blocks that the others have locked.
    const std::uint64_t bytes = choice_.between(1, kHeapBytes / (keeps_locks_ ? 3 : 8));
    if (mheap_alloc_lock(heap_, bytes, &buffer.data) != 1) {
      ORSIN_EXPECT(buffer.data == nullptr, "a handle was set without a block");
      ++refused_;
      return;
    }
    buffer.bytes = bytes;
    fill(buffer);
    keep_or_unlock(buffer);
  }

  void look(Buffer& buffer) {
    if (mheap_lock(heap_, &buffer.data) < 0) {
      ORSIN_EXPECT(buffer.data == nullptr, "a block cannot be locked and has not gone");
      buffer.bytes = 0;
      return;
    }
    expect_mark(buffer);
    fill(buffer);
    keep_or_unlock(buffer);
  }

  void free(Buffer& buffer) {
    const int result = mheap_free(heap_, &buffer.data);
    ORSIN_EXPECT(result == 1 || result == -1, "freeing: %d", result);
    ORSIN_EXPECT(buffer.data == nullptr, "a block was freed and its handle not cleared");
    buffer.bytes = 0;
  }

  void keep_or_unlock(Buffer& buffer) {
    buffer.is_locked = true;
    if (!keeps_locks_ || choice_.one_in(2)) {
      unlock(buffer);
    }
  }

  void unlock(Buffer& buffer) {
    const int locks = mheap_unlock(heap_, &buffer.data);
    ORSIN_EXPECT(locks == 0, "%d locks were left of one", locks);
    buffer.is_locked = false;
  }

  void fill(Buffer& buffer) {
    buffer.mark = static_cast<unsigned char>(choice_.between(1, 255));
    std::memset(buffer.data, buffer.mark, buffer.bytes);
  }

  static void expect_mark(const Buffer& buffer) {
    const auto* bytes = static_cast<const unsigned char*>(buffer.data);
    for (std::uint64_t i = 0; i < buffer.bytes; ++i) {
      ORSIN_EXPECT(bytes[i] == buffer.mark, "byte %llu of a block has changed",
                   static_cast<unsigned long long>(i));
    }
  }

  _mheap* heap_;
  Random choice_;
  bool keeps_locks_;
  std::array<Buffer, 5> buffers_;
  int refused_ = 0;
};

std::uint64_t free_bytes(_mheap* heap) {
  std::uint64_t free = 0;
  std::uint64_t freeable = 0;
  mheap_queryspace(heap, free, freeable);
  return free;
}

}  // namespace

void load_heap(Pass& pass) {
  const mheap_mode mode = pass.choice.one_in(2) ? MHEAP_DISCARD : MHEAP_COMPACT;
  const int alignment = pass.choice.one_in(2) ? 16 : 512;
  const std::uint64_t seeds[] = {pass.choice.next(), pass.choice.next(), pass.choice.next()};
  LibrarySession session;
  _mheap* heap = nullptr;
  {
    const Inside library;
    heap = mheap_initialize("Simulated", kHeapBytes, alignment, mode, 0);
  }
  pass.expect_success(heap != nullptr, "heap", 0);
  if (heap == nullptr) {
    return;
  }
  const std::uint64_t free_at_first = free_bytes(heap);
  const bool keeps_locks = mode == MHEAP_DISCARD;
  std::array<Owner, 3> owners = {Owner(heap, seeds[0], keeps_locks),
                                 Owner(heap, seeds[1], keeps_locks),
                                 Owner(heap, seeds[2], keeps_locks)};
  {
    const Beside second(pass, [&owners] { owners[1].work(); });
    const Beside third(pass, [&owners] { owners[2].work(); });
    owners[0].work();
  }
  const int refused = owners[0].refused() + owners[1].refused() + owners[2].refused();
  ORSIN_EXPECT(refused == 0 || session.has_warned(), "there was no room, and no line says so");
  const Inside library;
  ORSIN_EXPECT(mheap_validate(heap) == 0, "the heap is damaged");
  ORSIN_EXPECT(free_bytes(heap) == free_at_first, "%llu bytes are free of %llu when all were freed",
               static_cast<unsigned long long>(free_bytes(heap)),
               static_cast<unsigned long long>(free_at_first));
  mheap_destroy(heap);
}

}  // namespace orsin::simulation
