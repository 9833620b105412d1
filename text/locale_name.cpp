// Puts the names of locales together; see the header.
#include "text/locale_name.h"

#include <algorithm>

namespace orsin {

std::string utf8_locale_name(std::string_view code) {
  std::string name(code);
  if (!code.empty()) {
    name.insert(std::min(code.find('@'), code.size()), ".UTF-8");
  }
  return name;
}

std::string shown_locale_name(const LocaleParts& parts) {
  std::string name = parts.language;
  if (!parts.country.empty()) {
    name.append("_").append(parts.country);
  }
  if (!parts.variant.empty()) {
    name.append("@").append(parts.variant);
  }
  return name;
}

}  // namespace orsin
