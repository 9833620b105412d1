// "language.cfg": read as the C library's fgets() and sscanf() would read it.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "text/language_configuration.h"

namespace {

// The slow definition. fgets() over memory: at most 255 characters, up to a line feed.
std::string expected_language(std::string_view text) {
  while (!text.empty()) {
    std::size_t length = 0;
    while (length < 255 && length < text.size() && (length == 0 || text[length - 1] != '\n')) {
      ++length;
    }
    const std::string line(text.substr(0, length));
    text.remove_prefix(length);
    const char* begin = line.c_str();
    while (*begin == '\n' || *begin == ' ') {
      ++begin;
    }
    char word[256] = {};
    if (*begin != '#' && std::sscanf(begin, "language=%255s", word) == 1) {
      return word;
    }
  }
  return {};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const std::string language = orsin::configured_language(text);

  if (language != expected_language(text)) {
    std::abort();
  }
  // What was read is written and read again, as far as a line holds it.
  char written[512];
  std::snprintf(written, sizeof(written), orsin::kLanguageConfigurationFormat, language.c_str());
  if (orsin::configured_language(written) != language) {
    std::abort();
  }
  return 0;
}
