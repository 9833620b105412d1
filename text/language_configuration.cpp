// Reads the language out of the text of "language.cfg"; see the header.
#include "text/language_configuration.h"

#include <algorithm>

namespace orsin {
namespace {

constexpr std::size_t kLineCharacters = 255;
constexpr std::string_view kKey = "language=";

bool is_white_space(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

// Takes the next line off the text, with its line feed if that still fits.
std::string_view take_line(std::string_view& text) {
  const std::size_t feed = text.find('\n');
  const std::size_t whole = feed != std::string_view::npos ? feed + 1 : text.size();
  const std::string_view line = text.substr(0, std::min(whole, kLineCharacters));
  text.remove_prefix(line.size());
  return line.substr(0, line.find('\0'));
}

// The word behind the key; empty without key or word.
std::string_view chosen_word(std::string_view line) {
  line.remove_prefix(std::min(line.find_first_not_of("\n "), line.size()));
  if (!line.starts_with(kKey)) {
    return {};
  }
  line.remove_prefix(kKey.size());
  const auto begin = std::find_if_not(line.begin(), line.end(), is_white_space);
  return {begin, std::find_if(begin, line.end(), is_white_space)};
}

}  // namespace

std::string configured_language(std::string_view text) {
  while (!text.empty()) {
    const std::string_view word = chosen_word(take_line(text));
    if (!word.empty()) {
      return std::string(word);
    }
  }
  return {};
}

}  // namespace orsin
