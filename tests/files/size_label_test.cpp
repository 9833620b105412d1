#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include "orsincore/files.h"

namespace orsin {
namespace {

std::string label(float bytes) {
  char text[64] = {};
  EXPECT_TRUE(file_size_label(bytes, text, sizeof(text)));
  return text;
}

TEST(SizeLabel, NamesTheLargestUnitThatLeavesOneOrMore) {
  struct Case {
    float bytes;
    const char* expected;
  };
  const Case cases[] = {
      {0.0F, "0 B"},
      {1.0F, "1 B"},
      {1023.0F, "1023 B"},
      {1024.0F, "1 KB"},
      {1536.0F, "1.5 KB"},
      {1048576.0F, "1 MB"},
      {1572864.0F, "1.5 MB"},
      {1073741824.0F, "1 GB"},
      {1099511627776.0F, "1 TB"},
      {1125899906842624.0F, "1 PB"},
      {1152921504606846976.0F, "1 EB"},
      {0.5F, "0.5 B"},
      {-5.0F, "-5 B"},
      {1000000.0F, "976.6 KB"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.expected);

    EXPECT_EQ(label(c.bytes), c.expected);
  }
}

TEST(SizeLabel, StaysInTheLastUnitBeyondIt) {
  EXPECT_EQ(label(1152921504606846976.0F * 1024.0F), "1024 EB");
  EXPECT_EQ(label(1152921504606846976.0F * 2048.0F), "2048 EB");
  EXPECT_EQ(label(std::ldexp(1.0F, 60 + 31)), "2147483648.0 EB");  // No int holds it.
  EXPECT_EQ(label(std::numeric_limits<float>::infinity()), "inf EB");
  EXPECT_EQ(label(std::numeric_limits<float>::max()), "295147887587166781440.0 EB");
}

TEST(SizeLabel, IsCutToFit) {
  char text[6] = "xxxxx";

  EXPECT_TRUE(file_size_label(1536.0F, text, 5));
  EXPECT_STREQ(text, "1.5 ");
  EXPECT_TRUE(file_size_label(1536.0F, text, 0));
  EXPECT_TRUE(file_size_label(1536.0F, text, -1));
  EXPECT_STREQ(text, "1.5 ");
  EXPECT_TRUE(file_size_label(1536.0F, text, 1));
  EXPECT_STREQ(text, "");
}

TEST(SizeLabel, ReadsANumberFromText) {
  char text[32] = "untouched";

  EXPECT_FALSE(file_size_label(static_cast<const char*>(nullptr), text, sizeof(text)));
  EXPECT_FALSE(file_size_label("", text, sizeof(text)));
  EXPECT_STREQ(text, "untouched");

  EXPECT_TRUE(file_size_label("1536", text, sizeof(text)));
  EXPECT_STREQ(text, "1.5 KB");
  EXPECT_TRUE(file_size_label("no number", text, sizeof(text)));
  EXPECT_STREQ(text, "0 B");
}

std::string designation(unsigned long long bytes) {
  char text[32] = {};
  EXPECT_TRUE(ov_byte_size_designation(bytes, text));
  return text;
}

TEST(SizeDesignation, NamesEachUnitUpTo1024OfIt) {
  struct Case {
    unsigned long long bytes;
    const char* expected;
  };
  const Case cases[] = {
      {0, "0 Kb"},
      {511, "0 Kb"},
      {1024, "1 Kb"},
      {1048576, "1024 Kb"},
      {1048577, "1 Mb"},
      {2097152, "2 Mb"},
      {1073741824, "1024 Mb"},
      {1073741825, "1.0 Gb"},
      {1610612736, "1.5 Gb"},
      {1099511627776, "1024.0 Gb"},
      {1099511627777, "1.00 Tb"},
      {1649267441664, "1.50 Tb"},
      {std::numeric_limits<unsigned long long>::max(), "16777216.00 Tb"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.bytes);

    EXPECT_EQ(designation(c.bytes), c.expected);
  }
}

}  // namespace
}  // namespace orsin
