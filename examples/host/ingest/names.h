// Which names of a card can be written again elsewhere, letter by letter.
//
// A card may come from a camera, a recorder or another system that allows names which Windows would
// quietly change (a full stop at the end is dropped) or send to a device (AUX). Such a copy would
// not be found under its name again, so these names are refused beforehand.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace host::ingest {

constexpr std::size_t kPathBytesMax = 259;  // The library's limit, without the terminator.

/// Why this name of a file or a directory cannot be taken, for a person; empty when it can.
std::string name_problem(std::string_view name);

/// A path in the form in which two names that a volume cannot tell apart are equal: ASCII letters
/// in lower case. A clash of other letters shows when the second file is to take its name.
std::string folded(std::string_view path);

/// The path with slashes, as manifests have it, and back.
std::string with_slashes(std::string path);
std::string with_backslashes(std::string path);

}  // namespace host::ingest
