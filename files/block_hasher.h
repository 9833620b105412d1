// MD5 of a stream of blocks, computed beside the work that reads and writes them.
//
// append() copies a block into a ring of 1 MiB pieces and returns; a thread of its own hashes them
// in order. So hashing, the slowest part of a verified copy, overlaps with the transfers, and the
// caller's block is free again at once. Short streams, and streams for which no thread or memory
// can be had, are hashed inside append(): the result is the same.
#pragma once

#include <cstdint>

#include "orsincore/text.h"
#include "threads/job_line.h"

namespace orsin {

class BlockHasher {
 public:
  /// Begins a new MD5 in `md5`, which must stay until finish() or destruction.
  ///
  /// @param expected_bytes  Decides whether a thread is worth its start.
  BlockHasher(md5_state_s& md5, unsigned long long expected_bytes);

  /// Waits until all that was appended is hashed.
  ~BlockHasher();
  BlockHasher(const BlockHasher&) = delete;
  BlockHasher& operator=(const BlockHasher&) = delete;

  void append(const unsigned char* data, unsigned long long length);

  /// Waits for the rest and leaves the digest in the context.
  void finish();

 private:
  static constexpr std::uint32_t kPieceBytes = 0x100000;
  static constexpr std::uint32_t kPieces = 8;

  static void hash_piece(void* hasher, std::uint64_t number);
  void hand_over(const unsigned char* data, std::uint32_t length);

  md5_state_s& md5_;
  unsigned char* pieces_ = nullptr;  // kPieces pieces; null when hashing inside append().
  std::uint32_t lengths_[kPieces] = {};
  JobLine line_;
};

}  // namespace orsin
