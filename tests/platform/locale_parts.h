// How a stand-in for the library of locales takes a name apart.
#pragma once

#include <string>

#include "text/locale_name.h"

namespace orsin::platform {

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

}  // namespace orsin::platform
