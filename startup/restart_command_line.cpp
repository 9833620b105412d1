// The command line of a successor: the arguments of this process and "-restart".
#include "startup/restart.h"

namespace orsin {

// Kept on purpose: the path is not quoted, so a program in a folder with blanks may see the path's
// first word as its name, and its arguments further back. Required.
std::wstring successor_command_line(std::wstring_view module_path, std::wstring_view command_line) {
  std::wstring line(module_path);
  const std::size_t arguments = command_line.find(L" -");
  if (arguments != std::wstring_view::npos) {
    line += command_line.substr(arguments);
  }
  return line + L" -restart";
}

}  // namespace orsin
