// What a second instance hands to the first: the command line without the program.
#include <cstring>

#include "startup/instance.h"

namespace orsin {

// Kept on purpose: the program's name ends at the first blank, even inside quotes. A quoted path with
// a blank leaves its rest in front of the arguments. Required.
const char* arguments_of(const char* command_line) {
  if (command_line == nullptr) {
    return "";
  }
  const char* text = command_line + std::strspn(command_line, " \"");
  text += std::strcspn(text, " \"");
  return text + std::strspn(text, " \"");
}

}  // namespace orsin
