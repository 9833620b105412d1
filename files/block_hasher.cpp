#include "files/block_hasher.h"

#include <cstdlib>
#include <cstring>

#include "orsincore/text.h"
#include "orsincore/threads.h"
#include "threads/spin_wait.h"

namespace orsin {
namespace {

constexpr unsigned int kNoThread = 0xFFFFFFFF;
constexpr unsigned int kForeverMs = 0xFFFFFFFF;

}  // namespace

BlockHasher::BlockHasher(md5_state_s& md5)
    : md5_(md5), mutex_(mp_new_mutex(0, 0)), changed_(mp_new_cond_block()), thread_(kNoThread) {
  if (mutex_ != nullptr && changed_ != nullptr) {
    thread_ = mp_start_thread("CopyHash", run, this);
  }
}

BlockHasher::~BlockHasher() {
  if (thread_ != kNoThread) {
    mp_get_mutex(mutex_);
    quit_.store(true);
    mp_cond_broadcast(changed_);
    mp_release_mutex(mutex_);
    mp_join_thread(thread_, kForeverMs);
  }
  mp_delete_cond_block(changed_);
  mp_delete_mutex(mutex_);
  std::free(block_);
}

void BlockHasher::run(void* self) {
  static_cast<BlockHasher*>(self)->hash_blocks();
}

void BlockHasher::hash_blocks() {
  const auto has_work = [this] { return length_.load() != 0 || quit_.load(); };
  for (;;) {
    if (!spin_until(has_work)) {
      mp_get_mutex(mutex_);
      while (!has_work()) {
        mp_cond_wait(changed_, mutex_);
      }
      mp_release_mutex(mutex_);
    }
    const unsigned long long length = length_.load();
    if (length == 0) {
      return;
    }
    ov_md5_append(&md5_, block_, static_cast<int>(length));
    mp_get_mutex(mutex_);
    length_.store(0);
    mp_cond_broadcast(changed_);
    mp_release_mutex(mutex_);
  }
}

void BlockHasher::wait_until_idle() {
  mp_get_mutex(mutex_);
  while (length_.load() != 0) {
    mp_cond_wait(changed_, mutex_);
  }
  mp_release_mutex(mutex_);
}

void BlockHasher::append(const unsigned char* data, unsigned long long length) {
  if (thread_ != kNoThread) {
    wait_until_idle();
    if (length > capacity_) {
      std::free(block_);
      block_ = static_cast<unsigned char*>(std::malloc(length));
      capacity_ = block_ != nullptr ? length : 0;
    }
  }
  if (block_ == nullptr) {
    ov_md5_append(&md5_, data, static_cast<int>(length));
    return;
  }
  std::memcpy(block_, data, length);
  mp_get_mutex(mutex_);
  length_.store(length);
  mp_cond_broadcast(changed_);
  mp_release_mutex(mutex_);
}

void BlockHasher::finish() {
  if (thread_ != kNoThread) {
    wait_until_idle();
  }
}

}  // namespace orsin
