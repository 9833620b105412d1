// A ring of blocks between one thread that fills them and several that use each of them: the reader
// of a large file, its hasher, and the writers of its destinations.
//
// Every user sees all blocks in order. A block is filled again when every user is through with it,
// so the slowest sets the pace; one that leaves holds nobody back. Any party may stop the whole.
#pragma once

#include <cstddef>
#include <vector>

#include "orsincore/primitives.h"

namespace host::ingest {

struct Block {
  unsigned char* data = nullptr;
  std::size_t bytes = 0;
};

class BlockRing {
 public:
  /// @param memory  blocks.size() times block_bytes; outlives the ring.
  BlockRing(unsigned char* memory, std::size_t block_bytes, std::size_t block_count,
            std::size_t user_count);
  ~BlockRing();
  BlockRing(const BlockRing&) = delete;
  BlockRing& operator=(const BlockRing&) = delete;

  /// The block behind the last one published, as soon as nobody uses it any more; null when the ring
  /// was stopped.
  unsigned char* empty_block();

  /// The first block that was not published yet is full.
  void publish(std::size_t bytes);

  /// No block follows.
  void finish();

  /// Wakes everybody; nobody gets another block.
  void stop();
  [[nodiscard]] bool is_stopped();

  /// The next block for a user, which keeps it until its next call; false at the end.
  bool next(std::size_t user, Block& block);

  /// The user wants no more blocks.
  void leave(std::size_t user);

 private:
  [[nodiscard]] std::size_t slowest() const;

  unsigned char* memory_;
  std::size_t block_bytes_;
  std::vector<std::size_t> sizes_;

  // Guarded by the mutex. Blocks are counted from the start of the file.
  struct User {
    std::size_t used = 0;  // Blocks that it is through with.
    bool has_one = false;
    bool is_gone = false;
  };
  __mutex_str* mutex_;
  __cond_str* changed_;
  std::vector<User> users_;
  std::size_t published_ = 0;
  bool is_finished_ = false;
  bool is_stopped_ = false;
};

}  // namespace host::ingest
