#include <string>

#include "tests/platform/locale_parts.h"
#include "tests/platform/native/fake_locale.h"
#include "text/locale_port.h"

namespace orsin::test {

FakeLocale& fake_locale() {
  static FakeLocale locale;
  return locale;
}

}  // namespace orsin::test

namespace orsin::port {

void select_locale_maker() noexcept {
  test::fake_locale().maker_is_selected = test::fake_locale().installed_count == 0;
}

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
  parts = platform::parts_of(locale.name);
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
