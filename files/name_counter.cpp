// Numbering names: "Take", "Take(1)", "Take(2)".
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "orsincore/files.h"

namespace orsin {
namespace {

constexpr std::size_t kSuffixBytes = 14;  // Two brackets, a sign, ten digits, the terminator.

// The number behind the opening bracket plus one; beyond the largest it goes on with the smallest,
// so that whoever looks for a free name always gets another one.
int next_count(const char* number) {
  return static_cast<int>(static_cast<unsigned int>(std::atoi(number)) + 1U);
}

}  // namespace
}  // namespace orsin

using namespace orsin;

bool ov_increment_suffix(char* name, bool square) {
  if (name == nullptr) {
    return false;
  }
  const char opening = square ? '[' : '(';
  const char closing = square ? ']' : ')';
  char* suffix = name + std::strlen(name);
  int count = 1;
  if (suffix != name && suffix[-1] == closing) {
    if (char* bracket = std::strrchr(name, opening)) {
      count = next_count(bracket + 1);
      suffix = bracket;
    }
  }
  std::snprintf(suffix, kSuffixBytes, "%c%d%c", opening, count, closing);
  return true;
}
