// The floating-point mode on the processor itself.
#include <gtest/gtest.h>

#include <cfloat>

#include "base/fpu_mode.h"
#include "orsincore/startup.h"

namespace orsin {
namespace {

class ProcessorsFpuMode : public testing::Test {
 protected:
  ProcessorsFpuMode() {
    forget_fpu_mode();
    fpu_setup(false);
  }
  ~ProcessorsFpuMode() override {
    fpu_default_mode();
    forget_fpu_mode();
  }
};

TEST_F(ProcessorsFpuMode, IsUnchangedRightAfterItWasRecorded) {
  EXPECT_TRUE(fpu_check());
}

TEST_F(ProcessorsFpuMode, GetsItsRoundingBack) {
  _controlfp(_RC_CHOP, _MCW_RC);

  EXPECT_FALSE(fpu_check());

  EXPECT_TRUE(fpu_check());
  EXPECT_EQ(_controlfp(0, 0) & _MCW_RC, static_cast<unsigned>(_RC_NEAR));
}

TEST_F(ProcessorsFpuMode, GetsItsExceptionMaskBack) {
  constexpr unsigned kZeroDivide = 0x8;
  constexpr unsigned kOverflow = 0x4;
  constexpr unsigned kDenormal = 0x80000;
  for (const unsigned exception : {kZeroDivide, kOverflow, kDenormal}) {
    SCOPED_TRACE(exception);
    _control87(0, exception);

    EXPECT_FALSE(fpu_check());

    EXPECT_TRUE(fpu_check());
  }
}

TEST_F(ProcessorsFpuMode, GetsItsDenormalControlBack) {
  constexpr unsigned kFlushDenormals = 0x01000000;
  constexpr unsigned kDenormalControl = 0x03000000;
  _controlfp(kFlushDenormals, kDenormalControl);

  EXPECT_FALSE(fpu_check());

  EXPECT_TRUE(fpu_check());
}

}  // namespace
}  // namespace orsin
