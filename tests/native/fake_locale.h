// The locale port without a locale library: remembers what it was asked for, translates from a map.
#pragma once

#include <map>
#include <string>

#include "text/locale_name.h"

namespace orsin::test {

struct FakeLocale {
  std::string path;  // As last installed.
  std::string domain;
  std::string name;
  int installed_count = 0;
  bool maker_is_selected = false;            // Before any installing.
  bool refuses = false;                      // Installing fails.
  std::map<std::string, std::string> texts;  // By "context|msgid"; "msgid" without a context.
};

/// The one that the port works on.
FakeLocale& fake_locale();

/// Of a locale's name; of the user's own, which is British, for the empty one.
[[nodiscard]] inline LocaleParts parts_of(const std::string& name) {
  const std::string full = name.empty() ? "en_GB.UTF-8" : name;
  const auto part = [&full](char sign, const char* end_signs) {
    const std::size_t begin = full.find(sign);
    return begin == std::string::npos
               ? std::string()
               : full.substr(begin + 1, full.find_first_of(end_signs, begin + 1) - begin - 1);
  };
  return {full.substr(0, full.find_first_of("_.@")), part('_', ".@"), part('@', "")};
}

}  // namespace orsin::test
