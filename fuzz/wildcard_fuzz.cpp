// The wildcard matcher against the naive one that tries every position.
//
// Input: one byte of flags, then the pattern, a NUL, the name.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "files/wildcard.h"
#include "tests/files/naive_wildcard.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kLengthMax = 14;  // The naive matcher is exponential.
  if (size == 0) {
    return 0;
  }
  const bool case_sensitive = (data[0] & 1) != 0;
  const std::string input(reinterpret_cast<const char*>(data + 1), size - 1);
  const std::string pattern = input.c_str();
  const std::string name = pattern.size() < input.size() ? input.c_str() + pattern.size() + 1 : "";

  const bool matches = orsin::matches_wildcard(name.c_str(), pattern.c_str(), case_sensitive);

  if (pattern.size() <= kLengthMax && name.size() <= kLengthMax &&
      matches != orsin::test::naive_matches(name.c_str(), pattern.c_str(), case_sensitive)) {
    std::abort();
  }
  return 0;
}
