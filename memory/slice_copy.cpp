// A plain copy reads each line of the destination into the cache before it overwrites it, and
// writes it back later: three passes over memory for two. Non-temporal stores fill whole lines in
// the write-combining buffers and skip that read. They only pay where the data would not have
// stayed in the cache anyway.
#include "memory/slice_copy.h"

#include <emmintrin.h>

#include <cstdint>
#include <cstring>

namespace orsin {
namespace {

constexpr std::size_t kStreamBytesMin = std::size_t{4} << 20;  // More than a core keeps cached.
constexpr std::size_t kLineBytes = 64;
constexpr std::size_t kAheadBytes = 512;  // How far reading runs ahead: about a trip to memory.

// The destination lies at a multiple of a line; SSE2 is part of every 64-bit processor.
void stream_lines(unsigned char* destination, const unsigned char* source, std::size_t lines) {
  for (; lines != 0; --lines) {
    const auto* from = reinterpret_cast<const __m128i*>(source);
    auto* to = reinterpret_cast<__m128i*>(destination);
    // Past the end this asks for nothing that hurts: a prefetch never faults.
    _mm_prefetch(reinterpret_cast<const char*>(source + kAheadBytes), _MM_HINT_NTA);
    const __m128i a = _mm_loadu_si128(from);
    const __m128i b = _mm_loadu_si128(from + 1);
    const __m128i c = _mm_loadu_si128(from + 2);
    const __m128i d = _mm_loadu_si128(from + 3);
    _mm_stream_si128(to, a);
    _mm_stream_si128(to + 1, b);
    _mm_stream_si128(to + 2, c);
    _mm_stream_si128(to + 3, d);
    source += kLineBytes;
    destination += kLineBytes;
  }
  _mm_sfence();  // Streamed stores are ordered with nothing else; the reader comes after us.
}

void copy_cached(void* destination, const void* source, std::size_t count) {
  if (count != 0) {  // The addresses may be null otherwise.
    std::memcpy(destination, source, count);
  }
}

}  // namespace

void copy_past_caches(void* destination, const void* source, std::size_t count) {
  if (count < kLineBytes) {
    copy_cached(destination, source, count);
    return;
  }
  auto* to = static_cast<unsigned char*>(destination);
  const auto* from = static_cast<const unsigned char*>(source);
  const std::size_t head = (0 - reinterpret_cast<std::uintptr_t>(to)) % kLineBytes;
  std::memcpy(to, from, head);

  const std::size_t lines = (count - head) / kLineBytes;
  stream_lines(to + head, from + head, lines);

  const std::size_t done = head + lines * kLineBytes;
  std::memcpy(to + done, from + done, count - done);
}

void copy_slice(void* destination, const void* source, std::size_t count) {
  if (count >= kStreamBytesMin) {
    copy_past_caches(destination, source, count);
  } else {
    copy_cached(destination, source, count);
  }
}

}  // namespace orsin
