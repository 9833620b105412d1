// Reads the lines of the list of languages; see the header.
#include "text/language_list.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace orsin {
namespace {

bool is_blank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

// As atoi(), but confined to the line and with a defined result for numbers beyond int.
int leading_number(const char* at, const char* end) {
  constexpr std::int64_t kMost = std::numeric_limits<int>::max();
  at = std::find_if_not(at, end, is_blank);
  const bool is_negative = at != end && *at == '-';
  if (at != end && (*at == '-' || *at == '+')) {
    ++at;
  }
  std::int64_t magnitude = 0;
  for (; at != end && is_digit(*at); ++at) {
    magnitude = std::min(magnitude * 10 + (*at - '0'), kMost);
  }
  return static_cast<int>(is_negative ? -magnitude : magnitude);
}

}  // namespace

// Lines that say nothing are not visited; the carriage return of a line end belongs to the end.
template <typename Visit>
void LanguageList::for_each_line(Visit visit) {
  char* const last = text_.data() + text_.size() - 1;  // The terminator.
  for (char* line = text_.data(); line < last;) {
    char* const line_end = std::find(line, last, '\n');
    char* const end = line_end > line && line_end[-1] == '\r' ? line_end - 1 : line_end;
    if (end != line && *line != '#') {
      visit(line, end);
    }
    line = line_end + 1;
  }
}

LanguageList::LanguageList(std::string_view file) {
  text_.reserve(file.size() + 1);
  text_.assign(file.begin(), file.end());
  text_.push_back('\0');

  std::size_t count = 0;
  std::size_t table_length = 0;
  for_each_line([&](const char* line, const char* end) {
    const int id = leading_number(line, end);
    if (id > kLargestId) {
      ++refused_count_;
      return;
    }
    ++count;
    if (id >= 0) {
      table_length = std::max(table_length, static_cast<std::size_t>(id) + 1);
    }
  });
  records_.reserve(count + 1);
  table_.assign(table_length, nullptr);

  for_each_line([&](char* line, char* end) {
    const int id = leading_number(line, end);
    if (id <= kLargestId) {
      add(id, line, end);
    }
  });
  records_.emplace_back();
}

// Ends the line's fields in place.
void LanguageList::add(int id, char* line, char* end) {
  char* const first = std::find(line, end, ':');
  char* const second = first != end ? std::find(first + 1, end, ':') : end;
  if (second == end) {
    return;
  }
  *second = '\0';
  *std::find(second + 1, end, ':') = '\0';

  Language language;
  language.id = id;
  language.display_name = first + 1;
  language.code = second + 1;
  language.lookup_name = id != 0 ? language.code : "";
  records_.push_back(language);
  if (id > 0 || (id == 0 && *language.code != '\0')) {
    table_[static_cast<std::size_t>(id)] = language.lookup_name;
  }
}

}  // namespace orsin
