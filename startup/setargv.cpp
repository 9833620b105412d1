// Splits a command line into an argument vector.
//
// One heap block holds everything, so that the caller frees one pointer:
//
//   | argv[0] | argv[1] | ... | null | unused entries | "program\0" "first\0" ... |
//
// The rules are those that Windows programs expect of their own command line: blanks and tabs
// separate outside quotes; n backslashes before a quote give n / 2, and an odd one makes the quote
// literal; inside quotes two quotes give one.
#include <cstdlib>
#include <cstring>

#include "base/given_text.h"
#include "orsincore/startup.h"

namespace orsin {
namespace {

bool is_blank(char c) {
  return c == ' ' || c == '\t';
}

const char* skip_blanks(const char* text) {
  while (is_blank(*text)) {
    ++text;
  }
  return text;
}

// Every argument but the first follows a run of blanks, so the runs bound their number.
std::size_t entry_count(const char* text) {
  std::size_t runs = 0;
  while (*text != '\0') {
    if (is_blank(*text)) {
      ++runs;
      text = skip_blanks(text);
    } else {
      ++text;
    }
  }
  return runs + 3;
}

// Copies one argument and its terminator; moves both positions past it.
void copy_argument(const char*& from, char*& to) {
  bool in_quotes = false;
  while (*from != '\0' && (in_quotes || !is_blank(*from))) {
    std::size_t backslashes = 0;
    while (from[backslashes] == '\\') {
      ++backslashes;
    }
    const bool before_quote = from[backslashes] == '"';
    const std::size_t copied = before_quote ? backslashes / 2 : backslashes;
    std::memset(to, '\\', copied);
    to += copied;
    from += backslashes;
    if (!before_quote) {
      if (backslashes == 0) {
        *to++ = *from++;
      }
      continue;
    }
    ++from;
    if (backslashes % 2 != 0) {
      *to++ = '"';
    } else if (in_quotes && *from == '"') {
      *to++ = '"';
      ++from;
    } else {
      in_quotes = !in_quotes;
    }
  }
  *to++ = '\0';
}

}  // namespace
}  // namespace orsin

using namespace orsin;

void setargv(char* program, char* command_line, int* argc, char*** argv) {
  if (argc == nullptr || argv == nullptr) {
    return;
  }
  *argc = 0;
  *argv = nullptr;
  const char* name = given(program);
  const char* line = given(command_line);
  const std::size_t pointer_bytes = entry_count(line) * sizeof(char*);
  const std::size_t name_bytes = std::strlen(name) + 1;
  // An argument never grows, and its terminator takes the place of a blank or of the line's end.
  const std::size_t text_bytes = std::strlen(line) + 1;
  void* block = std::calloc(1, pointer_bytes + name_bytes + text_bytes);
  if (block == nullptr) {
    return;
  }

  auto** entries = static_cast<char**>(block);
  char* to = static_cast<char*>(block) + pointer_bytes;
  std::memcpy(to, name, name_bytes);
  int count = 0;
  entries[count++] = to;
  to += name_bytes;
  for (const char* from = skip_blanks(line); *from != '\0'; from = skip_blanks(from)) {
    entries[count++] = to;
    copy_argument(from, to);
  }
  *argc = count;
  *argv = entries;
}
