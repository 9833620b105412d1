// Finding the files below a directory whose names match a pattern.
#include <cstring>

#include "base/path_buffer.h"
#include "files/directory_enumeration.h"
#include "files/directory_identity.h"
#include "files/directory_list.h"
#include "files/wildcard.h"
#include "orsincore/files.h"
#include "orsincore/log.h"

namespace orsin {
namespace {

constexpr unsigned kCaseSensitive = 1;         // Bit 0 of the flags.
constexpr std::size_t kSearchedPathMax = 258;  // A longer directory finds nothing.

struct Search {
  dir_list& list;
  const char* pattern;
  bool recursive;
  bool case_sensitive;
};

int search_directory(const Search& search, std::string_view directory);

// How deep this goes is bounded by the length of a path.
int search_subdirectories(const Search& search, const PathBuffer& directory) {
  int found = 0;
  DirectoryEnumeration enumeration(directory.c_str());
  PathBuffer path;
  while (const FoundEntry* entry = enumeration.next()) {
    // What a link to a directory above holds is searched from there.
    if (is_directory(*entry) && join_path(path, directory.view(), entry->name) &&
        !leads_back(path.c_str(), entry->attributes)) {
      found += search_directory(search, path.view());
    }
  }
  return found;
}

int search_directory(const Search& search, std::string_view directory) {
  if (directory.size() > kSearchedPathMax) {
    return 0;
  }
  const PathBuffer path(directory);
  int found = 0;
  int subdirectories = 0;
  {
    DirectoryEnumeration enumeration(path.c_str());
    if (!enumeration.has_started()) {
      msgwarn("ERROR: Find, can't open directory: '%s'\n", path.c_str());
      return 0;
    }
    PathBuffer file;
    while (const FoundEntry* entry = enumeration.next()) {
      if (is_directory(*entry)) {
        ++subdirectories;
      } else if (matches_wildcard(entry->name, search.pattern, search.case_sensitive) &&
                 join_path(file, path.view(), entry->name) &&
                 add_file(search.list, file.c_str(), entry->write_time)) {
        ++found;
      }
    }
  }
  if (search.recursive && subdirectories > 0) {
    found += search_subdirectories(search, path);
  }
  return found;
}

}  // namespace
}  // namespace orsin

using namespace orsin;

dir_list* flist_findfiles(const char* dir, const char* pattern, bool recursive,
                          unsigned int flags) {
  if (!fits_path(dir) || pattern == nullptr) {
    return nullptr;
  }
  UniqueList list = make_list();
  if (!list) {
    return nullptr;
  }
  PathBuffer path(dir);
  if (path.length() > 1 && path.ends_in_separator()) {
    path.truncate(path.length() - 1);
  }
  std::memcpy(list->path, path.c_str(), path.length() + 1);
  prepare_listing();
  const Search search{*list, pattern, recursive, (flags & kCaseSensitive) != 0};
  return search_directory(search, path.view()) > 0 ? list.release() : nullptr;
}
