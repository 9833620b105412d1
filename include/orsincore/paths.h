/// @file
/// Where the program and its files are. Set by start-up; empty before it.
#pragma once

#include <cstddef>

#include "orsincore/base.h"

ORSIN_API const char* file_get_code();              ///< Where the program is installed.
ORSIN_API const char* file_get_data();              ///< Where its settings and logs live.
ORSIN_API const char* file_get_default_settings();  ///< The settings it was installed with.
ORSIN_API const char* file_get_logfile();           ///< The log; empty on standard error.

/// Copies the program's path, at most `size` bytes. False when it is empty.
ORSIN_API bool ov_modulename(char* destination, int size);
