#include "memory/streaming_copy.h"

#include <emmintrin.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace orsin {
namespace {

constexpr std::size_t kVectorBytes = sizeof(__m128i);
constexpr std::size_t kLineBytes = 64;
constexpr std::size_t kPrefetchBytes = 8 * kLineBytes;

}  // namespace

void streaming_copy(void* destination, const void* source, std::size_t count) {
  auto* to = static_cast<unsigned char*>(destination);
  const auto* from = static_cast<const unsigned char*>(source);

  const std::size_t misaligned = reinterpret_cast<std::uintptr_t>(to) % kLineBytes;
  const std::size_t head = std::min(count, (kLineBytes - misaligned) % kLineBytes);
  std::memcpy(to, from, head);
  to += head;
  from += head;
  count -= head;

  for (; count >= kLineBytes; count -= kLineBytes) {
    _mm_prefetch(reinterpret_cast<const char*>(from + kPrefetchBytes), _MM_HINT_NTA);
    const auto* line = reinterpret_cast<const __m128i*>(from);
    const __m128i a = _mm_loadu_si128(line);
    const __m128i b = _mm_loadu_si128(line + 1);
    const __m128i c = _mm_loadu_si128(line + 2);
    const __m128i d = _mm_loadu_si128(line + 3);
    auto* target = reinterpret_cast<__m128i*>(to);
    _mm_stream_si128(target, a);
    _mm_stream_si128(target + 1, b);
    _mm_stream_si128(target + 2, c);
    _mm_stream_si128(target + 3, d);
    from += 4 * kVectorBytes;
    to += 4 * kVectorBytes;
  }
  _mm_sfence();
  std::memcpy(to, from, count);
}

}  // namespace orsin
