// File name patterns.
#pragma once

namespace orsin {

/// Whether a whole name matches a pattern: "?" any byte, "*" any run, "[a-z5]" a set, a backslash
/// takes the next byte as it is. Letters A to Z match in either case unless `case_sensitive`.
[[nodiscard]] bool matches_wildcard(const char* name, const char* pattern, bool case_sensitive);

}  // namespace orsin
