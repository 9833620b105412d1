// Finds the catalogues, chooses the language and answers ov_pgettext(); see the header.
#include "text/localisation.h"

#include <cstdio>
#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/new_file.h"
#include "base/path_buffer.h"
#include "base/settings_port.h"
#include "orsincore/log.h"
#include "orsincore/paths.h"
#include "orsincore/text.h"
#include "text/language_configuration.h"
#include "text/locale_port.h"
#include "text/whole_file.h"

using namespace orsin;

namespace {

constexpr char kDomain[] = "korvane";
constexpr char kConfigurationName[] = "language.cfg";

// Everything between start and stop. Its address is written while one thread runs.
struct Localisation {
  std::string path;  // Of the locale directory.
  LanguageList languages;
  int current_index = 0;  // Into the table of languages; nothing changes it yet.
  std::string locale_name;
};

constinit Localisation* localisation = nullptr;

bool is_known(const char* path) {
  return path != nullptr && *path != '\0';
}

// Below the data path, else below the code path. Empty, after one error line, when there is none.
std::string find_locale_directory() {
  std::string path;
  if (is_known(file_get_data())) {
    path = std::string(file_get_data()) + "\\locale";
  }
  if (!port::is_settings_directory(path.c_str()) && is_known(file_get_code())) {
    path = std::string(file_get_code()) + "locale";
  }
  if (!port::is_settings_directory(path.c_str())) {
    msgerror("Failed to open 'locale' data path. No language support available.");
    msgcont("Locale path: %s", path.c_str());
    path.clear();
  }
  return path;
}

std::string_view as_text(const std::vector<char>& bytes) {
  return {bytes.data(), bytes.size()};
}

LanguageList read_languages(const std::string& directory) {
  const auto file = read_whole_file((directory + "\\languages").c_str());
  if (!file) {
    return {};
  }
  LanguageList list(as_text(*file));
  if (list.refused_count() > 0) {
    msgwarn("LOCALE: %d languages with ids above %d were left out", list.refused_count(),
            LanguageList::kLargestId);
  }
  return list;
}

std::string read_configured_language() {
  char path[kPathBytes] = {};
  std::snprintf(path, sizeof(path), "%s", kConfigurationName);
  if (!port::find_settings_file(kConfigurationName, path)) {
    return {};
  }
  const auto file = read_whole_file(path);
  return file ? configured_language(as_text(*file)) : std::string();
}

// The entry at the current index. Without a table, and where the table has no name for it, the
// empty code: the user's own locale.
const char* default_code(const Localisation& current) {
  const auto& table = current.languages.table();
  if (table.empty()) {
    return "";
  }
  auto index = static_cast<std::size_t>(current.current_index);
  if (index >= table.size()) {
    index = 0;
  }
  return table[index] != nullptr ? table[index] : "";
}

void apply_language(Localisation& current, const std::string& configured) {
  const std::string code = configured.empty() ? default_code(current) : configured;
  LocaleParts parts;
  if (port::install_locale(current.path.c_str(), kDomain, utf8_locale_name(code).c_str(), parts)) {
    current.locale_name = shown_locale_name(parts);
  }
}

void start() {
  const std::string directory = find_locale_directory();
  if (directory.empty()) {
    return;
  }
  port::select_locale_maker();
  auto starting = std::make_unique<Localisation>();
  starting->path = directory;
  starting->languages = read_languages(directory);
  apply_language(*starting, read_configured_language());
  localisation = starting.release();
}

}  // namespace

namespace orsin {

void start_localisation() noexcept {
  stop_localisation();
  try {
    start();
  } catch (const std::exception&) {
    port::remove_locale();  // Memory is short: the program runs untranslated.
  }
}

void stop_localisation() noexcept {
  port::remove_locale();
  delete localisation;
  localisation = nullptr;
}

const LanguageList* languages() {
  return localisation != nullptr ? &localisation->languages : nullptr;
}

}  // namespace orsin

const char* ov_pgettext(const char* context, const char* msgid) {
  if (msgid == nullptr || *msgid == '\0') {
    return msgid;  // The empty identifier's "translation" is the catalogue's header.
  }
  const char* text = port::translate(context, msgid);
  return text != nullptr ? text : msgid;
}

const char* ov_pgettext(const char* msgid) {
  return ov_pgettext(nullptr, msgid);
}

// Kept on purpose: there is one domain of messages, and every context is at home in it. Required.
bool ov_is_default_context(const char* /*context*/) {
  return true;
}

const char* ov_locale_get() {
  return localisation != nullptr ? localisation->locale_name.c_str() : "";
}

bool ov_save_language_cfg(const char* code) {
  // Kept on purpose: the folder comes first, even for a code that is then refused. Required.
  char path[kPathBytes];
  if (!port::place_settings_file("Settings", kConfigurationName, path) || code == nullptr ||
      *code == '\0') {
    return false;
  }
  NewFile file(path, "w");
  return file.stream() != nullptr &&
         std::fprintf(file.stream(), kLanguageConfigurationFormat, code) > 0 && file.commit();
}
