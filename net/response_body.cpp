#include "net/response_body.h"

#include <cstdlib>

namespace orsin {
namespace {

// The NUL behind a full chunk needs a byte of its own.
constexpr std::size_t kRoomBytes = ResponseBody::kChunkBytes + 1;

}  // namespace

ResponseBody::ResponseBody()
    : text_(static_cast<char*>(std::calloc(1, kRoomBytes))), capacity_(kRoomBytes) {}

ResponseBody::~ResponseBody() {
  std::free(text_);
}

bool ResponseBody::add(std::uint32_t bytes) {
  size_ += bytes;
  text_[size_] = '\0';
  return size_ + kRoomBytes <= capacity_ || resize(size_ + size_ / 2 + kRoomBytes);
}

char* ResponseBody::release() {
  if (size_ + kRoomBytes < capacity_) {
    static_cast<void>(resize(size_ + kRoomBytes));  // A failure only keeps more memory than needed.
  }
  char* text = text_;
  text_ = nullptr;
  return text;
}

bool ResponseBody::resize(std::size_t capacity) {
  auto* resized = static_cast<char*>(std::realloc(text_, capacity));
  if (resized == nullptr) {
    return false;
  }
  text_ = resized;
  capacity_ = capacity;
  return true;
}

}  // namespace orsin
