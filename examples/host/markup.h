// Text inside XML and HTML.
#pragma once

#include <string>
#include <string_view>

namespace host {

/// The text with the four characters that mark up written as entities: for contents and for values
/// in double quotes.
[[nodiscard]] inline std::string escaped(std::string_view text) {
  std::string result;
  for (const char letter : text) {
    switch (letter) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      default:
        result += letter;
    }
  }
  return result;
}

}  // namespace host
