// Base64 (RFC 4648), decoded serially or on all processors.
//
// Decoding never fails: a character outside the alphabet counts as 0, whitespace included, and what
// does not fit into the target is dropped. Groups of four characters give three bytes; the last
// group may have two or three characters.
#include "text/base64.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "orsincore/text.h"
#include "orsincore/threads.h"
#include "text/base64_blocks.h"

namespace orsin {
namespace {

// Bytes of 0x80 and above are undefined input; here they count as 0 like any other stranger.
constexpr std::array<std::uint8_t, 256> kValues = [] {
  std::array<std::uint8_t, 256> values = {};
  for (std::uint8_t i = 0; i < 64; ++i) {
    values[static_cast<unsigned char>(kBase64Alphabet[i])] = i;
  }
  return values;
}();

std::uint32_t value_of(char c) {
  return kValues[static_cast<unsigned char>(c)];
}

std::uint32_t group_of(const char* source) {
  return value_of(source[0]) << 18 | value_of(source[1]) << 12 | value_of(source[2]) << 6 |
         value_of(source[3]);
}

// Writes the first `count` bytes of a group, as many as fit; returns how many did.
std::size_t emit(std::uint32_t group, std::size_t count, unsigned char* target, std::size_t room) {
  const std::size_t written = std::min(count, room);
  for (std::size_t i = 0; i < written; ++i) {
    target[i] = static_cast<unsigned char>(group >> (16 - 8 * i));
  }
  return written;
}

void decode_part(void* source, void* source_size, void* target, void* target_size, void* /*a5*/,
                 void* /*a6*/) {
  const Base64Span span =
      base64_span(static_cast<std::size_t>(smp_id()), static_cast<std::size_t>(smp_numprocs()),
                  *static_cast<std::size_t*>(source_size), *static_cast<std::size_t*>(target_size));
  decode_base64_span(
      static_cast<const char*>(source) + span.source_begin, span.source_end - span.source_begin,
      static_cast<unsigned char*>(target) + span.target_begin, span.target_end - span.target_begin);
}

// From so many decoded bytes on the target will not fit into the caches anyway.
constexpr std::size_t kStreamedBytesMin = 4U << 20;

bool is_streamed(std::size_t count, const unsigned char* target) {
  return count >= kStreamedBytesMin / kBase64BlockBytes &&
         reinterpret_cast<std::uintptr_t>(target) % kBase64StreamAlignment == 0;
}

// Decodes groups one by one until the target is aligned for streaming, where that will pay. The
// three bytes of a group reach any alignment. Returns the groups decoded.
std::size_t align_target(const char* source, std::size_t source_size, unsigned char* target,
                         std::size_t target_size) {
  if (std::min(source_size / 4 * 3, target_size) < kStreamedBytesMin + kBase64BlockBytes) {
    return 0;
  }
  std::size_t groups = 0;
  while (reinterpret_cast<std::uintptr_t>(target + groups * 3) % kBase64StreamAlignment != 0) {
    if (std::memchr(source + groups * 4, '=', 4) != nullptr) {
      break;
    }
    emit(group_of(source + groups * 4), 3, target + groups * 3, 3);
    ++groups;
  }
  return groups;
}

}  // namespace

std::size_t decode_base64_span_plain(const char* source, std::size_t source_size,
                                     unsigned char* target, std::size_t target_size) {
  const char* end = std::find(source, source + source_size, '=');
  std::size_t written = 0;
  for (; end - source >= 4; source += 4) {
    written += emit(group_of(source), 3, target + written, target_size - written);
  }
  const auto left = static_cast<std::size_t>(end - source);
  if (left >= 2) {
    std::uint32_t group = value_of(source[0]) << 18 | value_of(source[1]) << 12;
    if (left == 3) {
      group |= value_of(source[2]) << 6;
    }
    written += emit(group, left - 1, target + written, target_size - written);
  }
  return written;
}

// Whole blocks by vector instructions. A block with a stranger in it goes through the exact loop,
// which is also where the text ends: there, or at the last block that is whole and fits.
std::size_t decode_base64_span(const Base64Kernel* kernel, const char* source,
                               std::size_t source_size, unsigned char* target,
                               std::size_t target_size) {
  const std::size_t groups =
      kernel != nullptr ? align_target(source, source_size, target, target_size) : 0;
  std::size_t read = groups * 4;
  std::size_t written = groups * 3;
  while (kernel != nullptr) {
    const std::size_t count = std::min((source_size - read) / kBase64BlockCharacters,
                                       (target_size - written) / kBase64BlockBytes);
    const std::size_t done = is_streamed(count, target + written)
                                 ? kernel->stream(source + read, count, target + written)
                                 : kernel->decode(source + read, count, target + written);
    read += done * kBase64BlockCharacters;
    written += done * kBase64BlockBytes;
    if (done == count) {
      break;
    }
    const std::size_t bytes = decode_base64_span_plain(source + read, kBase64BlockCharacters,
                                                       target + written, kBase64BlockBytes);
    written += bytes;
    if (std::memchr(source + read, '=', kBase64BlockCharacters) != nullptr) {
      return written;
    }
    read += kBase64BlockCharacters;
  }
  return written + decode_base64_span_plain(source + read, source_size - read, target + written,
                                            target_size - written);
}

std::size_t decode_base64_span(const char* source, std::size_t source_size, unsigned char* target,
                               std::size_t target_size) {
  const auto kernels = base64_kernels();
  return decode_base64_span(kernels.empty() ? nullptr : kernels.front(), source, source_size,
                            target, target_size);
}

Base64Span base64_span(std::size_t part, std::size_t part_count, std::size_t source_size,
                       std::size_t target_size) {
  if (part_count < 2) {
    return {0, source_size, 0, target_size};
  }
  const std::size_t chunk = source_size / part_count;
  const auto source_at = [&](std::size_t index) { return index * chunk / 4 * 4; };
  const auto target_at = [&](std::size_t index) {
    return std::min(index * chunk / 4 * 3, target_size);
  };
  const bool is_last = part + 1 == part_count;
  return {source_at(part), is_last ? source_size : source_at(part + 1), target_at(part),
          is_last ? target_size : target_at(part + 1)};
}

std::size_t base64_decoded_size(const char* source, std::size_t source_size) {
  while (source_size > 0 && source[source_size - 1] == '=') {
    --source_size;
  }
  const std::size_t rest = source_size % 4;
  return source_size / 4 * 3 + (rest != 0 ? rest - 1 : 0);
}

}  // namespace orsin

using namespace orsin;

std::size_t ov_base64_decode(const char* src, std::size_t src_len, void* dst,
                             std::size_t dst_size) {
  if (src == nullptr || dst == nullptr) {
    return 0;
  }
  return decode_base64_span(src, src_len, static_cast<unsigned char*>(dst), dst_size);
}

// Kept on purpose: the result says what src holds, not what was written; required.
std::size_t ov_base64_decode_mt(const char* src, std::size_t src_len, void* dst,
                                std::size_t dst_size) {
  if (src == nullptr) {
    return 0;
  }
  if (dst == nullptr) {
    return base64_decoded_size(src, src_len);
  }
  smp_exec(reinterpret_cast<void (*)()>(decode_part), const_cast<char*>(src), &src_len, dst,
           &dst_size, nullptr, nullptr);
  return base64_decoded_size(src, src_len);
}
