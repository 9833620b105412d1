// What the native system can enumerate directories with, and how it was asked to.
#pragma once

#include <string>

namespace orsin::test {

struct FakeEnumeration {
  bool has_fast_form = true;
  bool is_watched = false;  // Only then are the forms noted, as tests with threads list, too.
  std::string forms;        // "fast plain ", in the order of the starts.
};

FakeEnumeration& fake_enumeration();

}  // namespace orsin::test
