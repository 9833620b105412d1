// The list of directories in which settings are looked for: "C:\Data\Settings;$HOME$\korvane;..."
//
// Entries end with ";". Inside an entry, "$NAME$" stands for the value of an environment variable;
// the second "$" may be missing before ";" or the end of the list.
#pragma once

#include <cstddef>

#include "base/path_buffer.h"

namespace orsin {

/// Walks a list once. Not copied while walking: the list must outlive the walker.
class SearchListWalker {
 public:
  explicit SearchListWalker(const char* list) : rest_(list) {}

  /// The next entry that is not empty, cut to 259 bytes. False at the end.
  /// A variable that does not exist writes a debug line and adds nothing.
  [[nodiscard]] bool next(PathBuffer& entry);

 private:
  void read_entry(PathBuffer& entry);
  void read_variable(PathBuffer& entry);

  const char* rest_;
};

}  // namespace orsin
