// A destination that never looks whole before it is: the data goes to "NAME.partial" beside it, and
// only commit() puts that in place of what was there. Where a file is called so already, the data
// goes to "NAME.partial(1)", and so on.
#pragma once

#include <string>

namespace host {

class GuardedFile {
 public:
  explicit GuardedFile(std::string destination);
  ~GuardedFile();  // Removes what was not committed.
  GuardedFile(const GuardedFile&) = delete;
  GuardedFile& operator=(const GuardedFile&) = delete;

  [[nodiscard]] const std::string& destination() const { return destination_; }
  [[nodiscard]] const std::string& partial() const { return partial_; }

  /// Puts the finished file in place, replacing an existing destination. On failure the old file is
  /// back in its place, or still there: when it is read-only, for one.
  [[nodiscard]] bool commit();

 private:
  std::string destination_;
  std::string partial_;
};

}  // namespace host
