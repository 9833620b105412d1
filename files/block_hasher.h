// MD5 beside the copying: a helper thread hashes each block while its caller goes on.
#pragma once

#include <atomic>

#include "orsincore/base.h"

struct md5_state_s;

namespace orsin {

/// Appends blocks to an MD5 context, one at a time, in order. Where no helper thread or memory is to
/// be had, it hashes on the calling thread. One caller.
class BlockHasher {
 public:
  explicit BlockHasher(md5_state_s& md5);
  ~BlockHasher();
  BlockHasher(const BlockHasher&) = delete;
  BlockHasher& operator=(const BlockHasher&) = delete;

  /// Takes a copy of the block; waits for the block before it.
  void append(const unsigned char* data, unsigned long long length);

  /// Waits until every block has been hashed. The context is the caller's again.
  void finish();

 private:
  static void run(void* self);
  void hash_blocks();
  void wait_until_idle();

  md5_state_s& md5_;
  __mutex_str* mutex_;
  __cond_str* changed_;
  unsigned char* block_ = nullptr;
  unsigned long long capacity_ = 0;
  std::atomic<unsigned long long> length_ = 0;  // Bytes to hash; 0: idle.
  std::atomic<bool> quit_ = false;
  unsigned int thread_;
};

}  // namespace orsin
