#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "orsincore/text.h"

namespace orsin {
namespace {

class Xxh64 : public testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(ov_XXH64_freeState(state_), 0); }
  XXH64_state_s* state_ = ov_XXH64_createState();
};

TEST_F(Xxh64, GivesThePublishedDigests) {
  EXPECT_EQ(ov_XXH64_reset(state_, 0), 0);
  EXPECT_EQ(ov_XXH64_digest(state_), 0xEF46DB3751D8E999ULL);
  EXPECT_EQ(ov_XXH64_update(state_, "abc", 3), 0);
  EXPECT_EQ(ov_XXH64_digest(state_), 0x44BC2CF5AD770999ULL);
}

TEST_F(Xxh64, TakesASeed) {
  ov_XXH64_reset(state_, 0);
  const unsigned long long unseeded = ov_XXH64_digest(state_);

  ov_XXH64_reset(state_, 7);

  EXPECT_NE(ov_XXH64_digest(state_), unseeded);
}

// Large pieces take another way through the state than small ones.
TEST_F(Xxh64, DoesNotDependOnHowTheMessageIsCut) {
  std::string text(10000, '\0');
  for (std::size_t i = 0; i < text.size(); ++i) {
    text[i] = static_cast<char>(i * 7 + i / 256);
  }
  ov_XXH64_reset(state_, 7);
  ov_XXH64_update(state_, text.data(), text.size());
  const unsigned long long whole = ov_XXH64_digest(state_);

  for (const std::size_t piece : {1U, 31U, 100U, 1023U, 1024U, 1025U, 4999U}) {
    SCOPED_TRACE(piece);
    ov_XXH64_reset(state_, 7);
    for (std::size_t at = 0; at < text.size(); at += piece) {
      const std::size_t bytes = std::min(piece, text.size() - at);
      EXPECT_EQ(ov_XXH64_update(state_, text.data() + at, bytes), 0);
    }
    EXPECT_EQ(ov_XXH64_digest(state_), whole);
  }
}

TEST_F(Xxh64, CopiesAndComparesStates) {
  XXH64_state_s* other = ov_XXH64_createState();
  ov_XXH64_reset(state_, 1);
  ov_XXH64_update(state_, "abc", 3);

  ov_XXH64_copyState(other, state_);
  EXPECT_EQ(ov_XXH64_compareState(other, state_), 0);
  ov_XXH64_update(other, "d", 1);
  const int order = ov_XXH64_compareState(other, state_);
  EXPECT_NE(order, 0);
  EXPECT_EQ(ov_XXH64_compareState(state_, other) < 0, order > 0);

  ov_XXH64_freeState(other);
}

}  // namespace
}  // namespace orsin
