#include "orsincore/utf.h"

//! [example]
int count_umlauts(const char* text) {
  int count = 0;
  std::size_t position = 0;
  while (text[position] != '\0') {
    const int code_point = ov_utf8_get_code_point(text, &position);  // Moves on by one character.
    count += (code_point == 0xE4 || code_point == 0xF6 || code_point == 0xFC) ? 1 : 0;
  }
  return count;
}
//! [example]
