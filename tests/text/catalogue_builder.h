// Builds gettext catalogues word by word, so that tests can get one word wrong.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace orsin::test {

using Messages = std::vector<std::pair<std::string, std::string>>;

/// The parts of a small catalogue; every field may be changed before bytes() lays it out.
struct CatalogueBuilder {
  std::uint32_t magic = 0x950412DE;
  Messages messages = {{"", "Content-Type: text/plain; charset=UTF-8\nplural=(n != 1);\n"},
                       {"Open", "Otworz"}};
  std::vector<std::uint32_t> slots = {1, 0, 2};
  bool is_big_endian = false;

  /// Header, table of keys, table of translations, hash table, texts.
  [[nodiscard]] std::string bytes() const {
    constexpr std::uint32_t kHeaderBytes = 28;
    const auto count = static_cast<std::uint32_t>(messages.size());
    const std::uint32_t translations = kHeaderBytes + 8 * count;
    const std::uint32_t hash = translations + 8 * count;
    std::uint32_t text = hash + 4 * static_cast<std::uint32_t>(slots.size());

    std::string file;
    for (const std::uint32_t word : {magic, 0u, count, kHeaderBytes, translations,
                                     static_cast<std::uint32_t>(slots.size()), hash}) {
      add_word(file, word);
    }
    std::string texts;
    for (const bool is_key : {true, false}) {
      for (const auto& [key, translation] : messages) {
        const std::string& s = is_key ? key : translation;
        add_word(file, static_cast<std::uint32_t>(s.size()));
        add_word(file, text);
        text += static_cast<std::uint32_t>(s.size()) + 1;
        texts.append(s).push_back('\0');
      }
    }
    for (const std::uint32_t slot : slots) {
      add_word(file, slot);
    }
    return file + texts;
  }

  /// Replaces the 32-bit word at an offset of a finished file.
  static std::string with_word(std::string file, std::size_t offset, std::uint32_t value) {
    std::string word;
    CatalogueBuilder().add_word(word, value);
    return file.replace(offset, word.size(), word);
  }

 private:
  void add_word(std::string& file, std::uint32_t word) const {
    for (unsigned i = 0; i < 4; ++i) {
      const unsigned shift = 8 * (is_big_endian ? 3 - i : i);
      file.push_back(static_cast<char>(word >> shift & 0xFF));
    }
  }
};

}  // namespace orsin::test
