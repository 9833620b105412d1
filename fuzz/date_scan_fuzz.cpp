// The date scanner on any text and pattern.
//
// Input: the pattern, a NUL, the text. Whatever they say, the rest that is returned lies within the
// text, a fresh scan gives the same result, and every field that was scanned stays in its range.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "orsincore/text.h"

namespace {

void expect(bool holds) {
  if (!holds) {
    std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  const std::string pattern = input.c_str();
  const std::string text = pattern.size() < size ? input.c_str() + pattern.size() + 1 : "";
  date scanned(2024, 2, 29, 1, 2, 3);
  date again(2024, 2, 29, 1, 2, 3);
  int extra = 0;

  const char* rest = scanned.scan(text.c_str(), pattern.c_str(), &extra);
  const char* rest_again = again.scan(text.c_str(), pattern.c_str(), nullptr);

  char fields[260];
  char fields_again[260];
  scanned.format_num(fields, true);
  again.format_num(fields_again, true);
  expect(rest == rest_again && std::strcmp(fields, fields_again) == 0);
  expect(scanned.month() >= 1 && scanned.month() <= 12);
  expect(scanned.day() >= 0 && scanned.day() <= 31);
  int hour = 0;
  int minute = 0;
  int second = 0;
  const char* time = std::strchr(fields, '_');
  expect(std::sscanf(time, "_%2d%2d%2d", &hour, &minute, &second) == 3);
  expect(hour >= 0 && hour <= 23 && minute >= 0 && minute <= 59 && second >= 0 && second <= 59);
  if (rest != nullptr) {
    expect(rest >= text.c_str() && rest <= text.c_str() + text.size());
    expect(scanned.year_day() == scanned.julian(scanned.year(), scanned.month(), scanned.day()));
  }
  return 0;
}
