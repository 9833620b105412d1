// The Frame, Proxy, Audio and Image heaps: their making, their sizes, their end.
//
// The heap pointers are written while one thread runs, by start-up and closedown, and read by all.
#include "memory/standard_heaps.h"

#include <array>
#include <cstdio>
#include <utility>

#include "base/path_buffer.h"
#include "base/settings_port.h"
#include "base/unique_file.h"
#include "memory/heap_sizes.h"
#include "memory/movable_heap.h"
#include "orsincore/log.h"
#include "orsincore/utf.h"

using namespace orsin;

namespace {

struct StandardHeaps {
  _mheap* frame = nullptr;
  _mheap* proxy = nullptr;
  _mheap* audio = nullptr;
  _mheap* image = nullptr;
  std::uint64_t total = 0;  // Of all four; not 0 once they have been made.

  // Those of mem_free_pools(). Threads that closedown has yet to end may be on their way into one.
  std::array<_mheap*, 4> retired = {};
  std::size_t retired_count = 0;
};

constinit StandardHeaps heaps;

double to_mib(std::uint64_t bytes) {
  return static_cast<double>(bytes) / 1048576;
}

int whole_mib(std::uint64_t bytes) {
  return static_cast<int>(bytes >> 20);
}

void read_configuration(HeapSizes& sizes) {
  constexpr int kLineBytes = 128;  // 127 characters; longer lines are read as several.
  char path[kPathBytes];
  if (!port::find_settings_file("memory.cfg", path)) {
    return;
  }
  const UniqueFile file(ov_utf8_fopen(path, "rN"));
  if (!file) {
    return;
  }
  msginfo("Memory config:");
  char line[kLineBytes];
  while (std::fgets(line, kLineBytes, file.get()) != nullptr) {
    msgcont("%s", line);
    apply_configuration_line(line, sizes);
  }
}

void destroy(_mheap*& heap) {
  if (heap != nullptr) {
    mheap_destroy(heap);
    heap = nullptr;
  }
}

void retire(_mheap*& heap) {
  if (heap != nullptr) {
    movable_heap::give_back_region(heap);
    heaps.retired[heaps.retired_count++] = std::exchange(heap, nullptr);
  }
}

_mheap* make_heap(const char* name, std::uint64_t size, int alignment, mheap_mode mode) {
  return mheap_initialize(name, size, alignment, mode, 0);
}

_mheap* make_heap_or_minimum(const char* name, std::uint64_t size, std::uint64_t minimum,
                             int alignment, mheap_mode mode = MHEAP_DISCARD) {
  _mheap* heap = make_heap(name, size, alignment, mode);
  return heap != nullptr ? heap : make_heap(name, minimum, alignment, mode);
}

// Halves the size until the heap can be had; the last try may lie below the minimum.
_mheap* make_frame_heap(std::uint64_t size, int alignment) {
  _mheap* heap = make_heap("Frame", size, alignment, MHEAP_DISCARD);
  std::uint64_t reduced = size;
  while (heap == nullptr && reduced > kHeapMinimum.frame) {
    reduced /= 2;
    heap = make_heap("Frame", reduced, alignment, MHEAP_DISCARD);
  }
  if (heap != nullptr && reduced != size) {
    msgwarn("** MEMORY ALLOCATION FAILED:");
    msgcont("** REDUCED Frame heap size from %dMb to %dMb", whole_mib(size), whole_mib(reduced));
  }
  return heap;
}

// All four, or none and a line that says which one was missing.
bool make_heaps(const HeapSizes& sizes) {
  constexpr int kFrameAlignmentMin = 8192;
  constexpr int kAudioAlignment = 16;
  const int page = mem_pagesize();
  int frame_alignment = page;
  while (frame_alignment < kFrameAlignmentMin) {
    frame_alignment *= 2;
  }

  heaps.proxy = make_heap_or_minimum("Proxy", sizes.proxy, kHeapMinimum.proxy, page);
  if (heaps.proxy == nullptr) {
    msgerror("FATAL: Can't create proxy heap");
    return false;
  }
  heaps.audio = make_heap_or_minimum("Audio", sizes.audio, kHeapMinimum.audio, kAudioAlignment);
  if (heaps.audio == nullptr) {
    destroy(heaps.proxy);
    msgerror("FATAL: Can't create audio heap");
    return false;
  }
  heaps.image = make_heap_or_minimum("Image", sizes.image, kHeapMinimum.image, page, MHEAP_COMPACT);
  if (heaps.image == nullptr) {
    destroy(heaps.audio);
    destroy(heaps.proxy);
    msgerror("FATAL: Can't create image heap");
    return false;
  }
  heaps.frame = make_frame_heap(sizes.frame, frame_alignment);
  if (heaps.frame == nullptr) {
    destroy(heaps.audio);
    destroy(heaps.proxy);
    destroy(heaps.image);
    msgerror("FATAL: Can't create frame heap");
    return false;
  }
  return true;
}

void report(const mem_info_str& info) {
  if (msginfo("Memory setup:") == 0) {
    return;
  }
  msgcont(" Available      : %9.3f Mb", to_mib(info.available_physical));
  if (info.largest_usable != 0) {
    msgcont(" Max block      : %9.3f Mb", to_mib(info.largest_usable));
  }
  msgcont(" Frame heap     : %9.3f Mb", to_mib(mheap_totalsize(heaps.frame)));
  msgcont(" Proxy heap     : %9.3f Mb", to_mib(mheap_totalsize(heaps.proxy)));
  msgcont(" Audio heap     : %9.3f Mb", to_mib(mheap_totalsize(heaps.audio)));
  msgcont(" Image heap     : %9.3f Mb", to_mib(mheap_totalsize(heaps.image)));
  msgcont("                  ---------");
  msgcont(" Total size     : %9.3f Mb", to_mib(heaps.total));
  msgcont("                  ---------");
}

}  // namespace

std::uint64_t mem_alloc_pools() {
  if (heaps.total != 0) {
    return heaps.total;
  }
  mem_info_str info = {};
  mem_info(&info);
  HeapSizes sizes = default_heap_sizes(info);
  read_configuration(sizes);
  raise_to_minimum(sizes);
  if (!make_heaps(sizes)) {
    return 0;
  }
  heaps.total = mheap_totalsize(heaps.frame) + mheap_totalsize(heaps.proxy) +
                mheap_totalsize(heaps.audio) + mheap_totalsize(heaps.image);
  report(info);
  return heaps.total;
}

// Kept on purpose: the total stays, so the heaps are made once in the life of a process. Required.
void mem_free_pools() {
  retire(heaps.image);
  retire(heaps.audio);
  retire(heaps.proxy);
  retire(heaps.frame);
}

_mheap* mem_getheap(MEM_HEAP_ID id) {
  switch (id) {
    case MEM_HEAP_FRAME:
      return heaps.frame;
    case MEM_HEAP_PROXY:
      return heaps.proxy;
    case MEM_HEAP_AUDIO:
      return heaps.audio;
    case MEM_HEAP_IMAGE:
      return heaps.image;
    case MEM_HEAP_ANY:
      break;
  }
  return nullptr;
}

std::uint64_t mem_heapsize(MEM_HEAP_ID id) {
  _mheap* heap = mem_getheap(id);
  return heap != nullptr ? mheap_totalsize(heap) : 0;
}

void* mem_heapbase(MEM_HEAP_ID id) {
  _mheap* heap = mem_getheap(id);
  return heap != nullptr ? mheap_heapbase(heap) : nullptr;
}

int mem_clearall(MEM_HEAP_ID id) {
  _mheap* heap = mem_getheap(id);
  return heap != nullptr ? mheap_clearall(heap) : -1;
}

int mem_validate(MEM_HEAP_ID id) {
  _mheap* heap = mem_getheap(id);
  return heap != nullptr ? mheap_validate(heap) : -1;
}

int mem_dumpheap(MEM_HEAP_ID id, const char* title) {
  _mheap* heap = mem_getheap(id);
  if (heap == nullptr) {
    return -1;
  }
  mheap_dump(heap, title);
  return 0;
}

namespace orsin::standard_heaps {

_mheap* heap_around(void** handle) {
  void* data = get_pointer(handle);
  while (data != nullptr) {
    for (_mheap* heap : {heaps.frame, heaps.proxy, heaps.audio, heaps.image}) {
      if (heap != nullptr && movable_heap::region_holds(heap, data)) {
        return heap;
      }
    }
    // A heap that has got another region meanwhile has told the handle, and one more look finds it.
    void* data_now = get_pointer(handle);
    if (data_now == data) {
      return nullptr;
    }
    data = data_now;
  }
  return nullptr;
}

void reset() {
  mem_free_pools();
  heaps.total = 0;
  while (heaps.retired_count > 0) {
    mheap_destroy(heaps.retired[--heaps.retired_count]);
  }
}

}  // namespace orsin::standard_heaps
