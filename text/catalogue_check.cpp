// Checks every offset and length of a catalogue before a reader trusts them; see the header.
#include "text/catalogue_check.h"

#include <cstdint>
#include <cstring>

namespace orsin {
namespace {

constexpr std::uint32_t kMagic = 0x950412DE;
constexpr std::uint32_t kMagicSwapped = 0xDE120495;
constexpr std::uint64_t kHeaderBytes = 28;
constexpr std::uint64_t kEntryBytes = 8;  // Length and offset.
constexpr std::uint64_t kSlotBytes = 4;

// Each character of the rule may cost the reader a dozen stack frames; the longest rule in use, that
// of Arabic, has 110 characters.
constexpr std::size_t kPluralRuleBytesMax = 512;

constexpr std::uint32_t swapped(std::uint32_t word) {
  return word >> 24 | (word >> 8 & 0xFF00) | (word << 8 & 0xFF0000) | word << 24;
}

class CatalogueCheck {
 public:
  explicit CatalogueCheck(std::string_view file) : file_(file) {}

  [[nodiscard]] bool is_sound() {
    if (file_.size() < kHeaderBytes) {
      return false;
    }
    const std::uint32_t magic = word(0);
    is_swapped_ = magic == kMagicSwapped;
    count_ = word(8);
    return (magic == kMagic || is_swapped_) && count_ > 0 && texts_are_sound(word(12)) &&
           texts_are_sound(word(16)) && hash_table_is_sound(word(24), word(20)) &&
           plural_rule_is_short(text(word(16)));
  }

 private:
  // The offset has been checked.
  [[nodiscard]] std::uint32_t word(std::uint64_t offset) const {
    std::uint32_t value = 0;
    std::memcpy(&value, file_.data() + offset, sizeof(value));
    return is_swapped_ ? swapped(value) : value;
  }

  [[nodiscard]] std::string_view text(std::uint64_t entry) const {
    return file_.substr(word(entry + 4), word(entry));
  }

  // 64-bit sums of 32-bit words cannot overflow.
  [[nodiscard]] bool lies_inside(std::uint64_t offset, std::uint64_t bytes) const {
    return offset + bytes <= file_.size();
  }

  [[nodiscard]] bool texts_are_sound(std::uint64_t table) const {
    if (!lies_inside(table, count_ * kEntryBytes)) {
      return false;
    }
    for (std::uint64_t entry = table; entry < table + count_ * kEntryBytes; entry += kEntryBytes) {
      const std::uint64_t length = word(entry);
      const std::uint64_t offset = word(entry + 4);
      if (!lies_inside(offset, length + 1) || file_[offset + length] != '\0') {
        return false;
      }
    }
    return true;
  }

  [[nodiscard]] bool hash_table_is_sound(std::uint64_t table, std::uint64_t size) const {
    if (size == 0) {
      return true;  // The file has none; the reader makes its own.
    }
    if (size < 3 || !lies_inside(table, size * kSlotBytes)) {
      return false;
    }
    for (std::uint64_t slot = table; slot < table + size * kSlotBytes; slot += kSlotBytes) {
      if (word(slot) > count_) {
        return false;
      }
    }
    return true;
  }

  [[nodiscard]] static bool plural_rule_is_short(std::string_view header) {
    constexpr std::string_view kKey = "plural=";
    const std::size_t key = header.find(kKey);
    if (key == std::string_view::npos) {
      return true;
    }
    const std::string_view rule = header.substr(key + kKey.size());
    return rule.substr(0, rule.find_first_of("\r\n;")).size() <= kPluralRuleBytesMax;
  }

  std::string_view file_;
  std::uint64_t count_ = 0;
  bool is_swapped_ = false;
};

}  // namespace

bool is_sound_catalogue(std::string_view file) {
  return CatalogueCheck(file).is_sound();
}

}  // namespace orsin
