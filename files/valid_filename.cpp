// Names made safe for the file system.
#include <cstring>

#include "orsincore/files.h"

namespace {

// Kept on purpose: byte 31 and the asterisk pass. Names with them exist in old projects and must
// map to themselves.
bool is_replaced(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return (byte >= 1 && byte <= 30) || std::strchr("?~<>:\"/\\|", c) != nullptr;
}

}  // namespace

int ov_copy_valid_filename(char* out, const char* name, int size) {
  int taken = 0;
  for (; name != nullptr && name[taken] != '\0' && (size <= 0 || taken < size); ++taken) {
    out[taken] = is_replaced(name[taken]) ? '_' : name[taken];
  }
  if (size > 0 && taken == size) {
    out[size - 1] = '\0';
  } else {
    out[taken] = '\0';
  }
  return taken;
}
