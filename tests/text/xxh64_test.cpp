#include <gtest/gtest.h>

#include <string>

#include "orsincore/text.h"

namespace orsin {
namespace {

class Xxh64 : public testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ(ov_XXH64_freeState(state_), 0); }
  XXH64_state_s* state_ = ov_XXH64_createState();
};

TEST_F(Xxh64, GivesThePublishedDigestOfNothing) {
  EXPECT_EQ(ov_XXH64_reset(state_, 0), 0);
  EXPECT_EQ(ov_XXH64_digest(state_), 0xEF46DB3751D8E999ULL);
}

TEST_F(Xxh64, DoesNotDependOnHowTheMessageIsCut) {
  const std::string text(1000, 'q');
  ov_XXH64_reset(state_, 7);
  ov_XXH64_update(state_, text.data(), text.size());
  const unsigned long long whole = ov_XXH64_digest(state_);

  ov_XXH64_reset(state_, 7);
  for (std::size_t at = 0; at < text.size(); at += 100) {
    EXPECT_EQ(ov_XXH64_update(state_, text.data() + at, 100), 0);
  }

  EXPECT_EQ(ov_XXH64_digest(state_), whole);
}

TEST_F(Xxh64, CopiesAndComparesStates) {
  XXH64_state_s* other = ov_XXH64_createState();
  ov_XXH64_reset(state_, 1);
  ov_XXH64_update(state_, "abc", 3);

  ov_XXH64_copyState(other, state_);
  EXPECT_EQ(ov_XXH64_compareState(other, state_), 0);
  ov_XXH64_update(other, "d", 1);
  EXPECT_NE(ov_XXH64_compareState(other, state_), 0);

  ov_XXH64_freeState(other);
}

}  // namespace
}  // namespace orsin
