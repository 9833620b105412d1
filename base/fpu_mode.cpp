// The library's floating-point mode: recorded once at start-up, restored in every thread and after
// foreign code was loaded.
#include "base/fpu_mode.h"

#include <cstdint>

#include "base/processor_port.h"
#include "orsincore/log.h"
#include "orsincore/processors.h"

namespace orsin {
namespace {

constexpr std::uint32_t kPrecisionField = 0x30000;
constexpr std::uint32_t kRestoredFields = 0x308031F;  // Denormals, exception mask, rounding.

constinit std::uint32_t saved_mode = 0;  // 0: none recorded.

}  // namespace

void forget_fpu_mode() {
  saved_mode = 0;
}

}  // namespace orsin

using namespace orsin;

void fpu_setup(bool report_change) {
  if (saved_mode != 0) {
    return;
  }
  const std::uint32_t control = port::read_fpu_control();
  const std::uint32_t precision = control & kPrecisionField;
  if (precision == 0) {
    msgcont("FPU : Precision 64 bits");
  } else if (precision == 0x10000) {
    msgcont("FPU : Precision 53 bits");
  } else if (precision == 0x20000) {
    msgcont("FPU : Precision 24 bits");
  }
  // Kept on purpose: the line announces a change that nothing here makes; the precision of this
  // platform cannot be changed.
  if (report_change && precision != 0) {
    msgcont("    : Changed to 64 bits");
  }
  saved_mode = control;
}

void fpu_default_mode() {
  if (saved_mode != 0) {
    port::write_fpu_control(saved_mode, kRestoredFields);
  }
}

// Kept on purpose: a difference in the precision field alone is reported by every call, because the
// restored fields leave it out.
bool fpu_check() {
  if (port::read_fpu_control() == saved_mode) {
    return true;
  }
  fpu_default_mode();
  return false;
}
