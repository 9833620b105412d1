#include "examples/host/ingest/hashes.h"

#include <algorithm>
#include <new>

namespace host::ingest {
namespace {

constexpr std::string_view kDigits = "0123456789abcdef";

int digit_of(char letter) {
  if (letter >= '0' && letter <= '9') {
    return letter - '0';
  }
  if (letter >= 'a' && letter <= 'f') {
    return letter - 'a' + 10;
  }
  return letter >= 'A' && letter <= 'F' ? letter - 'A' + 10 : -1;
}

bool is_hex(std::string_view text, std::size_t digits) {
  return text.size() == digits &&
         std::all_of(text.begin(), text.end(), [](char letter) { return digit_of(letter) >= 0; });
}

}  // namespace

XxhHasher::XxhHasher() : state_(ov_XXH64_createState()) {
  if (state_ == nullptr) {
    throw std::bad_alloc();
  }
  restart();
}

void XxhHasher::restart() {
  ov_XXH64_reset(state_.get(), 0);
}

void XxhHasher::add(const unsigned char* data, std::size_t size) {
  ov_XXH64_update(state_.get(), data, size);
}

std::uint64_t XxhHasher::digest() const {
  return ov_XXH64_digest(state_.get());
}

Md5Hasher::Md5Hasher() : state_() {
  restart();
}

void Md5Hasher::restart() {
  ov_md5_init(&state_);
}

void Md5Hasher::add(const unsigned char* data, std::size_t size) {
  constexpr std::size_t kPiece = 1U << 30;  // The count is an int.
  while (size > 0) {
    const std::size_t piece = std::min(size, kPiece);
    ov_md5_append(&state_, data, static_cast<int>(piece));
    data += piece;
    size -= piece;
  }
}

Md5Digest Md5Hasher::digest() const {
  md5_state_s copy = state_;
  Md5Digest result;
  ov_md5_finish(&copy, result.data());
  return result;
}

std::string hex(std::uint64_t value) {
  std::string text;
  for (int shift = 60; shift >= 0; shift -= 4) {
    text += kDigits[value >> shift & 15];
  }
  return text;
}

std::string hex(const Md5Digest& digest) {
  std::string text;
  for (const unsigned char byte : digest) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

std::optional<std::uint64_t> xxh64_of_hex(std::string_view text) {
  if (!is_hex(text, 16)) {
    return std::nullopt;
  }
  std::uint64_t value = 0;
  for (const char letter : text) {
    value = value << 4 | static_cast<std::uint64_t>(digit_of(letter));
  }
  return value;
}

std::optional<Md5Digest> md5_of_hex(std::string_view text) {
  Md5Digest digest;
  if (!is_hex(text, 2 * digest.size())) {
    return std::nullopt;
  }
  for (std::size_t i = 0; i < digest.size(); ++i) {
    digest[i] = static_cast<unsigned char>(digit_of(text[2 * i]) << 4 | digit_of(text[2 * i + 1]));
  }
  return digest;
}

}  // namespace host::ingest
