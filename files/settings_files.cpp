// Answers the rooms below that look for their settings; see base/settings_port.h.
#include "base/settings_port.h"

#include "orsincore/files.h"

namespace orsin::port {

bool find_settings_file(const char* name, char* path) noexcept {
  return file_find(name, path) != 0;
}

bool place_settings_file(const char* directory, const char* name, char* path) noexcept {
  return file_ensure_directory(directory, name, path) != nullptr;
}

bool is_settings_directory(const char* path) noexcept {
  return file_is_directory(path) != 0;
}

}  // namespace orsin::port
