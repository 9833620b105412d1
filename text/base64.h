// Decoding one span of base64, and how a text is cut into spans.
#pragma once

#include <cstddef>

namespace orsin {

struct Base64Kernel;

/// Decodes up to the first "=" or `source_size` characters; returns the bytes written.
std::size_t decode_base64_span(const char* source, std::size_t source_size, unsigned char* target,
                               std::size_t target_size);

/// The same with vector instructions of the caller's choice, or without (null).
std::size_t decode_base64_span(const Base64Kernel* kernel, const char* source,
                               std::size_t source_size, unsigned char* target,
                               std::size_t target_size);

/// The same one group after the other, on any processor.
std::size_t decode_base64_span_plain(const char* source, std::size_t source_size,
                                     unsigned char* target, std::size_t target_size);

/// The part of source and target that one of several workers decodes. Spans start on a group of
/// four characters, so that they join.
struct Base64Span {
  std::size_t source_begin;
  std::size_t source_end;
  std::size_t target_begin;
  std::size_t target_end;
};
[[nodiscard]] Base64Span base64_span(std::size_t part, std::size_t part_count,
                                     std::size_t source_size, std::size_t target_size);

/// The bytes that a text decodes to, from its length without trailing "=".
[[nodiscard]] std::size_t base64_decoded_size(const char* source, std::size_t source_size);

}  // namespace orsin
