// Reserves, commits and grows the memory of an answer; see the header.
#include "net/response_body.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "base/rounding.h"
#include "memory/pages_port.h"

namespace orsin {
namespace {

// In front of the text, so that the text's address is all that an owner has to keep.
struct Header {
  std::uint64_t reserved_bytes;
  std::uint64_t committed_bytes;
};

constexpr std::uint64_t kHeaderBytes = 64;  // A cache line: the text begins on the next one.
static_assert(sizeof(Header) <= kHeaderBytes);

// The NUL behind a full chunk needs a byte of its own.
constexpr std::uint64_t kRoomBytes = ResponseBody::kChunkBytes + 1;

// What is committed at a time: little for small answers, which are many; few calls for large ones.
constexpr std::uint64_t kSmallStepBytes = std::uint64_t{64} << 10;
constexpr std::uint64_t kLargeStepBytes = std::uint64_t{1} << 20;

constexpr std::uint64_t kReservationGrowth = 64;

char* region_of(char* text) {
  return text - kHeaderBytes;
}

Header* header_of(char* text) {
  return reinterpret_cast<Header*>(region_of(text));
}

// Bytes to commit for a text of this size and its room.
std::uint64_t bytes_to_commit(std::uint64_t size) {
  const std::uint64_t needed = kHeaderBytes + size + kRoomBytes;
  const std::uint64_t step = needed <= kLargeStepBytes ? kSmallStepBytes : kLargeStepBytes;
  return rounded_up(needed, step);
}

}  // namespace

ResponseBody::ResponseBody(char* earlier, std::uint64_t reserved_bytes) : text_(earlier) {
  if (text_ == nullptr) {
    reserve(reserved_bytes);
  }
  if (text_ != nullptr) {
    text_[0] = '\0';
  }
}

ResponseBody::~ResponseBody() {
  free(text_);
}

bool ResponseBody::add(std::uint32_t bytes) {
  size_ += bytes;
  text_[size_] = '\0';
  return header_of(text_)->committed_bytes >= kHeaderBytes + size_ + kRoomBytes || make_room();
}

char* ResponseBody::release() {
  Header* header = header_of(text_);
  const std::uint64_t kept = bytes_to_commit(size_);
  if (header->committed_bytes > kept) {
    port::decommit_pages(region_of(text_) + kept, header->committed_bytes - kept);
    header->committed_bytes = kept;
  }
  return std::exchange(text_, nullptr);
}

void ResponseBody::free(char* text) {
  if (text != nullptr) {
    static_cast<void>(port::release_pages(region_of(text)));  // Of a reservation: cannot fail.
  }
}

void ResponseBody::reserve(std::uint64_t reserved_bytes) {
  auto* region = static_cast<char*>(port::reserve_pages(reserved_bytes));
  const std::uint64_t committed = bytes_to_commit(0);
  if (region == nullptr) {
    return;
  }
  if (!port::commit_pages(region, committed)) {
    static_cast<void>(port::release_pages(region));
    return;
  }
  text_ = region + kHeaderBytes;
  *header_of(text_) = {reserved_bytes, committed};
}

bool ResponseBody::make_room() {
  const std::uint64_t committed = bytes_to_commit(size_);
  const std::uint64_t reserved = header_of(text_)->reserved_bytes;
  if (committed > reserved && !move(reserved * kReservationGrowth)) {
    return false;
  }
  Header* header = header_of(text_);
  char* end = region_of(text_) + header->committed_bytes;
  if (!port::commit_pages(end, committed - header->committed_bytes)) {
    free(std::exchange(text_, nullptr));
    return false;
  }
  header->committed_bytes = committed;
  return true;
}

// Each piece is given back as soon as it has been copied: no more is in use than was read.
bool ResponseBody::move(std::uint64_t reserved_bytes) {
  const std::uint64_t committed = header_of(text_)->committed_bytes;
  char* from = region_of(text_);
  auto* to = static_cast<char*>(port::reserve_pages(reserved_bytes));
  bool moved = to != nullptr;
  for (std::uint64_t done = 0; moved && done < committed; done += kLargeStepBytes) {
    const std::uint64_t piece = std::min(kLargeStepBytes, committed - done);
    moved = port::commit_pages(to + done, piece);
    if (moved) {
      std::memcpy(to + done, from + done, piece);
      port::decommit_pages(from + done, piece);
    }
  }
  static_cast<void>(port::release_pages(from));
  text_ = nullptr;
  if (!moved) {
    if (to != nullptr) {
      static_cast<void>(port::release_pages(to));
    }
    return false;
  }
  text_ = to + kHeaderBytes;
  header_of(text_)->reserved_bytes = reserved_bytes;
  return true;
}

}  // namespace orsin
