// Paths of the test's own for localisation: data and code path, settings on the search list.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "tests/files/program_paths_standin.h"
#include "tests/support/temporary_directory.h"
#include "text/localisation.h"

namespace orsin::test {

class LocalisationFixture : public testing::Test {
 protected:
  LocalisationFixture() {
    directory_.write("data/Settings/unrelated.txt", "");
    paths_.set_data(data_path());
    paths_.set_code(code_path());
    paths_.set_search_list(data_path() + "\\Settings;");
  }
  ~LocalisationFixture() override { stop_localisation(); }

  [[nodiscard]] std::string data_path() const { return directory_.path() + "\\data"; }

  /// Ends with a separator, as start-up sets it.
  [[nodiscard]] std::string code_path() const { return directory_.path() + "\\code\\"; }

  /// The list of languages; also makes the locale directory.
  void write_languages(std::string_view text) { directory_.write("data/locale/languages", text); }

  void write_configuration(std::string_view text) {
    directory_.write("data/Settings/language.cfg", text);
  }

  TemporaryDirectory directory_;
  ProgramPaths paths_;
};

}  // namespace orsin::test
