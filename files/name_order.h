// The order of file names as people number them; file_namecmp() is its public face.
#pragma once

namespace orsin {

/// Where a name's extension starts, at its last dot; null without one.
[[nodiscard]] const char* extension_of(const char* name);

/// file_namecmp() for names whose extensions are known already.
[[nodiscard]] int compare_names(const char* a, const char* a_extension, const char* b,
                                const char* b_extension);

/// Byte by byte with the letters A to Z folded.
[[nodiscard]] int compare_ignoring_case(const char* a, const char* b);

}  // namespace orsin
