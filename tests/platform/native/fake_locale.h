// The locale port without a locale library: remembers what it was asked for, translates from a map.
#pragma once

#include <map>
#include <string>

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

}  // namespace orsin::test
