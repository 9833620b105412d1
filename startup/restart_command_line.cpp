// The command line of a successor: the arguments of this process and "-restart".
#include "startup/restart.h"

namespace orsin {

// Kept on purpose: the path is not quoted; the line's form is given. In a folder with blanks the
// system tries what ends at each blank in turn, and may start another program of such a name.
std::wstring successor_command_line(std::wstring_view module_path, std::wstring_view command_line) {
  std::wstring line(module_path);
  const std::size_t arguments = command_line.find(L" -");
  if (arguments != std::wstring_view::npos) {
    line += command_line.substr(arguments);
  }
  return line + L" -restart";
}

}  // namespace orsin
