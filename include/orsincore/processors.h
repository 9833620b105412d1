/// @file
/// The processors as start-up found them, and the floating-point unit's mode.
#pragma once

#include "orsincore/base.h"

/// Copies what start-up found out about the processors. Null for what is not wanted.
///
/// @param count     Physical cores.
/// @param ht_count  Logical processors.
/// @param name      At least 128 bytes.
/// @param features  Bits: 0x1 MMX, 0x2 SSE, 0x4 SSE2, 0x8 SSE3, 0x10 SSSE3, 0x20 SSE4.1, 0x40
///        SSE4.2, 0x80 AVX, 0x100 FMA.
/// @param ht_state  0 not capable of hyper-threading, 1 enabled, 2 disabled; 0xFFFFFFFF before
///        start-up.
/// @return 1.
ORSIN_API int ov_cpu_info(unsigned int* count, unsigned int* ht_count, char* name,
                          unsigned int* features, unsigned int* ht_state);

/// The asked feature bits that the processor has.
ORSIN_API unsigned int ov_cpu_support_feature(unsigned int mask);

/// Kind 0: physical cores. Any other kind: logical processors.
ORSIN_API int mp_get_numcpu(int kind);

/// The index itself when there is such a core, else -1.
ORSIN_API int mp_cpu_id(int index);

/// Records the calling thread's floating-point mode as the library's, once; reports its precision.
///
/// @param report_change  Also reports a precision other than 64 bits as changed, though the mode
///        itself stays.
ORSIN_API void fpu_setup(bool report_change);

/// Puts denormal control, exception mask and rounding of the calling thread back to the recorded
/// mode; precision stays.
ORSIN_API void fpu_default_mode();

/// True when the calling thread's mode is the recorded one; otherwise restores it as
/// fpu_default_mode() does and returns false.
ORSIN_API bool fpu_check();
