#include "examples/host/guarded_file.h"

#include <utility>
#include <vector>

#include "examples/host/paths.h"
#include "orsincore/files.h"

namespace host {
namespace {

// The name, numbered if a file has it already: nobody's file is written over.
std::string free_name(const std::string& wanted) {
  constexpr std::size_t kNumberBytes = 14;  // Brackets, digits and the terminator.
  std::vector<char> name(wanted.begin(), wanted.end());
  name.resize(wanted.size() + kNumberBytes);
  while (file_exists(name.data()) != 0) {
    ov_increment_suffix(name.data(), false);
  }
  return name.data();
}

}  // namespace

GuardedFile::GuardedFile(std::string destination)
    : destination_(std::move(destination)), partial_(free_name(destination_ + ".partial")) {}

GuardedFile::~GuardedFile() {
  if (file_exists(partial_.c_str()) != 0) {
    make_writable(partial_);  // A copy of a read-only file is one, too.
    file_delete(partial_.c_str());
  }
}

bool GuardedFile::commit() {
  const char* const name = destination_.c_str();
  if (file_exists(name) == 0) {
    return file_move(partial_.c_str(), name, false) == 0;
  }
  const std::string replaced = free_name(destination_ + ".replaced");
  if (file_move(name, replaced.c_str(), false) != 0) {
    return false;
  }
  const bool is_placed = file_move(partial_.c_str(), name, false) == 0;
  if (is_placed && file_delete(replaced.c_str()) == 0) {
    return true;
  }
  // The old file cannot go: it is read-only, or somebody has it open. So it stays.
  if (is_placed) {
    file_move(name, partial_.c_str(), false);
  }
  file_move(replaced.c_str(), name, false);
  return false;
}

}  // namespace host
