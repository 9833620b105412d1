// Rotating numbered copies of a file: app.log, app.1.log, app.2.log ...
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "files/directories.h"
#include "files/file_system_port.h"
#include "orsincore/files.h"
#include "orsincore/log.h"

namespace orsin {
namespace {

// Kept on purpose: the last dot anywhere splits the path, also one in a directory's name, and a name
// without a dot gets numbers with a lone dot behind them.
class NumberedName {
 public:
  explicit NumberedName(const char* path) {
    std::snprintf(path_, sizeof(path_), "%s", path);
    std::snprintf(base_, sizeof(base_), "%s", path);
    char* dot = std::strrchr(base_, '.');
    extension_ = dot != nullptr ? path_ + (dot - base_) + 1 : "";
    if (dot != nullptr) {
      *dot = '\0';
    }
  }

  // The file itself for 0.
  void write(int number, char* name) const {
    if (number == 0) {
      std::snprintf(name, kPathBytes, "%s", path_);
    } else {
      std::snprintf(name, kPathBytes, "%s.%d.%s", base_, number, extension_);
    }
  }

 private:
  char path_[kPathBytes];
  char base_[kPathBytes];
  const char* extension_;
};

bool rename_step(const char* from, const char* to) {
  char directory[kPathBytes];
  return *from != '\0' && *to != '\0' && std::strcmp(from, to) != 0 &&
         directory_part(to, directory) && ensure_directory_exists(directory) &&
         port::rename_file(from, to);
}

void step(const char* from, const char* to) {
  if (file_exists(to) != 0 && file_delete(to) != 0) {
    msgerror("F-BK: Failed to remove...(%s)", std::strerror(errno));
    msgcont("File: '%s'", to);
  }
  errno = 0;
  if (!rename_step(from, to)) {
    msgerror("F-BK: Failed to rename...(%s)", std::strerror(errno));
    msgcont("File: '%s'", from);
  }
}

}  // namespace
}  // namespace orsin

using namespace orsin;

int file_backup(const char* path, int generations) {
  const NumberedName name(path);
  int steps = 0;
  for (int i = generations - 1; i >= 0; --i) {
    char from[kPathBytes];
    char to[kPathBytes];
    name.write(i, from);
    name.write(i + 1, to);
    if (file_exists(from) != 0) {
      step(from, to);
      ++steps;
    }
  }
  return steps;
}
