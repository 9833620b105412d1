#include "examples/host/guarded_file.h"

#include <utility>

#include "orsincore/files.h"

namespace host {

GuardedFile::GuardedFile(std::string destination)
    : destination_(std::move(destination)), partial_(destination_ + ".partial") {}

GuardedFile::~GuardedFile() {
  if (file_exists(partial_.c_str()) != 0) {
    file_delete(partial_.c_str());
  }
}

bool GuardedFile::commit() {
  const std::string replaced = destination_ + ".replaced";
  const bool replaces = file_exists(destination_.c_str()) != 0;
  if (replaces && file_move(destination_.c_str(), replaced.c_str(), false) != 0) {
    return false;
  }
  if (file_move(partial_.c_str(), destination_.c_str(), false) != 0) {
    if (replaces) {
      file_move(replaced.c_str(), destination_.c_str(), false);
    }
    return false;
  }
  return !replaces || file_delete(replaced.c_str()) == 0;
}

}  // namespace host
