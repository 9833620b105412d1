// Arguments written so that a C program reads them back from its command line as they were.
//
// Windows hands a process one line of text and leaves the splitting to its run-time library. The
// run-time library's spawn functions only join arguments with blanks, so they come out split, or
// without their quotes, unless each is written in the splitter's own language first.
#pragma once

#include <string>
#include <string_view>

namespace orsin {

/// An argument after the program's name.
///
/// Left as it is where that is enough. Otherwise in quotes, with a backslash before each quote of
/// its own and backslashes doubled where a quote follows.
std::string quoted_argument(std::string_view argument);

/// The program's name, for which backslashes mean nothing and quotes cannot be written: they are
/// left out.
std::string quoted_program_name(std::string_view name);

}  // namespace orsin
