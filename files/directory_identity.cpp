// Which directory a path leads to; see directory_identity.h.
#include "files/directory_identity.h"

#include <optional>

#include "base/path_buffer.h"
#include "files/ascii_case.h"
#include "files/file_system_port.h"

namespace orsin {
namespace {

constexpr std::uint32_t kNameSurrogate = 0x20000000;  // Of a tag: it stands for another place.

using Identity = std::optional<port::DirectoryIdentity>;

Identity identity_of(const char* path) {
  port::DirectoryIdentity identity;
  // Index 0 is no directory's: the file system does not give any.
  return port::read_identity(path, identity) && identity.index != 0 ? Identity(identity)
                                                                    : std::nullopt;
}

bool is_separator(char c) {
  return c == '\\' || c == '/';
}

// From a directory to the one that contains it; false at the root.
bool cut_to_container(PathBuffer& path) {
  const std::string_view view = path.view();
  std::size_t length = view.size();
  while (length > 0 && is_separator(view[length - 1])) {
    --length;
  }
  const std::size_t separator = view.substr(0, length).find_last_of("\\/");
  if (length == 0 || separator == std::string_view::npos) {
    return false;
  }
  // "C:" would be the drive's current directory, and "" none at all.
  const bool is_root = separator == 0 || view[separator - 1] == ':';
  path.truncate(is_root ? separator + 1 : separator);
  return true;
}

// What the system makes of a path: absolute, without dots; the path itself where it makes nothing.
PathBuffer full_path(const char* path) {
  char text[kPathBytes];
  return PathBuffer(port::full_path(path, text, sizeof(text)) ? text : path);
}

bool is_spelled_in(std::string_view path, std::string_view directory) {
  while (!directory.empty() && is_separator(directory.back())) {
    directory.remove_suffix(1);
  }
  if (path.size() < directory.size()) {
    return false;
  }
  for (std::size_t i = 0; i < directory.size(); ++i) {
    const bool is_same = is_separator(path[i]) ? is_separator(directory[i])
                                               : fold_case(path[i]) == fold_case(directory[i]);
    if (!is_same) {
      return false;
    }
  }
  return path.size() == directory.size() || is_separator(path[directory.size()]);
}

bool is_in_chain(PathBuffer path, const port::DirectoryIdentity& wanted) {
  do {
    if (identity_of(path.c_str()) == wanted) {
      return true;
    }
  } while (cut_to_container(path));
  return false;
}

// As the path goes, and as it really is where links in it lead elsewhere.
bool goes_through(const PathBuffer& path, const port::DirectoryIdentity& wanted) {
  PathBuffer existing = path;
  port::DirectoryIdentity any;
  while (!port::read_identity(existing.c_str(), any)) {
    if (!cut_to_container(existing)) {
      return false;
    }
  }
  char real[kPathBytes];
  return is_in_chain(existing, wanted) || (port::final_path(existing.c_str(), real, sizeof(real)) &&
                                           is_in_chain(PathBuffer(real), wanted));
}

}  // namespace

bool is_directory_link(const char* path) {
  if (!fits_path(path)) {
    return false;
  }
  // With a separator behind it some systems answer for the link's target.
  PathBuffer link{std::string_view(path)};
  while (link.length() > 1 && link.ends_in_separator()) {
    link.truncate(link.length() - 1);
  }
  constexpr std::uint32_t kBoth = port::kDirectory | port::kReparsePoint;
  std::uint32_t attributes = 0;
  if (!port::read_attributes(link.c_str(), attributes) || (attributes & kBoth) != kBoth) {
    return false;
  }
  // Not knowing is a reason not to enter.
  std::uint32_t tag = 0;
  return !port::read_reparse_tag(link.c_str(), tag) || tag == 0 || (tag & kNameSurrogate) != 0;
}

bool lies_in(const char* path, const char* directory) {
  const PathBuffer full = full_path(path);
  if (is_spelled_in(full.view(), full_path(directory).view())) {
    return true;
  }
  const Identity wanted = identity_of(directory);
  return wanted && goes_through(full, *wanted);
}

bool leads_back(const char* entry, std::uint32_t attributes) {
  if ((attributes & port::kReparsePoint) == 0) {
    return false;
  }
  const Identity wanted = identity_of(entry);
  PathBuffer container = full_path(entry);
  return wanted && cut_to_container(container) && goes_through(container, *wanted);
}

bool leads_back(const char* entry) {
  std::uint32_t attributes = 0;
  return port::read_attributes(entry, attributes) && leads_back(entry, attributes);
}

}  // namespace orsin
