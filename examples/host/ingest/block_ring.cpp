#include "examples/host/ingest/block_ring.h"

#include <algorithm>

#include "examples/host/ingest/guard.h"

namespace host::ingest {

BlockRing::BlockRing(unsigned char* memory, std::size_t block_bytes, std::size_t block_count,
                     std::size_t user_count)
    : memory_(memory),
      block_bytes_(block_bytes),
      sizes_(block_count),
      mutex_(mp_new_mutex(0, 0)),
      changed_(mp_new_cond_block()),
      users_(user_count) {}

BlockRing::~BlockRing() {
  mp_delete_cond_block(changed_);
  mp_delete_mutex(mutex_);
}

unsigned char* BlockRing::empty_block() {
  const Guard guard(mutex_);
  while (!is_stopped_ && published_ - slowest() >= sizes_.size()) {
    mp_cond_wait(changed_, mutex_);
  }
  return is_stopped_ ? nullptr : memory_ + published_ % sizes_.size() * block_bytes_;
}

void BlockRing::publish(std::size_t bytes) {
  const Guard guard(mutex_);
  sizes_[published_ % sizes_.size()] = bytes;
  ++published_;
  mp_cond_broadcast(changed_);
}

void BlockRing::finish() {
  const Guard guard(mutex_);
  is_finished_ = true;
  mp_cond_broadcast(changed_);
}

void BlockRing::stop() {
  const Guard guard(mutex_);
  is_stopped_ = true;
  mp_cond_broadcast(changed_);
}

bool BlockRing::is_stopped() {
  const Guard guard(mutex_);
  return is_stopped_;
}

bool BlockRing::next(std::size_t user, Block& block) {
  const Guard guard(mutex_);
  User& self = users_[user];
  if (self.has_one) {
    self.has_one = false;
    ++self.used;
    mp_cond_broadcast(changed_);
  }
  while (!is_stopped_ && !is_finished_ && self.used == published_) {
    mp_cond_wait(changed_, mutex_);
  }
  if (is_stopped_ || self.used == published_) {
    return false;
  }
  self.has_one = true;
  const std::size_t place = self.used % sizes_.size();
  block = {memory_ + place * block_bytes_, sizes_[place]};
  return true;
}

void BlockRing::leave(std::size_t user) {
  const Guard guard(mutex_);
  users_[user].is_gone = true;
  mp_cond_broadcast(changed_);
}

std::size_t BlockRing::slowest() const {
  std::size_t used = published_;
  for (const User& user : users_) {
    used = user.is_gone ? used : std::min(used, user.used);
  }
  return used;
}

}  // namespace host::ingest
