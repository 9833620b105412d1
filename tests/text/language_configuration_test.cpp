#include "text/language_configuration.h"

#include <gtest/gtest.h>

#include <string>

namespace orsin {
namespace {

TEST(LanguageConfiguration, ChoosesTheWordBehindTheKey) {
  const std::string blank(251, ' ');
  struct Case {
    const char* what;
    std::string text;
    std::string language;
  };
  const Case cases[] = {
      {"nothing", "", ""},
      {"one line", "language=fr_FR", "fr_FR"},
      {"two carriage returns and a line feed", "language=fr_FR\r\r\n", "fr_FR"},
      {"comments and empty lines before it", "#\r\n# language=xx\n\n\nlanguage=de\n", "de"},
      {"the first of two", "language=a\nlanguage=b\n", "a"},
      {"blanks before the key", "  \n   language=a\n", "a"},
      {"a tab before the key", "\tlanguage=a\n", ""},
      {"blanks before the word", "language= \t a b\n", "a"},
      {"a word on the next line", "language=\na\n", ""},
      {"a line without a word, then one with", "language=\r\nlanguage=a\r\n", "a"},
      {"other lines before it", "speech=a\nx\n\r\nlanguage=b\n", "b"},
      {"another case", "Language=a\nLANGUAGE=b\n", ""},
      {"a blank inside the key", "language =a\n", ""},
      {"a modifier", "language=sr_RS@latin\n", "sr_RS@latin"},
      {"a word cut by the length of a line", "language=" + std::string(300, 'x'),
       std::string(246, 'x')},
      {"a key at the place where a long line is cut", std::string(255, 'x') + "language=a\n", "a"},
      {"a key behind the place where a long line is cut", std::string(256, 'x') + "language=a\n",
       ""},
      {"a key that the cut divides", blank + "language=a\n", ""},
      {"a NUL ends the line", std::string("language=a\0b\n", 13), "a"},
      {"a NUL hides the line", std::string("\0language=a\nlanguage=b\n", 23), "b"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(configured_language(c.text), c.language);
  }
}

TEST(LanguageConfiguration, ReadsWhatIsWritten) {
  char text[512];
  std::snprintf(text, sizeof(text), kLanguageConfigurationFormat, "sr_RS@latin");

  EXPECT_EQ(configured_language(text), "sr_RS@latin");
}

}  // namespace
}  // namespace orsin
