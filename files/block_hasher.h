// MD5 of a stream of blocks, computed beside the work that reads and writes them.
//
// append() copies a block into a ring of 1 MiB pieces and returns; a thread of its own hashes them
// in order. So hashing, the slowest part of a verified copy, overlaps with the transfers, and the
// caller's block is free again at once. Short streams, and streams for which no thread or memory
// can be had, are hashed inside append(): the result is the same.
//
// One thread calls. `mutex_` guards the counters; a piece belongs to the thread that the counters
// say, so its bytes are read and written without it.
#pragma once

#include <cstdint>

#include "orsincore/text.h"
#include "orsincore/threads.h"

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

  [[nodiscard]] bool start_helper();
  void stop_helper();
  void release();
  [[nodiscard]] bool has_helper() const { return pieces_ != nullptr; }
  static void run_helper(void* hasher);
  void hash_pieces();
  void wait_for_room();
  void hand_over(std::uint32_t length);

  md5_state_s& md5_;
  unsigned char* pieces_ = nullptr;  // kPieces pieces; null without a helper.
  __mutex_str* mutex_ = nullptr;
  __cond_str* changed_ = nullptr;
  unsigned int thread_ = 0;
  std::uint32_t lengths_[kPieces] = {};
  std::uint64_t appended_ = 0;  // Pieces handed over so far.
  std::uint64_t hashed_ = 0;    // Of those, pieces done with.
  bool is_ending_ = false;
};

}  // namespace orsin
