#include <gtest/gtest.h>

#include <cstdint>
#include <memory>

#include "orsincore/threads.h"

namespace orsin {
namespace {

TEST(FaultException, CarriesCodeAndPointersThroughCopies) {
  auto* pointers = reinterpret_cast<_EXCEPTION_POINTERS*>(std::uintptr_t{64});
  auto original = std::make_unique<SE_Exception>(7, pointers);
  SE_Exception assigned(1, nullptr);

  const SE_Exception copy(*original);
  assigned = *original;
  original.reset();

  EXPECT_EQ(copy.getSeNumber(), 7U);
  EXPECT_EQ(copy.getSePointers(), pointers);
  EXPECT_EQ(assigned.getSeNumber(), 7U);
  EXPECT_EQ(assigned.getSePointers(), pointers);
}

}  // namespace
}  // namespace orsin
