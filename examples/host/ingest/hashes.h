// The two hashes of a file, taken together while its bytes pass: MD5, which everybody's tools know,
// and XXH64, which costs next to nothing and is what a copy is compared by when it is read back.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "orsincore/text.h"

namespace host::ingest {

using Md5Digest = std::array<unsigned char, 16>;

struct FileHashes {
  std::uint64_t xxh64 = 0;
  Md5Digest md5 = {};

  bool operator==(const FileHashes&) const = default;
};

/// XXH64 of bytes that come piece by piece.
class XxhHasher {
 public:
  XxhHasher();
  void restart();
  void add(const unsigned char* data, std::size_t size);
  [[nodiscard]] std::uint64_t digest() const;

 private:
  struct Deleter {
    void operator()(XXH64_state_s* state) const { ov_XXH64_freeState(state); }
  };
  std::unique_ptr<XXH64_state_s, Deleter> state_;
};

/// MD5 of the same.
class Md5Hasher {
 public:
  Md5Hasher();
  void restart();
  void add(const unsigned char* data, std::size_t size);
  [[nodiscard]] Md5Digest digest() const;

 private:
  md5_state_s state_;
};

/// Lower-case hexadecimal digits, most significant first: 16 of an XXH64, 32 of an MD5.
std::string hex(std::uint64_t value);
std::string hex(const Md5Digest& digest);

/// The other way round, in either case; nothing unless all digits are there and no others.
std::optional<std::uint64_t> xxh64_of_hex(std::string_view text);
std::optional<Md5Digest> md5_of_hex(std::string_view text);

}  // namespace host::ingest
