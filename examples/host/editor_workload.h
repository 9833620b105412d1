// An editor at play, as far as its memory is concerned.
//
// Frames are decoded in order and locked while they are on screen, proxies are made once and kept,
// sound is loaded by the second, images are loaded and dropped. Sizes are those of real picture
// formats with four bytes a pixel, and of 48 kHz sound. The same seed plays the same film.
//
// Every buffer begins and ends with a stamp. It is written when the buffer is loaded and looked at
// each time it is locked again, wherever the heap has moved it meanwhile.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <random>
#include <vector>

#include "orsincore/memory.h"

namespace host {

class EditorWorkload {
 public:
  explicit EditorWorkload(unsigned int seed) : random_(seed) {}
  ~EditorWorkload();
  EditorWorkload(const EditorWorkload&) = delete;
  EditorWorkload& operator=(const EditorWorkload&) = delete;

  /// Plays until the four heaps are in daily use. False: a buffer could not be had.
  bool play();

  /// Loads an image that is larger than any gap in the Image heap but not than what its blocks
  /// leave free when they move together. 0: it could not be had, or no gaps are left to join.
  std::uint64_t load_panorama();

  /// Asks every heap for more than it has left: the least recently used buffers go. False: as above.
  bool open_next_scene();

  /// What has happened to the buffers since the last call. Looks at the stamps of those that are
  /// left, which counts as a use.
  struct Tally {
    std::size_t live = 0;
    std::size_t moved = 0;
    std::size_t discarded = 0;
    std::size_t damaged = 0;
  };
  Tally take_stock();

 private:
  // The heap holds on to the address of `data`, so a buffer stays where it is: in a deque.
  struct Buffer {
    void* data = nullptr;
    std::uint64_t size = 0;
    std::uint64_t stamp = 0;
    MEM_HEAP_ID heap = MEM_HEAP_ANY;
    int locks = 0;
    void* address_seen = nullptr;  // At the last stock-taking.
  };

  // What mheap_lock_ex() gave, for code that knows no handle.
  struct HeldAddress {
    _mheap* heap;
    void* data;
  };

  std::uint64_t next_format(MEM_HEAP_ID heap);
  Buffer* load(MEM_HEAP_ID heap, std::uint64_t size);
  void lock(Buffer& buffer);
  void unlock(Buffer& buffer);
  void drop(Buffer& buffer);
  bool is_intact(const Buffer& buffer) const;
  std::vector<Buffer*> alive_in(MEM_HEAP_ID heap);
  void drop_some(MEM_HEAP_ID heap, unsigned int per_cent);
  void lock_some(MEM_HEAP_ID heap, std::size_t from_per_cent, std::size_t count);
  void hold_address(MEM_HEAP_ID heap, std::size_t at_per_cent);

  bool load_clips(MEM_HEAP_ID heap, std::uint64_t bytes, std::size_t locked);
  bool play_frames(std::uint64_t bytes);
  bool make_proxies(std::uint64_t bytes);
  bool load_sound(std::uint64_t bytes);
  bool load_images(std::uint64_t bytes);

  unsigned int dice(unsigned int sides) { return static_cast<unsigned int>(random_() % sides); }

  std::mt19937 random_;
  std::deque<Buffer> buffers_;
  std::vector<HeldAddress> held_;
  std::size_t damaged_ = 0;
};

}  // namespace host
