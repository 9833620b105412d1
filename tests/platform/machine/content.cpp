#include "tests/platform/machine/content.h"

#include <algorithm>
#include <cstring>

#include "tests/platform/machine/random.h"

namespace orsin::simulation {
namespace {

constexpr std::uint64_t kWordBytes = sizeof(std::uint64_t);

bool is_one_word(const unsigned char* page) {
  return std::memcmp(page, page + kWordBytes, Content::kPageBytes - kWordBytes) == 0;
}

}  // namespace

void Content::resize(std::uint64_t size) {
  pages_.resize((size + kPageBytes - 1) / kPageBytes);
  if (const std::uint64_t tail = size % kPageBytes; size < size_ && tail != 0) {
    std::memset(bytes_of(pages_.back()) + tail, 0, kPageBytes - tail);
  }
  size_ = size;
}

void Content::read(std::uint64_t offset, void* to, std::uint64_t bytes) const {
  auto* out = static_cast<unsigned char*>(to);
  while (bytes > 0) {
    const std::uint64_t in_page = offset % kPageBytes;
    const std::uint64_t part = std::min(bytes, kPageBytes - in_page);
    read_page(pages_[offset / kPageBytes], in_page, out, part);
    offset += part;
    out += part;
    bytes -= part;
  }
}

void Content::write(std::uint64_t offset, const void* from, std::uint64_t bytes) {
  if (offset + bytes > size_) {
    resize(offset + bytes);
  }
  const auto* in = static_cast<const unsigned char*>(from);
  while (bytes > 0) {
    const std::uint64_t in_page = offset % kPageBytes;
    const std::uint64_t part = std::min(bytes, kPageBytes - in_page);
    write_page(pages_[offset / kPageBytes], in_page, in, part);
    offset += part;
    in += part;
    bytes -= part;
  }
}

void Content::read_page(const Page& page, std::uint64_t offset, unsigned char* to,
                        std::uint64_t bytes) {
  if (page.bytes) {
    std::memcpy(to, page.bytes.get() + offset, bytes);
    return;
  }
  unsigned char word[kWordBytes];
  std::memcpy(word, &page.word, kWordBytes);
  if (offset == 0 && bytes == kPageBytes) {
    for (std::uint64_t i = 0; i < kPageBytes; i += kWordBytes) {
      std::memcpy(to + i, word, kWordBytes);
    }
    return;
  }
  for (std::uint64_t i = 0; i < bytes; ++i) {
    to[i] = word[(offset + i) % kWordBytes];
  }
}

void Content::write_page(Page& page, std::uint64_t offset, const unsigned char* from,
                         std::uint64_t bytes) {
  if (bytes == kPageBytes && is_one_word(from)) {
    page.bytes.reset();
    std::memcpy(&page.word, from, kWordBytes);
    return;
  }
  std::memcpy(bytes_of(page) + offset, from, bytes);
}

unsigned char* Content::bytes_of(Page& page) {
  if (!page.bytes) {
    auto bytes = std::make_unique<unsigned char[]>(kPageBytes);
    read_page(page, 0, bytes.get(), kPageBytes);
    page.bytes = std::move(bytes);
  }
  return page.bytes.get();
}

std::string Content::text() const {
  std::string bytes(size_, '\0');
  read(0, bytes.data(), size_);
  return bytes;
}

Content Content::made_of(std::uint64_t name, std::uint64_t size) {
  Content content;
  content.resize(size);
  for (std::uint64_t page = 0; page < content.pages_.size(); ++page) {
    content.pages_[page].word = Random::mixed(name * 0x10001 + page + 1);
  }
  if (size % kPageBytes != 0) {
    Random random(name, size);
    unsigned char* bytes = bytes_of(content.pages_.back());
    for (std::uint64_t i = 0; i < size % kPageBytes; ++i) {
      bytes[i] = static_cast<unsigned char>(random.next());
    }
    std::memset(bytes + size % kPageBytes, 0, kPageBytes - size % kPageBytes);
  }
  return content;
}

bool Content::begins_like(const Content& other, std::uint64_t bytes) const {
  unsigned char mine[kPageBytes];
  unsigned char others[kPageBytes];
  for (std::uint64_t offset = 0; offset < bytes; offset += kPageBytes) {
    const Page& a = pages_[offset / kPageBytes];
    const Page& b = other.pages_[offset / kPageBytes];
    const std::uint64_t part = std::min(bytes - offset, kPageBytes);
    if (!a.bytes && !b.bytes) {
      if (std::memcmp(&a.word, &b.word, std::min(part, kWordBytes)) != 0) {
        return false;
      }
      continue;
    }
    read_page(a, 0, mine, part);
    read_page(b, 0, others, part);
    if (std::memcmp(mine, others, part) != 0) {
      return false;
    }
  }
  return true;
}

bool Content::operator==(const Content& other) const {
  return size_ == other.size_ && begins_like(other, size_);
}

}  // namespace orsin::simulation
