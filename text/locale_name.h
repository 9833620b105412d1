// Names of locales: as the list of languages has them, as a locale is asked for, as it is shown.
//
//   code    sr_RS@latin         language[_COUNTRY][@variant]
//   asked   sr_RS.UTF-8@latin   without the encoding the texts would come out as ASCII
//   shown   sr_RS@latin
#pragma once

#include <string>
#include <string_view>

namespace orsin {

struct LocaleParts {
  std::string language;
  std::string country;  // May be empty, as may the variant.
  std::string variant;
};

/// The name under which a locale with UTF-8 texts is asked for. The empty code, which means the
/// user's own locale, stays empty.
[[nodiscard]] std::string utf8_locale_name(std::string_view code);

/// "language_COUNTRY@variant", without the parts that are empty.
[[nodiscard]] std::string shown_locale_name(const LocaleParts& parts);

}  // namespace orsin
