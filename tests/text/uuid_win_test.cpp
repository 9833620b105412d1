#include <gtest/gtest.h>

#include <cctype>
#include <cstring>
#include <string>

#include "orsincore/text.h"

namespace orsin {
namespace {

TEST(Uuid, HasThirtySixCharactersAndPadding) {
  char text[64];
  std::memset(text, 'x', sizeof(text));

  ASSERT_EQ(ov_create_uuid(text), text);

  ASSERT_EQ(std::strlen(text), 36U);
  for (int i = 0; i < 36; ++i) {
    const bool is_hyphen = i == 8 || i == 13 || i == 18 || i == 23;
    EXPECT_TRUE(is_hyphen ? text[i] == '-'
                          : std::isxdigit(static_cast<unsigned char>(text[i])) != 0 &&
                                std::isupper(static_cast<unsigned char>(text[i])) == 0)
        << text;
  }
  EXPECT_EQ(std::string(text + 36, 28), std::string(28, '\0'));
}

TEST(Uuid, IsNewEachTime) {
  char first[64];
  char second[64];
  ov_create_uuid(first);
  ov_create_uuid(second);
  EXPECT_STRNE(first, second);
}

TEST(Uuid, IsNotMadeForNobody) {
  EXPECT_EQ(ov_create_uuid(nullptr), nullptr);
}

}  // namespace
}  // namespace orsin
