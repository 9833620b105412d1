// Who has which file open in builds without Windows, so that sharing is enforced there, too: POSIX would
// let anybody open, rename and remove what others have open.
//
// Files that the ports open; those of the C library's streams are not known here.
#pragma once

#include <sys/stat.h>

#include <map>
#include <mutex>

#include "files/io_port.h"

namespace orsin::test {

class OpenFiles {
 public:
  /// Whether the file may be opened so beside those who have it open.
  [[nodiscard]] bool admit(const struct stat& status, const port::OpenMode& mode) const;

  /// Notes it down if it may; `descriptor` is the file's.
  [[nodiscard]] bool add(int descriptor, const port::OpenMode& mode);
  void remove(int descriptor);

  /// A file that is open is neither renamed nor removed: nobody leaves that to others.
  [[nodiscard]] bool contains(const struct stat& status) const;

 private:
  struct Opened {
    dev_t device;
    ino_t index;
    port::OpenMode mode;
    [[nodiscard]] bool is(const struct stat& status) const {
      return device == status.st_dev && index == status.st_ino;
    }
  };
  [[nodiscard]] bool admit_locked(const struct stat& status, const port::OpenMode& mode) const;

  mutable std::mutex mutex_;
  std::map<int, Opened> opened_;  // By descriptor.
};

OpenFiles& open_files();

}  // namespace orsin::test
