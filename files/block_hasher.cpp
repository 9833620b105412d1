// MD5 of a stream of blocks; see block_hasher.h.
#include "files/block_hasher.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace orsin {
namespace {

// Below this, starting a thread costs more than it saves.
constexpr unsigned long long kHelperBytesMin = 0x400000;
constexpr unsigned int kNoThread = 0xFFFFFFFF;
constexpr unsigned int kForever = 0xFFFFFFFF;

}  // namespace

BlockHasher::BlockHasher(md5_state_s& md5, unsigned long long expected_bytes) : md5_(md5) {
  ov_md5_init(&md5_);
  if (expected_bytes >= kHelperBytesMin && !start_helper()) {
    release();
  }
}

BlockHasher::~BlockHasher() {
  stop_helper();
}

bool BlockHasher::start_helper() {
  mutex_ = mp_new_mutex(0, 0);
  changed_ = mp_new_cond_block();
  pieces_ = static_cast<unsigned char*>(std::malloc(std::size_t{kPieces} * kPieceBytes));
  if (mutex_ == nullptr || changed_ == nullptr || pieces_ == nullptr) {
    return false;
  }
  thread_ = mp_start_thread("MD5", run_helper, this);
  return thread_ != kNoThread;
}

void BlockHasher::release() {
  std::free(pieces_);
  mp_delete_cond_block(changed_);
  mp_delete_mutex(mutex_);
  pieces_ = nullptr;
  changed_ = nullptr;
  mutex_ = nullptr;
}

void BlockHasher::stop_helper() {
  if (!has_helper()) {
    return;
  }
  mp_get_mutex(mutex_);
  is_ending_ = true;
  mp_cond_signal(changed_);
  mp_release_mutex(mutex_);
  mp_join_thread(thread_, kForever);
  release();
}

void BlockHasher::run_helper(void* hasher) {
  static_cast<BlockHasher*>(hasher)->hash_pieces();
}

void BlockHasher::hash_pieces() {
  mp_get_mutex(mutex_);
  for (;;) {
    while (hashed_ == appended_ && !is_ending_) {
      mp_cond_wait(changed_, mutex_);
    }
    if (hashed_ == appended_) {
      break;
    }
    const std::size_t piece = hashed_ % kPieces;
    mp_release_mutex(mutex_);
    ov_md5_append(&md5_, pieces_ + piece * kPieceBytes, static_cast<int>(lengths_[piece]));
    mp_get_mutex(mutex_);
    ++hashed_;
    mp_cond_signal(changed_);
  }
  mp_release_mutex(mutex_);
}

void BlockHasher::wait_for_room() {
  mp_get_mutex(mutex_);
  while (appended_ - hashed_ == kPieces) {
    mp_cond_wait(changed_, mutex_);
  }
  mp_release_mutex(mutex_);
}

void BlockHasher::hand_over(std::uint32_t length) {
  mp_get_mutex(mutex_);
  lengths_[appended_ % kPieces] = length;
  ++appended_;
  mp_cond_signal(changed_);
  mp_release_mutex(mutex_);
}

void BlockHasher::append(const unsigned char* data, unsigned long long length) {
  while (length > 0) {
    const auto piece =
        static_cast<std::uint32_t>(std::min<unsigned long long>(length, kPieceBytes));
    if (has_helper()) {
      wait_for_room();
      std::memcpy(pieces_ + (appended_ % kPieces) * kPieceBytes, data, piece);
      hand_over(piece);
    } else {
      ov_md5_append(&md5_, data, static_cast<int>(piece));
    }
    data += piece;
    length -= piece;
  }
}

void BlockHasher::finish() {
  stop_helper();
  unsigned char digest[16];
  ov_md5_finish(&md5_, digest);
}

}  // namespace orsin
