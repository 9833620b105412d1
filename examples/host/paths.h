// Paths as people type them, made into the full paths with backslashes that the library expects.
#pragma once

#include <string>

namespace host {

/// The full path, with backslashes and without a trailing one; empty when it cannot be formed or
/// does not fit the library's 260 bytes.
std::string full_path(const std::string& typed);

/// The part after the last backslash.
std::string last_component(const std::string& path);

/// True when both names reach the same existing file, however they are spelled.
bool is_same_file(const std::string& a, const std::string& b);

/// Takes the read-only mark off a file, which would keep it from being deleted.
void make_writable(const std::string& path);

}  // namespace host
