// Conversions from and to the wide strings of Windows.
#include <gtest/gtest.h>

#include <string>

#include "orsincore/text.h"

namespace orsin {
namespace {

TEST(WideTexts, AreConvertedBothWays) {
  wchar_t wide[32];
  char narrow[32];

  EXPECT_EQ(ov_utf8_to_wchar_n("Schnitt fünf", wide, 32), wide);
  EXPECT_EQ(ov_wchar_to_utf8(wide, narrow, sizeof(narrow)), narrow);

  EXPECT_EQ(std::wstring(wide), L"Schnitt f\u00fcnf");
  EXPECT_STREQ(narrow, "Schnitt fünf");
}

TEST(WideTexts, CountUnitsOrBytesAsTheirNameSays) {
  wchar_t units[] = L"##########";
  wchar_t bytes[] = L"##########";

  ov_utf8_to_wchar_n("abcdefgh", units, 6);
  ov_utf8_to_wchar_s("abcdefgh", bytes, 6);

  EXPECT_EQ(std::wstring(units), L"abcde");
  EXPECT_EQ(std::wstring(bytes), L"ab");
  EXPECT_EQ(bytes[3], L'#') << "6 bytes are three units";
}

TEST(WideTexts, MayStandInByteArrays) {
  char source[] = {'a', 0, 'b', 0, 0, 0};
  char narrow[8];
  char wide[8];

  EXPECT_STREQ(ov_utf16_to_utf8(source, narrow, sizeof(narrow)), "ab");
  EXPECT_EQ(std::string(ov_utf8_to_utf16("ab", wide, sizeof(wide)), 6), std::string(source, 6));
}

}  // namespace
}  // namespace orsin
