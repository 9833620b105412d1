// The end of a file name.
#include <cstring>

#include "files/ascii_case.h"
#include "orsincore/files.h"

using namespace orsin;

const char* file_extension(const char* path, const char* ext) {
  if (path == nullptr || ext == nullptr) {
    return nullptr;
  }
  const char* separator = std::strrchr(path, '\\');
  const char* component = separator != nullptr ? separator : path;
  const std::size_t length = std::strlen(component);
  const std::size_t ext_length = std::strlen(ext);
  if (ext_length > length) {
    return nullptr;
  }
  const char* tail = component + length - ext_length;
  return compare_folded(tail, ext) == 0 ? tail : nullptr;
}

char* file_extension(char* path, const char* ext) {
  return const_cast<char*>(file_extension(static_cast<const char*>(path), ext));
}
