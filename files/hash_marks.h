// MD5's state at each mebibyte of a source, so that a copy of it can be hashed at several places at
// once.
//
// MD5 goes through a message from one end to the other, on one processor. But it can start wherever its
// state is known. A copy in which every mebibyte leads from the state that the source had before it to
// the one that the source had behind it, and the rest to the digest, has that digest, exactly as if it
// had been hashed as a whole:
//
//   source:  start ----> a ----> b ----> c --> digest
//   copy:    start ----> a?  a ----> b?  b ----> c?  c --> digest?     in any order
#pragma once

#include <cstdint>

#include "files/copy_streams.h"
#include "orsincore/text.h"

namespace orsin {

class HashMarks {
 public:
  static constexpr std::uint64_t kDistance = kCopyBlockBytes;  // A multiple of MD5's 64 bytes.

  HashMarks() = default;
  ~HashMarks();
  HashMarks(const HashMarks&) = delete;
  HashMarks& operator=(const HashMarks&) = delete;

  /// Keeps the state behind the next kDistance bytes of the source. When memory is short, there are no
  /// marks for this source.
  void add(const md5_state_s& state);

  /// Keeps the finished state of a source of so many bytes.
  void end(const md5_state_s& finished, std::uint64_t bytes);

  /// Whether match() can be asked: the source was hashed to its end, and no mark is missing.
  [[nodiscard]] bool is_complete() const { return has_ended_ && !is_lost_; }

  /// The source's size.
  [[nodiscard]] std::uint64_t bytes() const { return bytes_; }

  /// Whether bytes of a copy hash as those of the source at the same position: a whole kDistance from
  /// one of its multiples, or what is behind the last of them. False for any others. Any thread.
  [[nodiscard]] bool match(const unsigned char* data, std::uint64_t position,
                           std::uint64_t length) const;

 private:
  [[nodiscard]] md5_state_s state_at(std::uint64_t position) const;

  unsigned char* words_ = nullptr;  // The digest words of every mark, one after the other.
  std::uint64_t used_ = 0;          // Bytes.
  bool is_lost_ = false;
  bool has_ended_ = false;
  std::uint64_t bytes_ = 0;
  md5_state_s finished_ = {};
};

}  // namespace orsin
