// Names of users' things turned into names of files.
#include "orsincore/files.h"

namespace {

// Kept on purpose: byte 31 and the asterisk are not replaced, though file names cannot hold them.
// Required.
bool is_replaced(char byte) {
  if (byte >= 1 && byte <= 30) {
    return true;
  }
  switch (byte) {
    case '?':
    case '~':
    case '<':
    case '>':
    case ':':
    case '"':
    case '/':
    case '\\':
    case '|':
      return true;
    default:
      return false;
  }
}

}  // namespace

int ov_copy_valid_filename(char* out, const char* name, int size) {
  if (out == nullptr) {
    return 0;
  }
  int taken = 0;
  if (name != nullptr) {
    while (name[taken] != '\0') {
      out[taken] = is_replaced(name[taken]) ? '_' : name[taken];
      ++taken;
      if (taken == size) {
        out[taken - 1] = '\0';  // The last byte taken makes room for the terminator.
        return taken;
      }
    }
  }
  out[taken] = '\0';
  return taken;
}
