// The bytes of a simulated file.
//
// Page by page: one that holds the same eight bytes all along costs those eight. So a run can copy
// gigabytes in milliseconds, and still every byte is compared: each page of a test's file holds a word
// of its own, and bytes that land a little off make a page of two words.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace orsin::simulation {

class Content {
 public:
  static constexpr std::uint64_t kPageBytes = 4096;

  [[nodiscard]] std::uint64_t size() const { return size_; }

  /// What is new is zero.
  void resize(std::uint64_t size);

  /// Within the size.
  void read(std::uint64_t offset, void* to, std::uint64_t bytes) const;

  /// Grows as needed.
  void write(std::uint64_t offset, const void* from, std::uint64_t bytes);

  /// The whole of it.
  [[nodiscard]] std::string text() const;

  /// So many bytes that only this name has; the last page is odd all over.
  static Content made_of(std::uint64_t name, std::uint64_t size);

  /// Whether the first so many bytes are the same. Both have as many.
  [[nodiscard]] bool begins_like(const Content& other, std::uint64_t bytes) const;
  [[nodiscard]] bool operator==(const Content& other) const;

 private:
  struct Page {
    std::uint64_t word = 0;
    std::unique_ptr<unsigned char[]> bytes;  // Null: the word, again and again.
  };

  static void read_page(const Page& page, std::uint64_t offset, unsigned char* to,
                        std::uint64_t bytes);
  static void write_page(Page& page, std::uint64_t offset, const unsigned char* from,
                         std::uint64_t bytes);
  static unsigned char* bytes_of(Page& page);

  std::uint64_t size_ = 0;
  std::vector<Page> pages_;
};

}  // namespace orsin::simulation
