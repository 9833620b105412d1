// Contents of files, written and compared without the library. "N" in the modes: a program that is
// started meanwhile must not inherit the file, or it could not be deleted while that one runs.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "tests/soak/site.h"

namespace orsin::soak {
namespace {

constexpr std::size_t kPieceBytes = 256 * 1024;

struct Closer {
  void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
};
using File = std::unique_ptr<std::FILE, Closer>;

}  // namespace

void fill_pattern(std::uint64_t number, unsigned char* data, std::size_t size) {
  std::uint64_t word = number * 0x9E3779B97F4A7C15 + 1;
  for (std::size_t done = 0; done < size; done += sizeof(word)) {
    word = word * 6364136223846793005 + 1442695040888963407;
    std::memcpy(data + done, &word, std::min(sizeof(word), size - done));
  }
}

bool write_pattern_file(const std::string& path, std::uint64_t number, std::size_t size) {
  const File file(std::fopen(path.c_str(), "wbN"));
  std::vector<unsigned char> bytes(size);
  fill_pattern(number, bytes.data(), size);
  return file != nullptr && std::fwrite(bytes.data(), 1, size, file.get()) == size &&
         std::fflush(file.get()) == 0;
}

std::string difference(const std::string& one, const std::string& other) {
  const File first(std::fopen(one.c_str(), "rbN"));
  const File second(std::fopen(other.c_str(), "rbN"));
  if (first == nullptr || second == nullptr) {
    return std::string("cannot be opened: ") + std::strerror(errno);
  }
  std::vector<unsigned char> a(kPieceBytes);
  std::vector<unsigned char> b(kPieceBytes);
  for (std::size_t place = 0;; place += kPieceBytes) {
    const std::size_t in_first = std::fread(a.data(), 1, kPieceBytes, first.get());
    const std::size_t in_second = std::fread(b.data(), 1, kPieceBytes, second.get());
    const std::size_t both = std::min(in_first, in_second);
    const auto end = a.begin() + static_cast<std::ptrdiff_t>(both);
    const auto differs = std::mismatch(a.begin(), end, b.begin()).first;
    if (differs != end || in_first != in_second) {
      return "differs at " + std::to_string(place + static_cast<std::size_t>(differs - a.begin()));
    }
    if (in_first < kPieceBytes) {
      return std::ferror(first.get()) == 0 && std::ferror(second.get()) == 0 ? ""
                                                                             : "cannot be read";
    }
  }
}

}  // namespace orsin::soak
