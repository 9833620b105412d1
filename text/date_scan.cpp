// date::scan(): text is read by a pattern of literals, blanks and "%" directives.
//
//   %A %a %B %b %h   names of days and months     %H %k %I %l %G   hours
//   %d %e %j %m      days and months              %M %S %p         minutes, seconds, AM and PM
//   %Y %y            years                        %O %o            a number for `extra`
//   %C %c %D %R %T %X %r %x   composites, scanned as patterns of their own
//
// A digit after "%" limits the digits of the number. Unknown letters are ignored. Reading stops at
// the end of pattern or text, whichever comes first; a text may say less than its pattern.
#include "text/date_scan.h"

#include <cstring>

#include "orsincore/text.h"
#include "text/date_names.h"
#include "text/date_port.h"

namespace orsin {
namespace {

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

char to_lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

// The length of `name` when the text begins with it in any case, else 0.
std::size_t match_name(const char* text, const char* name) {
  std::size_t i = 0;
  for (; name[i] != '\0'; ++i) {
    if (to_lower(text[i]) != to_lower(name[i])) {
      return 0;
    }
  }
  return i;
}

const char* composite_pattern(char letter) {
  switch (letter) {
    case 'C':
      return "%A, %B, %e, %Y";
    case 'D':
      return "%m/%d/%y";
    case 'R':
      return "%H:%M";
    case 'T':
    case 'X':
      return "%H:%M:%S";
    case 'c':
      return "%x %X";
    case 'r':
      return "%I:%M:%S %p";
    case 'x':
      return "%d-%m-%Y";
    default:
      return nullptr;
  }
}

int default_digits(char letter) {
  if (letter == 'j') {
    return 3;
  }
  return letter == 'Y' ? 4 : 2;
}

class Scanner {
 public:
  Scanner(const char* text, int (*current_year)(), ScannedDate& fields, int* extra)
      : text_(text), current_year_(current_year), fields_(fields), extra_(extra) {}

  const char* scan(const char* pattern);

 private:
  enum class Result { kMismatch, kRead, kReadNumber };

  Result directive(char letter, int digits);
  Result number_directive(char letter, int digits);
  Result name(const char* const* full, const char* const* abbreviated, int count, int* number);
  Result composite(const char* pattern);
  Result half_of_day();
  Result year(int digits);
  Result hour_to_24(int digits);
  bool number(int digits, int low, int high, int& value);

  [[nodiscard]] bool at_end_or_blank() const { return *text_ == '\0' || *text_ == ' '; }
  void skip_blanks() {
    while (*text_ == ' ') {
      ++text_;
    }
  }

  const char* text_;
  int (*current_year_)();
  ScannedDate& fields_;
  int* extra_;
};

const char* Scanner::scan(const char* pattern) {
  while (*pattern != '\0' && *text_ != '\0') {
    const char c = *pattern++;
    if (c == ' ') {
      skip_blanks();
      continue;
    }
    if (c != '%') {
      if (*text_ != c) {
        return nullptr;
      }
      ++text_;
      continue;
    }
    int digits = 0;
    if (is_digit(*pattern)) {
      digits = *pattern++ - '0';
    }
    const char letter = *pattern != '\0' ? *pattern++ : '%';
    const Result result = directive(letter, digits != 0 ? digits : default_digits(letter));
    if (result == Result::kMismatch) {
      return nullptr;
    }
    // A number that ends at a blank ends its group: "5 March" fits "%d-%m %B" as well.
    if (result == Result::kReadNumber && *text_ == ' ') {
      pattern = std::strchr(pattern, ' ');
      if (pattern == nullptr) {
        break;
      }
    }
  }
  return text_;
}

Scanner::Result Scanner::directive(char letter, int digits) {
  if (const char* pattern = composite_pattern(letter)) {
    return composite(pattern);
  }
  switch (letter) {
    case '%':
      return *text_++ == '%' ? Result::kRead : Result::kMismatch;
    case 'A':
    case 'a':
      return name(kDayNames, kDayShortNames, 7, nullptr);
    case 'B':
    case 'b':
    case 'h':
      return name(kMonthNames, kMonthShortNames, 12, &fields_.month);
    case 'p':
      return half_of_day();
    default:
      return number_directive(letter, digits);
  }
}

Scanner::Result Scanner::number_directive(char letter, int digits) {
  int value = 0;
  bool matches = true;
  switch (letter) {
    case 'd':
    case 'e':
      skip_blanks();
      matches = number(digits, 0, 31, fields_.day);
      break;
    case 'm':
      skip_blanks();
      matches = number(digits, 1, 12, fields_.month);
      break;
    case 'j':
      matches = number(digits, 0, 366, value);
      break;
    case 'H':
    case 'k':
      matches = number(digits, 0, 23, fields_.hour);
      break;
    case 'I':
    case 'l':
      // Kept on purpose: 12 is refused, so "12:00:00 PM" does not fit "%I:%M:%S %p". Required.
      matches = number(digits, 0, 11, fields_.hour);
      break;
    case 'G':
      return hour_to_24(digits);
    case 'M':
      return at_end_or_blank() ? Result::kRead
                               : (number(digits, 0, 59, fields_.minute) ? Result::kReadNumber
                                                                        : Result::kMismatch);
    case 'S':
      return at_end_or_blank() ? Result::kRead
                               : (number(digits, 0, 59, fields_.second) ? Result::kReadNumber
                                                                        : Result::kMismatch);
    case 'O':
    case 'o':
      matches = number(digits, 0, 999'999'999, value);
      if (matches && extra_ != nullptr) {
        *extra_ += value;
      }
      break;
    case 'Y':
    case 'y':
      return year(digits);
    case 'Z':
      // A zone is not kept; its digit is read and forgotten.
      matches = number(1, 0, 9, value);
      break;
    default:
      return Result::kRead;  // Unknown letters are ignored.
  }
  return matches ? Result::kReadNumber : Result::kMismatch;
}

Scanner::Result Scanner::name(const char* const* full, const char* const* abbreviated, int count,
                              int* number) {
  for (int i = 0; i < count; ++i) {
    std::size_t length = match_name(text_, full[i]);
    if (length == 0) {
      length = match_name(text_, abbreviated[i]);
    }
    if (length != 0) {
      text_ += length;
      if (number != nullptr) {
        *number = i + 1;
      }
      return Result::kRead;
    }
  }
  return Result::kMismatch;
}

// One level deep but for "%c", which holds two of the others: recursion by the patterns above, not
// by the text.
Scanner::Result Scanner::composite(const char* pattern) {
  Scanner nested(text_, current_year_, fields_, nullptr);
  const char* rest = nested.scan(pattern);
  if (rest == nullptr) {
    return Result::kMismatch;
  }
  text_ = rest;
  return Result::kRead;
}

Scanner::Result Scanner::half_of_day() {
  const bool is_am = match_name(text_, "AM") != 0;
  if (!is_am && match_name(text_, "PM") == 0) {
    return Result::kMismatch;
  }
  text_ += 2;
  if (fields_.hour > 12) {
    return Result::kMismatch;
  }
  if (is_am) {
    fields_.hour = fields_.hour == 12 ? 0 : fields_.hour;
  } else {
    fields_.hour += fields_.hour == 12 ? 0 : 12;
  }
  return Result::kRead;
}

Scanner::Result Scanner::year(int digits) {
  skip_blanks();
  if (at_end_or_blank()) {
    return Result::kRead;
  }
  const char* start = text_;
  int value = 0;
  if (!number(digits, 0, 999'999'999, value)) {
    return Result::kMismatch;
  }
  const bool has_century = text_ - start > 2;
  fields_.year = has_century ? value : current_year_() / 100 * 100 + value;
  return Result::kReadNumber;
}

Scanner::Result Scanner::hour_to_24(int digits) {
  if (!number(digits, 0, 24, fields_.hour)) {
    return Result::kMismatch;
  }
  if (fields_.hour == 24) {
    fields_.hour = 0;
    if (extra_ != nullptr) {
      *extra_ += 24;
    }
  }
  return Result::kReadNumber;
}

// At most nine digits come from one pattern digit, so the value fits.
bool Scanner::number(int digits, int low, int high, int& value) {
  if (!is_digit(*text_)) {
    return false;
  }
  int read = 0;
  for (; digits > 0 && is_digit(*text_); --digits) {
    read = read * 10 + (*text_++ - '0');
  }
  if (read < low || read > high) {
    return false;
  }
  value = read;
  return true;
}

}  // namespace

const char* scan_date(const char* text, const char* pattern, int (*current_year)(),
                      ScannedDate& fields, int* extra) {
  return Scanner(text, current_year, fields, extra).scan(pattern);
}

}  // namespace orsin

using namespace orsin;

char* date::scan(const char* text, const char* pattern, int* extra) {
  if (text == nullptr) {
    return nullptr;
  }
  ScannedDate fields = {year_, month_, day_, hour_, minute_, second_};
  const auto current_year = [] { return port::to_local_time(port::posix_now()).year; };
  const char* rest =
      scan_date(text, pattern != nullptr ? pattern : "%c", current_year, fields, extra);
  year_ = fields.year;
  month_ = fields.month;
  day_ = fields.day;
  hour_ = static_cast<signed char>(fields.hour);
  minute_ = static_cast<signed char>(fields.minute);
  second_ = static_cast<signed char>(fields.second);
  if (rest != nullptr) {
    compute_days();
  }
  return const_cast<char*>(rest);
}
