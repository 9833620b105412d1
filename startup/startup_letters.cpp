// Reads -D, -P and -restart letter by letter; see the header.
#include "startup/startup_letters.h"

#include <cstdlib>
#include <cstring>

namespace orsin {
namespace {

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

int read_number(const char* text) {
  return static_cast<int>(std::strtol(text, nullptr, 0));
}

}  // namespace

StartupOptions read_startup_letters(int argc, const char* const* argv) {
  StartupOptions options;
  for (int i = 1; argv != nullptr && i < argc && argv[i] != nullptr; ++i) {
    if (argv[i][0] != '-') {
      continue;
    }
    const char* letter = argv[i] + 1;
    while (*letter == 'D' || *letter == 'd') {
      ++options.debug_count;
      ++letter;
    }
    if (*letter == 'P' || *letter == 'p') {
      const char* number = letter + 1;
      if (is_digit(*number)) {
        options.processor_count = read_number(number);
      } else if (*number == '\0' && i + 1 < argc && argv[i + 1] != nullptr) {
        options.processor_count = read_number(argv[++i]);
      }
    } else if (std::strcmp(letter, "restart") == 0) {
      options.is_restart = true;
    }
  }
  return options;
}

}  // namespace orsin
