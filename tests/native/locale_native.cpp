#include <string>

#include "tests/native/fake_locale.h"
#include "text/locale_port.h"

namespace orsin::test {

FakeLocale& fake_locale() {
  static FakeLocale locale;
  return locale;
}

}  // namespace orsin::test

namespace orsin::port {
namespace {

// What stands in `name` from the sign on, up to the next sign.
std::string part(const std::string& name, char sign, const char* end_signs) {
  const std::size_t begin = name.find(sign);
  if (begin == std::string::npos) {
    return {};
  }
  return name.substr(begin + 1, name.find_first_of(end_signs, begin + 1) - begin - 1);
}

}  // namespace

void select_locale_maker() noexcept {}

bool install_locale(const char* path, const char* domain, const char* name,
                    LocaleParts& parts) noexcept {
  test::FakeLocale& locale = test::fake_locale();
  if (locale.refuses) {
    return false;
  }
  locale.path = path;
  locale.domain = domain;
  locale.name = name;
  ++locale.installed_count;
  const std::string full = locale.name.empty() ? "en_GB.UTF-8" : locale.name;
  parts = {full.substr(0, full.find_first_of("_.@")), part(full, '_', ".@"), part(full, '@', "")};
  return true;
}

void remove_locale() noexcept {
  test::fake_locale().texts.clear();
}

const char* translate(const char* context, const char* msgid) noexcept {
  const test::FakeLocale& locale = test::fake_locale();
  const std::string key = (context != nullptr ? std::string(context) + "|" : "") + msgid;
  const auto found = locale.texts.find(key);
  return found != locale.texts.end() ? found->second.c_str() : nullptr;
}

}  // namespace orsin::port
