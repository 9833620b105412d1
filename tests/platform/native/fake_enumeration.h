// What the native system can enumerate directories with, and how it was asked to, and
// where it breaks off.
#pragma once

#include <cstdint>
#include <string>

namespace orsin::test {

struct FakeEnumeration {
  bool has_fast_form = true;
  bool is_watched = false;  // Only then are the forms noted, as tests with threads list, too.
  std::string forms;        // "fast plain ", in the order of the starts.

  std::string breaks_off_at;  // The name that no enumeration comes beyond; empty for none.
  std::string refuses;        // The name of a directory that cannot be opened; empty for none.
  std::uint32_t error = 64;   // Why: the network name is not there any more.
};

FakeEnumeration& fake_enumeration();

/// Enumerations that work again when the test ends.
class EnumerationScope {
 public:
  EnumerationScope() = default;
  ~EnumerationScope() { fake_enumeration() = {}; }
  EnumerationScope(const EnumerationScope&) = delete;
  EnumerationScope& operator=(const EnumerationScope&) = delete;

  FakeEnumeration* operator->() const { return &fake_enumeration(); }
};

}  // namespace orsin::test
