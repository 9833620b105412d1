// Texts that end where nothing can be read any more: blocks of letters are fetched at once, and never
// from a page that the text does not reach.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstring>

#include "orsincore/text.h"

namespace orsin {
namespace {

constexpr std::size_t kPage = 4096;
constexpr std::size_t kLetters = 100;

// Two pages, of which the second cannot be read. Odd: the page number of the first is.
class LastPage {
 public:
  explicit LastPage(bool is_odd)
      : pages_(static_cast<char*>(::mmap(nullptr, 3 * kPage, PROT_READ | PROT_WRITE,
                                         MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
    const bool first_is_odd = reinterpret_cast<std::uintptr_t>(pages_) / kPage % 2 != 0;
    end_ = pages_ + (first_is_odd == is_odd ? 1 : 2) * kPage;
    ::mprotect(end_, kPage, PROT_NONE);
  }
  ~LastPage() { ::munmap(pages_, 3 * kPage); }
  LastPage(const LastPage&) = delete;
  LastPage& operator=(const LastPage&) = delete;

  [[nodiscard]] char* end() const { return end_; }

 private:
  char* pages_;
  char* end_;
};

TEST(TextAtTheEndOfAPage, IsReadToItsEndAndNoFurther) {
  for (const bool is_odd : {false, true}) {
    const LastPage page(is_odd);
    for (std::size_t length = 0; length <= kLetters; ++length) {
      SCOPED_TRACE(length);
      char* text = page.end() - (length + 1);
      std::memset(text, 'a', length);
      text[length] = 0;
      unsigned short units[kLetters + 1];
      ov_utf8_to_utf16(text, units, kLetters + 1);
      ASSERT_EQ(ov_utf16_strlen(units), length);

      char* wide = page.end() - 2 * (length + 1);
      std::memcpy(wide, units, 2 * (length + 1));
      char bytes[kLetters + 1];
      ov_utf16_to_utf8(reinterpret_cast<const unsigned short*>(wide), bytes, sizeof(bytes));
      ASSERT_EQ(std::strlen(bytes), length);
    }
  }
}

}  // namespace
}  // namespace orsin
