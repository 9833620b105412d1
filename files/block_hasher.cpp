// MD5 of a stream of blocks; see block_hasher.h.
#include "files/block_hasher.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace orsin {
namespace {

// Below this, starting a thread costs more than it saves.
constexpr unsigned long long kHelperBytesMin = 0x400000;

}  // namespace

BlockHasher::BlockHasher(md5_state_s& md5, unsigned long long expected_bytes)
    : md5_(md5), line_(this, hash_piece, kPieces) {
  ov_md5_init(&md5_);
  if (expected_bytes < kHelperBytesMin) {
    return;
  }
  pieces_ = static_cast<unsigned char*>(std::malloc(std::size_t{kPieces} * kPieceBytes));
  if (pieces_ != nullptr && !line_.start("MD5")) {
    std::free(pieces_);
    pieces_ = nullptr;
  }
}

BlockHasher::~BlockHasher() {
  line_.stop();
  std::free(pieces_);
}

void BlockHasher::hash_piece(void* hasher, std::uint64_t number) {
  const auto& self = *static_cast<BlockHasher*>(hasher);
  const std::size_t piece = number % kPieces;
  ov_md5_append(&self.md5_, self.pieces_ + piece * kPieceBytes,
                static_cast<int>(self.lengths_[piece]));
}

void BlockHasher::hand_over(const unsigned char* data, std::uint32_t length) {
  line_.wait_for_room();
  const std::size_t piece = line_.next() % kPieces;
  std::memcpy(pieces_ + piece * kPieceBytes, data, length);
  lengths_[piece] = length;
  line_.add();
}

void BlockHasher::append(const unsigned char* data, unsigned long long length) {
  while (length > 0) {
    const auto piece =
        static_cast<std::uint32_t>(std::min<unsigned long long>(length, kPieceBytes));
    if (pieces_ != nullptr) {
      hand_over(data, piece);
    } else {
      ov_md5_append(&md5_, data, static_cast<int>(piece));
    }
    data += piece;
    length -= piece;
  }
}

void BlockHasher::finish() {
  line_.stop();
  unsigned char digest[16];
  ov_md5_finish(&md5_, digest);
}

}  // namespace orsin
