#include "text/locale_name.h"

#include <gtest/gtest.h>

namespace orsin {
namespace {

TEST(LocaleName, IsAskedForWithItsEncoding) {
  EXPECT_EQ(utf8_locale_name("fr_FR"), "fr_FR.UTF-8");
  EXPECT_EQ(utf8_locale_name("he"), "he.UTF-8");
  EXPECT_EQ(utf8_locale_name("sr_RS@latin"), "sr_RS.UTF-8@latin");
  EXPECT_EQ(utf8_locale_name("a@b@c"), "a.UTF-8@b@c");
  EXPECT_EQ(utf8_locale_name("@"), ".UTF-8@");
}

TEST(LocaleName, StaysEmptyForTheUsersOwnLocale) {
  EXPECT_EQ(utf8_locale_name(""), "");
}

TEST(LocaleName, IsShownWithoutTheEncoding) {
  EXPECT_EQ(shown_locale_name({"de", "DE", ""}), "de_DE");
  EXPECT_EQ(shown_locale_name({"sr", "RS", "latin"}), "sr_RS@latin");
  EXPECT_EQ(shown_locale_name({"sr", "", "latin"}), "sr@latin");
  EXPECT_EQ(shown_locale_name({"eo", "", ""}), "eo");
}

}  // namespace
}  // namespace orsin
