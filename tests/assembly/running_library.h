// The library, started for the whole run of the tests in a folder of their own:
//
//   App\bin64\           the program's folder, as the library is told
//   App\Settings\        its default settings
//   App\$ORSIN_...$\     see kChoice
//   Data\Settings\       the user's settings, with memory.cfg; Data\Settings\logs\ holds the log
#pragma once

#include <string>

#include "tests/support/temporary_directory.h"

namespace orsin::test {

/// An environment variable that the program's folder names between "$" signs; its value is "chosen".
constexpr char kChoice[] = "ORSIN_TEST_CHOICE";

/// How many executor workers the command line asks for.
constexpr int kWorkers = 3;

/// The folder of this run.
const TemporaryDirectory& run_directory();

/// The log so far. Tests tell their lines apart by their texts.
std::string run_log();

/// The line of the log that contains `text`, without its end; empty when there is none.
std::string log_line_with(const std::string& text);

}  // namespace orsin::test
