// What localisation asks the locale port for, seen by a fake one.
#include <gtest/gtest.h>

#include "orsincore/text.h"
#include "tests/platform/native/fake_locale.h"
#include "tests/text/localisation_fixture.h"
#include "text/localisation.h"

namespace orsin {
namespace {

class LocaleRequests : public test::LocalisationFixture {
 protected:
  LocaleRequests() { test::fake_locale() = {}; }
  ~LocaleRequests() override { test::fake_locale() = {}; }
};

TEST_F(LocaleRequests, CarryTheDirectoryAndTheDomain) {
  write_languages("");

  start_localisation();

  EXPECT_EQ(test::fake_locale().installed_count, 1);
  EXPECT_EQ(test::fake_locale().path, data_path() + "\\locale");
  EXPECT_EQ(test::fake_locale().domain, "korvane");
  EXPECT_TRUE(test::fake_locale().maker_is_selected);
}

TEST_F(LocaleRequests, AreInUtf8) {
  write_languages("0:System Default:x\n");
  write_configuration("language=fr_FR\r\r\n");
  start_localisation();
  EXPECT_EQ(test::fake_locale().name, "fr_FR.UTF-8");

  write_configuration("language=sr_RS@latin\r\r\n");
  start_localisation();
  EXPECT_EQ(test::fake_locale().name, "sr_RS.UTF-8@latin");
}

TEST_F(LocaleRequests, AreForTheUsersOwnLocaleWithoutAConfiguredLanguage) {
  struct Case {
    const char* what;
    const char* languages;
  };
  const Case cases[] = {
      {"an entry for id 0", "0:System Default:x\n2:Deutsch:de_DE\n"},
      {"no code for id 0", "0:System Default:\n2:Deutsch:de_DE\n"},
      {"no id 0", "2:Deutsch:de_DE\n"},
      {"an entry for id 1", "0:System Default:x\n1:English:fr_FR\n"},
      {"no table", "# nothing\n"},
      {"negative ids alone", "-1:Deutsch:de_DE\n"},
  };
  write_configuration("# language=fr_FR\n");
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    test::fake_locale().name = "not asked";
    write_languages(c.languages);

    start_localisation();

    EXPECT_EQ(test::fake_locale().name, "");
    EXPECT_STREQ(ov_locale_get(), "en_GB");
  }
}

TEST_F(LocaleRequests, ThatAreRefusedLeaveTheNameEmpty) {
  test::fake_locale().refuses = true;
  write_languages("0:System Default:x\n");

  start_localisation();

  EXPECT_STREQ(ov_locale_get(), "");
  ASSERT_NE(languages(), nullptr);
}

TEST_F(LocaleRequests, FindTextsByContext) {
  write_languages("");
  start_localisation();
  test::fake_locale().texts = {{"Open", "Otworz"}, {"menu|Open", "Otworz..."}};

  EXPECT_STREQ(ov_pgettext("Open"), "Otworz");
  EXPECT_STREQ(ov_pgettext(nullptr, "Open"), "Otworz");
  EXPECT_STREQ(ov_pgettext("menu", "Open"), "Otworz...");
  EXPECT_STREQ(ov_pgettext("state", "Open"), "Open");
  EXPECT_STREQ(ov_pgettext("Close"), "Close");
}

TEST_F(LocaleRequests, FindNoTextsAfterTheStop) {
  write_languages("");
  start_localisation();
  test::fake_locale().texts = {{"Open", "Otworz"}};

  stop_localisation();

  EXPECT_STREQ(ov_pgettext("Open"), "Open");
}

}  // namespace
}  // namespace orsin
