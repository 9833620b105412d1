// Who has which file open; see open_files.h.
#include "tests/platform/native/open_files.h"

#include <algorithm>

#include "tests/platform/file_rules.h"

namespace orsin::test {

OpenFiles& open_files() {
  static OpenFiles files;
  return files;
}

bool OpenFiles::admit_locked(const struct stat& status, const port::OpenMode& mode) const {
  return std::none_of(opened_.begin(), opened_.end(), [&](const auto& entry) {
    return entry.second.is(status) && !platform::may_share(entry.second.mode, mode);
  });
}

bool OpenFiles::admit(const struct stat& status, const port::OpenMode& mode) const {
  const std::lock_guard guard(mutex_);
  return admit_locked(status, mode);
}

bool OpenFiles::add(int descriptor, const port::OpenMode& mode) {
  struct stat status;
  const std::lock_guard guard(mutex_);
  if (::fstat(descriptor, &status) != 0 || !admit_locked(status, mode)) {
    return false;
  }
  opened_[descriptor] = {status.st_dev, status.st_ino, mode};
  return true;
}

void OpenFiles::remove(int descriptor) {
  const std::lock_guard guard(mutex_);
  opened_.erase(descriptor);
}

bool OpenFiles::contains(const struct stat& status) const {
  const std::lock_guard guard(mutex_);
  return std::any_of(opened_.begin(), opened_.end(),
                     [&](const auto& entry) { return entry.second.is(status); });
}

}  // namespace orsin::test
