// Matching a file name against a pattern of wildcards.
//
//   ?        any one byte
//   *        any run of bytes, none included
//   [a-z5]   one byte of a set of bytes and ranges; a range may be written backwards
//   \x       the byte x itself, also inside a set
//
// A pattern with a broken set (empty, without its "]", a range without its end) or with a backslash
// at its end matches nothing. There is no negation. Names and patterns are bytes: "?" takes one
// byte of a multi-byte character. Plain function, any thread.
#pragma once

namespace orsin {

/// @param case_sensitive  False folds A to Z on both sides, set ranges included.
[[nodiscard]] bool matches_wildcard(const char* name, const char* pattern, bool case_sensitive);

}  // namespace orsin
