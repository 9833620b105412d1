// The list of languages: the table and the records agree, whatever the file says.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "text/language_list.h"

namespace {

void require(bool condition) {
  if (!condition) {
    std::abort();
  }
}

// A slow definition of the table's entry: the last record with the id.
const char* expected_name(const orsin::LanguageList& list, int id) {
  const char* name = nullptr;
  for (const orsin::Language& language : list.records()) {
    if (language.code == nullptr || language.id != id) {
      continue;
    }
    if (id != 0) {
      name = language.code;
    } else if (*language.code != '\0') {
      name = "";
    }
  }
  return name;
}

bool are_equal(const char* a, const char* b) {
  return a == nullptr || b == nullptr ? a == b : std::strcmp(a, b) == 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const orsin::LanguageList list(std::string_view(reinterpret_cast<const char*>(data), size));
  const auto& records = list.records();
  const auto& table = list.table();

  require(records.back().code == nullptr && records.back().id == 0);
  require(table.size() <= std::size_t{orsin::LanguageList::kLargestId} + 1);
  for (const orsin::Language& language : records) {
    require(language.flags == 0);
    require(language.code != nullptr || &language == &records.back());
    require(std::strlen(language.display_name) <= size);
    require(language.id < 0 || language.code == nullptr ||
            static_cast<std::size_t>(language.id) < table.size());
    require(language.id == 0 ? *language.lookup_name == '\0'
                             : std::strcmp(language.lookup_name, language.code) == 0);
  }
  constexpr int kCheckedIds = 64;  // The slow definition walks over all records for each.
  for (int id = 0; id < kCheckedIds && static_cast<std::size_t>(id) < table.size(); ++id) {
    require(are_equal(table[static_cast<std::size_t>(id)], expected_name(list, id)));
  }
  return 0;
}
