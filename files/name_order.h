// The order of file names in lists, numbers by their value.
//
// The relation looks at extensions first: two names that both have one, and different ones, compare
// byte by byte without regard to case; all others compare with runs of digits as numbers. That is
// not transitive:
//
//   f9.wav < f10.wav      (9 < 10)
//   f10.wav < f9.mov      ('1' < '9')
//   f9.mov < f9.wav       ('m' < 'w')
//
// so only merge_sort.h may sort by it. Plain functions, any thread.
#pragma once

#include <cstdint>

namespace orsin {

/// A name with what every comparison would have to find anew.
struct NameKey {
  const char* name;
  const char* extension;         // From the last "."; null without one.
  std::uint64_t extension_head;  // The extension's first 8 bytes, zero after its end.
};

[[nodiscard]] NameKey make_name_key(const char* name);

/// file_namecmp() of two prepared names.
[[nodiscard]] int compare_names(const NameKey& a, const NameKey& b);

}  // namespace orsin
