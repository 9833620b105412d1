// Real catalogues, made by msgfmt, through start-up's localisation: languages with plural forms and
// contexts, from right to left, with a modifier; and catalogues that are damaged in every way.
#include <gtest/gtest.h>

#include <boost/locale/message.hpp>

#include <clocale>
#include <filesystem>
#include <locale>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "orsincore/text.h"
#include "tests/support/environment_variable.h"
#include "tests/support/kit_path.h"
#include "tests/support/latch.h"
#include "tests/support/log_capture.h"
#include "tests/text/catalogue_builder.h"
#include "tests/text/localisation_fixture.h"
#include "text/catalogue_check.h"

namespace orsin {
namespace {

using test::CatalogueBuilder;
using test::EnvironmentVariable;
using test::Lines;
using test::LogCapture;
using test::TemporaryDirectory;

std::string compiled(const std::string& name) {
  return TemporaryDirectory::read(
      test::kit_path(std::string("catalogues/") + name + ".mo",
                     std::string(ORSIN_TEST_CATALOGUES) + "/" + name + ".mo"));
}

// The process has its locale back in the end.
class GlobalLocaleKeeper {
 public:
  GlobalLocaleKeeper() = default;
  ~GlobalLocaleKeeper() { std::locale::global(before_); }
  GlobalLocaleKeeper(const GlobalLocaleKeeper&) = delete;
  GlobalLocaleKeeper& operator=(const GlobalLocaleKeeper&) = delete;

 private:
  std::locale before_;
};

// The same for that of the C library.
class CLocaleKeeper {
 public:
  CLocaleKeeper() = default;
  ~CLocaleKeeper() { std::setlocale(LC_ALL, before_.c_str()); }
  CLocaleKeeper(const CLocaleKeeper&) = delete;
  CLocaleKeeper& operator=(const CLocaleKeeper&) = delete;

 private:
  std::string before_ = std::setlocale(LC_ALL, nullptr);
};

class RealCatalogues : public test::LocalisationFixture {
 protected:
  void install(const std::string& language, std::string_view catalogue) {
    directory_.write("data/locale/" + language + "/LC_MESSAGES/korvane.mo", catalogue);
  }

  void install(const std::string& language) { install(language, compiled(language)); }

  void start_with(const std::string& code) {
    write_configuration("language=" + code + "\r\r\n");
    start_localisation();
  }
};

TEST_F(RealCatalogues, TranslateByContext) {
  install("pl");
  start_with("pl_PL");

  EXPECT_STREQ(ov_locale_get(), "pl_PL");
  EXPECT_STREQ(ov_pgettext("Open"), "Otw\xC3\xB3rz");
  EXPECT_STREQ(ov_pgettext(nullptr, "Open"), "Otw\xC3\xB3rz");
  EXPECT_STREQ(ov_pgettext("state", "Open"), "Otwarty");
  EXPECT_STREQ(ov_pgettext("menu", "Open"), "Otw\xC3\xB3rz\xE2\x80\xA6");
}

TEST_F(RealCatalogues, GiveTheIdentifierItselfForWhatTheyLack) {
  install("pl");
  start_with("pl_PL");

  for (const char* text : {"Close", "Untranslated", "Ope", "Open ", "menu\004Open2", "Otwarty"}) {
    SCOPED_TRACE(text);
    EXPECT_EQ(ov_pgettext(text), text);
    EXPECT_EQ(ov_pgettext("menu", text), text);
  }
  const char* open = "Open";
  EXPECT_EQ(ov_pgettext("unknown", open), open);
  EXPECT_EQ(ov_pgettext("", open), open);
}

TEST_F(RealCatalogues, GiveTheFirstFormOfTextsWithPluralForms) {
  install("pl");
  start_with("pl_PL");

  EXPECT_STREQ(ov_pgettext("%d frame"), "%d klatka");
  EXPECT_STREQ(ov_pgettext("timeline", "%d frame"), "%d klatka osi");
  const auto& messages = std::use_facet<boost::locale::message_format<char>>(std::locale());
  EXPECT_STREQ(messages.get(0, nullptr, "%d frame", 3), "%d klatki");
  EXPECT_STREQ(messages.get(0, nullptr, "%d frame", 5), "%d klatek");
}

TEST_F(RealCatalogues, FindIdentifiersOutsideAscii) {
  install("pl");
  start_with("pl_PL");

  EXPECT_STREQ(ov_pgettext("Gr\xC3\xB6\xC3\x9F"
                           "e"),
               "Rozmiar");
}

TEST_F(RealCatalogues, TranslateIntoRightToLeftText) {
  install("he");
  start_with("he_IL");

  EXPECT_STREQ(ov_locale_get(), "he_IL");
  EXPECT_STREQ(ov_pgettext("Open"), "\xD7\xA4\xD7\xAA\xD7\x97");
  EXPECT_STREQ(ov_pgettext("menu", "Render to MOV (1080p)"),
               "\xD7\xA8\xD7\x99\xD7\xA0\xD7\x93\xD7\x95\xD7\xA8 \xD7\x9C-MOV "
               "(\xE2\x80\x8F"
               "1080p\xE2\x80\x8F)");
}

TEST_F(RealCatalogues, AreChosenByTheModifier) {
  install("sr");
  install("sr@latin");

  start_with("sr_RS@latin");
  EXPECT_STREQ(ov_locale_get(), "sr_RS@latin");
  EXPECT_STREQ(ov_pgettext("Open"), "Otvori");

  start_with("sr_RS");
  EXPECT_STREQ(ov_locale_get(), "sr_RS");
  EXPECT_STREQ(ov_pgettext("Open"), "\xD0\x9E\xD1\x82\xD0\xB2\xD0\xBE\xD1\x80\xD0\xB8");
}

TEST_F(RealCatalogues, AreConvertedFromOtherCharacterSets) {
  install("de_AT");
  start_with("de_AT");

  EXPECT_STREQ(ov_pgettext("Open"),
               "J\xC3\xA4nner \xC3\xB6"
               "ffnen");
  EXPECT_STREQ(ov_pgettext("menu", "Open"),
               "\xC3\x96"
               "ffnen");
}

TEST_F(RealCatalogues, FallBackFromCountryToLanguage) {
  install("pl");
  start_with("pl_DE");

  EXPECT_STREQ(ov_locale_get(), "pl_DE");
  EXPECT_STREQ(ov_pgettext("Open"), "Otw\xC3\xB3rz");
}

TEST_F(RealCatalogues, AreReadBelowPathsOutsideAscii) {
  paths_.set_data(directory_.path() + "\\\xC3\x89t\xC3\xA9 \xE6\x98\xA0");
  directory_.write("\xC3\x89t\xC3\xA9 \xE6\x98\xA0/locale/pl/LC_MESSAGES/korvane.mo",
                   compiled("pl"));
  start_with("pl_PL");

  EXPECT_STREQ(ov_pgettext("Open"), "Otw\xC3\xB3rz");
}

TEST_F(RealCatalogues, AreNotNeededForALocaleWithAName) {
  const LogCapture log;
  write_languages("0:System Default:x\n");
  start_with("xx_YY@zz");

  EXPECT_STREQ(ov_locale_get(), "xx_YY@zz");
  const char* text = "Open";
  EXPECT_EQ(ov_pgettext(text), text);
  EXPECT_EQ(log.lines(), Lines{});
}

TEST_F(RealCatalogues, FollowTheUsersOwnLocaleByDefault) {
  const EnvironmentVariable variable("LC_CTYPE", "pl_PL.UTF-8");
  install("pl");
  write_languages("0:System Default:x\n2:Deutsch:de_DE\n");

  start_localisation();

  EXPECT_STREQ(ov_locale_get(), "pl_PL");
  EXPECT_STREQ(ov_pgettext("Open"), "Otw\xC3\xB3rz");
}

TEST_F(RealCatalogues, AreInTheProcessesLocaleUntilTheEnd) {
  const std::locale before;
  install("pl");
  start_with("pl_PL");
  EXPECT_TRUE(std::has_facet<boost::locale::message_format<char>>(std::locale()));
  EXPECT_TRUE(std::has_facet<boost::locale::message_format<wchar_t>>(std::locale()));

  stop_localisation();

  EXPECT_TRUE(std::locale() == before);
  const char* text = "Open";
  EXPECT_EQ(ov_pgettext(text), text);
}

TEST_F(RealCatalogues, LeaveALocaleAloneThatTheHostInstalled) {
  const GlobalLocaleKeeper keeper;
  install("pl");
  start_with("pl_PL");
  const std::locale own(std::locale::classic(), new std::numpunct<char>());
  std::locale::global(own);

  stop_localisation();

  EXPECT_TRUE(std::locale() == own);
}

TEST_F(RealCatalogues, AreThoseOfTheProcessesLocaleAtTheTimeOfTheCall) {
  const GlobalLocaleKeeper keeper;
  install("pl");
  start_with("pl_PL");
  const std::locale ours;
  const char* open = "Open";

  std::locale::global(std::locale::classic());
  EXPECT_EQ(ov_pgettext(open), open) << "a locale without texts";
  std::locale::global(std::locale(ours, new std::numpunct<char>()));
  EXPECT_STREQ(ov_pgettext(open), "Otw\xC3\xB3rz") << "another locale that has them";
  std::locale::global(ours);
  EXPECT_STREQ(ov_pgettext(open), "Otw\xC3\xB3rz");
}

TEST_F(RealCatalogues, LeaveTheHostsCLocaleAlone) {
  const CLocaleKeeper keeper;
  ASSERT_NE(std::setlocale(LC_ALL, ""), nullptr) << "the user's own";
  const std::string users = std::setlocale(LC_ALL, nullptr);
  ASSERT_NE(users, "C");
  install("pl");

  start_with("pl_PL");
  EXPECT_EQ(std::setlocale(LC_ALL, nullptr), users);
  stop_localisation();

  EXPECT_EQ(std::setlocale(LC_ALL, nullptr), users);
}

TEST_F(RealCatalogues, AnswerEightThreadsAtOnce) {
  constexpr int kThreads = 8;
  constexpr int kRounds = 5000;
  install("pl");
  start_with("pl_PL");
  const char* const miss = "Close";
  const char* const open = ov_pgettext("Open");
  const char* const state = ov_pgettext("state", "Open");
  test::Latch gate(kThreads);
  std::vector<int> wrong(kThreads, 0);
  std::vector<std::thread> threads;

  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      gate.arrive_and_wait();
      for (int round = 0; round < kRounds; ++round) {
        const bool is_right = ov_pgettext("Open") == open && ov_pgettext(miss) == miss &&
                              ov_pgettext("state", "Open") == state &&
                              std::string_view(ov_locale_get()) == "pl_PL";
        wrong[static_cast<std::size_t>(i)] += is_right ? 0 : 1;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }

  EXPECT_EQ(wrong, std::vector<int>(kThreads, 0));
}

class DamagedCatalogues : public RealCatalogues {
 protected:
  void expect_untranslated(std::string_view catalogue) {
    install("pl", catalogue);
    const LogCapture log;

    start_with("pl_PL");

    const char* text = "Open";
    EXPECT_STREQ(ov_locale_get(), "pl_PL");
    EXPECT_EQ(ov_pgettext(text), text);
    EXPECT_EQ(ov_pgettext("menu", text), text);
    EXPECT_EQ(log.lines(), Lines{});
  }
};

TEST_F(DamagedCatalogues, OfNoBytesCountAsAbsent) {
  expect_untranslated("");
}

TEST_F(DamagedCatalogues, OfGarbageCountAsAbsent) {
  expect_untranslated(std::string(1000, 'x'));
  expect_untranslated("\xDE\x12\x04\x95");
  expect_untranslated(std::string("\xDE\x12\x04\x95") + std::string(24, '\xFF'));
}

TEST_F(DamagedCatalogues, ThatWereCutShortCountAsAbsent) {
  const std::string whole = compiled("pl");
  for (std::size_t length = 1; length < whole.size(); length += whole.size() / 40) {
    SCOPED_TRACE(length);
    expect_untranslated(std::string_view(whole).substr(0, length));
  }
  expect_untranslated(std::string_view(whole).substr(0, whole.size() - 1));
}

TEST_F(DamagedCatalogues, LeadToTheMoreGeneralOne) {
  install("pl_PL", compiled("pl").substr(0, 100));
  install("pl");
  start_with("pl_PL");

  EXPECT_STREQ(ov_pgettext("Open"), "Otw\xC3\xB3rz");
}

TEST_F(DamagedCatalogues, WithoutACharacterSetLeaveTextsAlone) {
  CatalogueBuilder builder;
  builder.messages[0].second = "Language: pl\n";
  expect_untranslated(builder.bytes());
}

TEST_F(DamagedCatalogues, WithAnUnknownCharacterSetLeaveTextsAlone) {
  CatalogueBuilder builder;
  builder.messages[0].second = "Content-Type: text/plain; charset=nonsense\n";
  expect_untranslated(builder.bytes());
}

TEST_F(DamagedCatalogues, WithTheDeepestAcceptedPluralRuleAreSurvived) {
  CatalogueBuilder builder;
  builder.messages[0].second = "charset=UTF-8\nplural=" + std::string(512, '(') + ";\n";
  ASSERT_TRUE(is_sound_catalogue(builder.bytes()));
  install("pl", builder.bytes());

  start_with("pl_PL");

  EXPECT_STREQ(ov_locale_get(), "pl_PL");
}

// Single words of a real catalogue are overwritten: it is refused, or every lookup stays inside it.
TEST_F(DamagedCatalogues, NeverLeadOutsideTheirBytes) {
  constexpr unsigned kSeed = 20240305;
  constexpr int kRounds = 150;
  SCOPED_TRACE("seed " + std::to_string(kSeed));
  std::mt19937 random(kSeed);
  const std::string whole = compiled("pl");
  const std::uint32_t values[] = {
      0,          1,          2,          3,          0x7FFFFFFF,
      0x80000000, 0xFFFFFFFF, 0xFFFFFFF8, 0x01010101, static_cast<std::uint32_t>(whole.size())};
  for (int round = 0; round < kRounds; ++round) {
    const std::size_t offset = random() % (whole.size() / 4) * 4;
    const std::uint32_t value = values[random() % std::size(values)];
    SCOPED_TRACE("offset " + std::to_string(offset) + " value " + std::to_string(value));
    install("pl", CatalogueBuilder::with_word(whole, offset, value));

    start_with("pl_PL");

    EXPECT_STREQ(ov_locale_get(), "pl_PL");
    for (const char* text : {"Open", "%d frame", "Close",
                             "Gr\xC3\xB6\xC3\x9F"
                             "e"}) {
      EXPECT_NE(ov_pgettext(text), nullptr);
      EXPECT_NE(ov_pgettext("menu", text), nullptr);
    }
  }
}

}  // namespace
}  // namespace orsin
