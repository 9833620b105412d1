// A start with catalogues: the user's choice is written, and the program speaks that language.
//
// What cannot be had is left out in silence, by contract: a choice that cannot be read, a locale that
// cannot be made, a catalogue. But the language that is named is the one that is spoken, a text is its
// own or none, and a choice that could not be written leaves the one before.
#include <cstdio>
#include <string>

#include "base/program_paths.h"
#include "orsincore/text.h"
#include "tests/simulation/library_session.h"
#include "tests/simulation/scenario.h"
#include "text/language_configuration.h"
#include "text/localisation.h"

namespace orsin::simulation {
namespace {

constexpr char kData[] = "D:\\data";
constexpr char kCode[] = "C:\\program\\";
constexpr char kConfiguration[] = "D:\\data\\Settings\\language.cfg";
constexpr char kUsersOwn[] = "en_GB";
// The last is too long for a string to keep it without memory of its own.
constexpr const char* kCodes[] = {"de_DE", "sr_RS@latin", "ca_ES@valencia-traditional"};

void put_text(Disk& disk, const std::string& path, const std::string& text) {
  Content content;
  content.write(0, text.data(), text.size());
  disk.put(path, std::move(content));
}

std::string translation(const std::string& language) {
  return "Open in " + language;
}

// Below the data, or else beside the program.
void put_catalogues(Pass& pass) {
  const std::string directory =
      pass.choice.one_in(2) ? std::string(kData) + "\\locale" : std::string(kCode) + "locale";
  put_text(pass.it.disk, directory + "\\languages",
           "# id:name:code\n0:System Default:x\n2:Deutsch:de_DE\n14:Srpski:sr_RS@latin\n");
  for (const std::string language : {kCodes[0], kCodes[1], kCodes[2], kUsersOwn}) {
    put_text(pass.it.disk, directory + "\\" + language + "\\LC_MESSAGES\\korvane.mo",
             "Open=" + translation(language) + "\n");
  }
}

void set_paths() {
  ProgramPaths& paths = program_paths();
  std::snprintf(paths.data, sizeof(paths.data), "%s", kData);
  std::snprintf(paths.code, sizeof(paths.code), "%s", kCode);
  write_search_list(paths, paths.search_list, sizeof(paths.search_list));
}

std::string configuration_of(const std::string& code) {
  char text[512];
  std::snprintf(text, sizeof(text), kLanguageConfigurationFormat, code.c_str());
  return text;
}

// Nothing when it is not there.
std::string configuration(const Machine& it) {
  const auto node = it.disk.find(kConfiguration);
  return node != nullptr ? node->content.text() : std::string();
}

// The language that is chosen now: the new one, or, after a failure, the one before.
std::string choose(Pass& pass) {
  const std::string code = pass.choice.one_of(kCodes);
  const std::string before = configuration(pass.it);
  bool is_saved = false;
  {
    const Inside library;
    is_saved = ov_save_language_cfg(code.c_str());
  }
  pass.expect_success(is_saved, "saving the language", is_saved);
  const std::string now = configuration(pass.it);
  ORSIN_EXPECT(now == (is_saved ? configuration_of(code) : before),
               "the configuration has another text");
  return configured_language(now);
}

void speak(Pass& pass, const std::string& language) {
  {
    const Inside library;
    start_localisation();
  }
  const std::string name = ov_locale_get();
  const std::string text = ov_pgettext("Open");
  pass.expect_success(name == language && text == translation(language), "localisation", 0);
  ORSIN_EXPECT(name == language || name == kUsersOwn || name.empty(), "%s is named, not %s",
               name.c_str(), language.c_str());
  ORSIN_EXPECT(text == "Open" || (!name.empty() && text == translation(name)),
               "%s is named, and it says: %s", name.c_str(), text.c_str());
  const Inside library;
  stop_localisation();
}

}  // namespace

void start_translation(Pass& pass) {
  put_catalogues(pass);
  set_paths();
  const bool chooses = pass.choice.one_in(2);
  const LibrarySession session;
  const std::string chosen = chooses ? choose(pass) : configured_language(configuration(pass.it));
  speak(pass, chosen.empty() ? kUsersOwn : chosen);
  ORSIN_EXPECT(std::string(ov_pgettext("Open")) == "Open", "a text is left of a locale that went");
}

}  // namespace orsin::simulation
