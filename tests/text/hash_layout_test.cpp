// Hosts allocate hash contexts themselves: their layout never changes.
#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

#include "orsincore/text.h"

static_assert(std::is_trivially_copyable_v<md5_state_s>);
static_assert(offsetof(md5_state_s, count) == 0);
static_assert(offsetof(md5_state_s, abcd) == 8);
static_assert(offsetof(md5_state_s, buf) == 24);
static_assert(sizeof(md5_state_s) == 88);

static_assert(std::is_trivially_copyable_v<SHA1Context>);
static_assert(offsetof(SHA1Context, Message_Digest) == 0);
static_assert(offsetof(SHA1Context, Length_Low) == 20);
static_assert(offsetof(SHA1Context, Length_High) == 24);
static_assert(offsetof(SHA1Context, Message_Block) == 28);
static_assert(offsetof(SHA1Context, Message_Block_Index) == 92);
static_assert(offsetof(SHA1Context, Computed) == 96);
static_assert(offsetof(SHA1Context, Corrupted) == 100);
static_assert(sizeof(SHA1Context) == 104);

TEST(HashLayout, IsPinnedAtCompileTime) {
  SUCCEED();
}
