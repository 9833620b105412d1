#include "examples/host/editor_workload.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>

#include "examples/host/heap_snapshot.h"

namespace host {
namespace {

constexpr std::uint64_t picture(std::uint64_t width, std::uint64_t height) {
  constexpr std::uint64_t kPixelBytes = 4;
  return width * height * kPixelBytes;
}

constexpr std::uint64_t sound_second(std::uint64_t channels) {
  constexpr std::uint64_t kRate = 48000;
  constexpr std::uint64_t kSampleBytes = 4;
  return kRate * channels * kSampleBytes;
}

// What an editor meets most often stands twice.
constexpr std::array<std::uint64_t, 6> kFrameFormats = {picture(1920, 1080), picture(1920, 1080),
                                                        picture(2048, 1080), picture(2048, 1556),
                                                        picture(1280, 720),  picture(3840, 2160)};
constexpr std::array<std::uint64_t, 4> kProxyFormats = {picture(320, 180), picture(320, 180),
                                                        picture(480, 270), picture(640, 360)};
constexpr std::array<std::uint64_t, 4> kSoundFormats = {sound_second(2), sound_second(2),
                                                        sound_second(6), sound_second(8)};
constexpr std::array<std::uint64_t, 5> kImageFormats = {picture(720, 576), picture(640, 480),
                                                        picture(1024, 576), picture(500, 700),
                                                        picture(1280, 720)};

std::span<const std::uint64_t> formats_of(MEM_HEAP_ID heap) {
  switch (heap) {
    case MEM_HEAP_PROXY:
      return kProxyFormats;
    case MEM_HEAP_AUDIO:
      return kSoundFormats;
    case MEM_HEAP_IMAGE:
      return kImageFormats;
    default:
      return kFrameFormats;
  }
}

constexpr std::size_t kFramesOnScreen = 3;  // One shown, two decoded ahead.
constexpr std::size_t kSecondsPlaying = 6;  // What the sound card may ask for.
constexpr std::size_t kStampBytes = sizeof(std::uint64_t);

void write_stamp(void* data, std::uint64_t size, std::uint64_t stamp) {
  auto* bytes = static_cast<unsigned char*>(data);
  std::memcpy(bytes, &stamp, kStampBytes);
  std::memcpy(bytes + size - kStampBytes, &stamp, kStampBytes);
}

}  // namespace

EditorWorkload::~EditorWorkload() {
  for (const HeldAddress& held : held_) {
    mheap_unlock_ex(held.heap, held.data);
  }
  for (Buffer& buffer : buffers_) {
    drop(buffer);
  }
}

// --- Buffers ---

std::uint64_t EditorWorkload::next_format(MEM_HEAP_ID heap) {
  const std::span<const std::uint64_t> formats = formats_of(heap);
  return formats[random_() % formats.size()];
}

EditorWorkload::Buffer* EditorWorkload::load(MEM_HEAP_ID heap, std::uint64_t size) {
  Buffer& buffer = buffers_.emplace_back();
  buffer.size = size;
  buffer.stamp = 0x0510C0DE00000000 + buffers_.size();
  buffer.heap = heap;
  if (mem_alloc_locked_buffer(&buffer.data, size, heap) == nullptr) {
    buffers_.pop_back();
    return nullptr;
  }
  buffer.locks = 1;
  write_stamp(buffer.data, size, buffer.stamp);
  return &buffer;
}

void EditorWorkload::lock(Buffer& buffer) {
  if (buffer.data != nullptr && mem_lock_buffer(&buffer.data) > 0) {
    ++buffer.locks;
    if (!is_intact(buffer)) {
      ++damaged_;
    }
  }
}

void EditorWorkload::unlock(Buffer& buffer) {
  if (buffer.locks > 0) {
    --buffer.locks;
    mem_unlock_buffer(&buffer.data);
  }
}

void EditorWorkload::drop(Buffer& buffer) {
  while (buffer.locks > 0) {
    unlock(buffer);
  }
  if (buffer.data != nullptr) {
    mem_free_buffer(&buffer.data);
  }
}

// The buffer is locked: its data stands still.
bool EditorWorkload::is_intact(const Buffer& buffer) const {
  const auto* bytes = static_cast<const unsigned char*>(buffer.data);
  return std::memcmp(bytes, &buffer.stamp, kStampBytes) == 0 &&
         std::memcmp(bytes + buffer.size - kStampBytes, &buffer.stamp, kStampBytes) == 0;
}

std::vector<EditorWorkload::Buffer*> EditorWorkload::alive_in(MEM_HEAP_ID heap) {
  std::vector<Buffer*> alive;
  for (Buffer& buffer : buffers_) {
    if (buffer.heap == heap && buffer.data != nullptr) {
      alive.push_back(&buffer);
    }
  }
  return alive;
}

void EditorWorkload::drop_some(MEM_HEAP_ID heap, unsigned int per_cent) {
  for (Buffer* buffer : alive_in(heap)) {
    if (buffer->locks == 0 && dice(100) < per_cent) {
      drop(*buffer);
    }
  }
}

void EditorWorkload::lock_some(MEM_HEAP_ID heap, std::size_t from_per_cent, std::size_t count) {
  const std::vector<Buffer*> alive = alive_in(heap);
  const std::size_t first = alive.size() * from_per_cent / 100;
  for (std::size_t i = first; i < std::min(first + count, alive.size()); ++i) {
    lock(*alive[i]);
  }
}

// A plug-in that was given no handle, only a line of the picture.
void EditorWorkload::hold_address(MEM_HEAP_ID id, std::size_t at_per_cent) {
  _mheap* heap = mem_getheap(id);
  const std::vector<Buffer*> alive = alive_in(id);
  if (alive.empty()) {
    return;
  }
  Buffer& buffer = *alive[alive.size() * at_per_cent / 100];
  lock(buffer);  // Until the plug-in has its own.
  const auto* line = static_cast<const unsigned char*>(buffer.data) + buffer.size / 2;
  if (void* data = mheap_lock_ex(heap, line); data != nullptr) {
    held_.push_back({heap, data});
  }
  unlock(buffer);
}

// --- The film ---

bool EditorWorkload::play() {
  // More than the Frame and the Proxy heap hold, less than the others do.
  const bool is_loaded = load_images(mem_heapsize(MEM_HEAP_IMAGE) / 100 * 92) &&
                         load_sound(mem_heapsize(MEM_HEAP_AUDIO) / 100 * 85) &&
                         make_proxies(mem_heapsize(MEM_HEAP_PROXY) / 100 * 105) &&
                         play_frames(mem_heapsize(MEM_HEAP_FRAME) / 100 * 150);
  if (!is_loaded) {
    return false;
  }
  drop_some(MEM_HEAP_IMAGE, 45);
  lock_some(MEM_HEAP_IMAGE, 12, 1);
  hold_address(MEM_HEAP_IMAGE, 88);
  take_stock();
  return true;
}

// Loads one buffer after the other, clip by clip; the last few stay locked.
bool EditorWorkload::load_clips(MEM_HEAP_ID heap, std::uint64_t bytes, std::size_t locked) {
  constexpr unsigned int kClipLength = 6;
  std::deque<Buffer*> in_use;
  std::uint64_t format = 0;
  unsigned int left_of_clip = 0;
  for (std::uint64_t loaded = 0; loaded < bytes; loaded += format) {
    if (left_of_clip-- == 0) {
      left_of_clip = kClipLength + dice(kClipLength);
      format = next_format(heap);
    }
    Buffer* buffer = load(heap, format);
    if (buffer == nullptr) {
      return false;
    }
    in_use.push_back(buffer);
    if (in_use.size() > locked) {
      unlock(*in_use.front());
      in_use.pop_front();
    }
  }
  return true;
}

bool EditorWorkload::play_frames(std::uint64_t bytes) {
  if (!load_clips(MEM_HEAP_FRAME, bytes, kFramesOnScreen)) {
    return false;
  }
  drop_some(MEM_HEAP_FRAME, 15);  // Cut out of the film.
  hold_address(MEM_HEAP_FRAME, 40);
  return true;
}

bool EditorWorkload::make_proxies(std::uint64_t bytes) {
  constexpr std::size_t kVisible = 40;  // On the time line.
  if (!load_clips(MEM_HEAP_PROXY, bytes, 0)) {
    return false;
  }
  for (Buffer* proxy : alive_in(MEM_HEAP_PROXY)) {
    if (dice(4) == 0) {
      mem_keep_buffer(&proxy->data);  // Scrolled past: worth more than the others.
    }
  }
  drop_some(MEM_HEAP_PROXY, 12);
  lock_some(MEM_HEAP_PROXY, 60, kVisible);
  hold_address(MEM_HEAP_PROXY, 30);
  return true;
}

bool EditorWorkload::load_sound(std::uint64_t bytes) {
  if (!load_clips(MEM_HEAP_AUDIO, bytes, 0)) {
    return false;
  }
  drop_some(MEM_HEAP_AUDIO, 20);
  lock_some(MEM_HEAP_AUDIO, 45, kSecondsPlaying);
  hold_address(MEM_HEAP_AUDIO, 75);
  return true;
}

bool EditorWorkload::load_images(std::uint64_t bytes) {
  for (std::uint64_t loaded = 0; loaded < bytes;) {
    Buffer* image = load(MEM_HEAP_IMAGE, next_format(MEM_HEAP_IMAGE));
    if (image == nullptr) {
      return false;
    }
    unlock(*image);
    loaded += image->size;
  }
  return true;
}

std::uint64_t EditorWorkload::load_panorama() {
  const HeapSnapshot images = take_snapshot(MEM_HEAP_IMAGE);
  const std::uint64_t gap = images.largest_gap();
  const std::uint64_t joined = stretch_with_most_free(images).free;
  if (joined < gap + 4 * images.granule) {
    return 0;
  }
  // Safely between the two, whatever the header takes: this heap would try for ever.
  const std::uint64_t size = gap + (joined - gap) / 4 * 3 - images.granule;
  return load(MEM_HEAP_IMAGE, size) != nullptr ? size : 0;
}

bool EditorWorkload::open_next_scene() {
  // Two thirds of the longest stretch that no lock breaks: there is room once enough has gone.
  const Stretch longest = longest_stretch(take_snapshot(MEM_HEAP_IMAGE));
  if (load(MEM_HEAP_IMAGE, (longest.free + longest.used) / 3 * 2) == nullptr) {
    return false;
  }
  const auto more_than_free = [](MEM_HEAP_ID heap) {
    const HeapSnapshot snapshot = take_snapshot(heap);
    return snapshot.total(BlockState::kFree) + snapshot.size / 5;
  };
  return load_clips(MEM_HEAP_FRAME, more_than_free(MEM_HEAP_FRAME), kFramesOnScreen) &&
         load_clips(MEM_HEAP_PROXY, more_than_free(MEM_HEAP_PROXY), 0) &&
         load_clips(MEM_HEAP_AUDIO, more_than_free(MEM_HEAP_AUDIO), kSecondsPlaying);
}

EditorWorkload::Tally EditorWorkload::take_stock() {
  Tally tally;
  for (Buffer& buffer : buffers_) {
    if (buffer.data == nullptr) {
      tally.discarded += buffer.address_seen != nullptr;
      buffer.address_seen = nullptr;
      continue;
    }
    ++tally.live;
    lock(buffer);
    tally.moved += buffer.address_seen != nullptr && buffer.address_seen != buffer.data;
    buffer.address_seen = buffer.data;
    unlock(buffer);
  }
  tally.damaged = damaged_;
  return tally;
}

}  // namespace host
