// MD5's state at each mebibyte of a source; see hash_marks.h.
#include "files/hash_marks.h"

#include <cstdlib>
#include <cstring>

#include "files/growing_block.h"

namespace orsin {
namespace {

constexpr std::uint64_t kMarkBytes = sizeof(md5_state_s::abcd);

}  // namespace

HashMarks::~HashMarks() {
  std::free(words_);
}

void HashMarks::add(const md5_state_s& state) {
  unsigned char* grown = is_lost_ ? nullptr : grown_block(words_, used_, used_ + kMarkBytes);
  if (grown == nullptr) {
    is_lost_ = true;
    return;
  }
  words_ = grown;
  std::memcpy(words_ + used_, state.abcd, kMarkBytes);
  used_ += kMarkBytes;
}

void HashMarks::end(const md5_state_s& finished, std::uint64_t bytes) {
  finished_ = finished;
  bytes_ = bytes;
  has_ended_ = true;
}

md5_state_s HashMarks::state_at(std::uint64_t position) const {
  md5_state_s state;
  ov_md5_init(&state);
  if (position != 0) {
    const std::uint64_t bits = position * 8;
    state.count[0] = static_cast<unsigned int>(bits);
    state.count[1] = static_cast<unsigned int>(bits >> 32);
    std::memcpy(state.abcd, words_ + (position / kDistance - 1) * kMarkBytes, kMarkBytes);
  }
  return state;
}

bool HashMarks::match(const unsigned char* data, std::uint64_t position,
                      std::uint64_t length) const {
  const std::uint64_t end = position + length;
  const bool is_last = end == bytes_;
  const bool is_between_marks =
      position % kDistance == 0 && (length == kDistance || (is_last && length < kDistance));
  if (!is_between_marks || end > bytes_) {
    return false;
  }
  md5_state_s found = state_at(position);
  ov_md5_append(&found, data, static_cast<int>(length));
  if (is_last) {
    unsigned char digest[16];
    ov_md5_finish(&found, digest);
    return std::memcmp(found.abcd, finished_.abcd, kMarkBytes) == 0;
  }
  return std::memcmp(found.abcd, words_ + position / kDistance * kMarkBytes, kMarkBytes) == 0;
}

}  // namespace orsin
