// Directory lists.
//
// `entries` owns the names; `files` and `dirs` point at them. The names live in the shared name cache
// or on the heap, by their stored length alone, so that flist_delete() knows where to give them back.
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "files/directories.h"
#include "files/directory_port.h"
#include "files/merge_sort.h"
#include "files/name_cache.h"
#include "files/name_order.h"
#include "files/wildcard.h"
#include "orsincore/files.h"
#include "orsincore/log.h"
#include "orsincore/startup.h"

namespace orsin {
namespace {

static_assert(offsetof(dir_list, entry_count) == 260);
static_assert(offsetof(dir_list, entries) == 272);
static_assert(offsetof(dir_list, file_count) == 280);
static_assert(offsetof(dir_list, files) == 288);
static_assert(offsetof(dir_list, dir_count) == 296);
static_assert(offsetof(dir_list, dirs) == 304);
static_assert(offsetof(dir_list_entry, write_time) == 8);
static_assert(offsetof(dir_list_entry, stored_length) == 16);
static_assert(offsetof(dir_list_entry, is_directory) == 20);

constexpr int kEntriesInitial = 1024;
constexpr int kDirectoriesInitial = 128;
constexpr std::size_t kListedPathMax = 257;  // Room for a separator and a terminator.

// Room for one more element; false after an error line, with the array as it was.
template <typename T>
bool ensure_room(T*& elements, int count, int& capacity, int initial) {
  if (count < capacity) {
    return true;
  }
  int wanted = capacity == 0 ? initial : capacity;
  while (wanted <= count) {
    wanted = wanted < 1024 ? wanted * 2 : wanted + 128;
  }
  void* grown =
      std::realloc(static_cast<void*>(elements), static_cast<std::size_t>(wanted) * sizeof(T));
  if (grown == nullptr) {
    msgerror("ALLOC ENSURE: Not enough memory..");
    return false;
  }
  elements = static_cast<T*>(grown);
  capacity = wanted;
  return true;
}

// Stores a name (and, for directories and drives, a label behind its terminator). Null when memory
// is short.
char* add_entry(dir_list& list, const char* name, const char* label, std::uint64_t write_time) {
  const std::size_t name_length = std::strlen(name);
  const std::size_t label_length = label != nullptr ? std::strlen(label) + 1 : 0;
  const auto stored_length = static_cast<unsigned int>(name_length + label_length);
  if (!ensure_room(list.entries, list.entry_count, list.entry_capacity, kEntriesInitial)) {
    return nullptr;
  }
  char* stored = name_cache::take(stored_length);
  if (stored == nullptr) {
    msgerror("ALLOC ENSURE: Not enough memory..");
    return nullptr;
  }
  std::memcpy(stored, name, name_length + 1);
  if (label != nullptr) {
    std::memcpy(stored + name_length + 1, label, label_length);
  }
  list.entries[list.entry_count++] = {stored, write_time, stored_length,
                                      static_cast<unsigned char>(label != nullptr ? 1 : 0)};
  return stored;
}

void add_file(dir_list& list, const char* name, std::uint64_t write_time) {
  char* stored = add_entry(list, name, nullptr, write_time);
  if (stored != nullptr &&
      ensure_room(list.files, list.file_count, list.file_capacity, kEntriesInitial)) {
    list.files[list.file_count++] = stored;
  }
}

void add_directory(dir_list& list, const char* name, const char* label, std::uint64_t write_time) {
  char* stored = add_entry(list, name, label, write_time);
  if (stored != nullptr &&
      ensure_room(list.dirs, list.dir_count, list.dir_capacity, kDirectoriesInitial)) {
    list.dirs[list.dir_count++] = stored;
  }
}

bool is_walked(const char* directory_name) {
  return std::strcmp(directory_name, ".") != 0 && std::strncmp(directory_name, "..", 2) != 0;
}

bool is_separator(char c) {
  return c == '\\' || c == '/';
}

void write_pattern(const char* directory, char* pattern, std::size_t size) {
  const std::size_t length = std::strlen(directory);
  const bool has_separator = length > 0 && is_separator(directory[length - 1]);
  std::snprintf(pattern, size, "%s%s*.*", directory, has_separator ? "" : "\\");
}

dir_list* new_list() {
  return static_cast<dir_list*>(std::calloc(1, sizeof(dir_list)));
}

void prepare_first_listing() {
  name_cache::start();
  port::prepare_network_names();
}

// Cuts a path that is no directory back to its parent; false when it names none.
bool cut_to_parent(char* path) {
  std::size_t length = std::strlen(path);
  while (length > 0 && !is_separator(path[length - 1])) {
    path[--length] = '\0';
  }
  constexpr std::size_t kSeparatorMin = 3;  // Behind a drive and its colon.
  if (length < kSeparatorMin) {
    return false;
  }
  path[length - 1] = '\0';
  return true;
}

void resolve_path(const char* path, char* resolved) {
  std::snprintf(resolved, kPathBytes, "%s", path);
  const std::size_t length = std::strlen(resolved);
  const bool is_drive = length == 2 && resolved[1] == ':';
  if (length >= 2 && is_separator(resolved[length - 1])) {
    resolved[length - 1] = '\0';
  }
  const bool is_root = std::strlen(resolved) == 2 && resolved[1] == ':';
  if (is_drive || is_root || file_is_directory(resolved) != 0) {
    return;
  }
  if (!cut_to_parent(resolved)) {
    std::snprintf(resolved, kPathBytes, "%s", file_get_data());
  }
}

void fill(dir_list& list) {
  char pattern[kPathBytes + 8];
  write_pattern(list.path, pattern, sizeof(pattern));
  port::DirectoryWalk walk(pattern);
  if (!walk.started()) {
    msgwarn("ERROR: Can't open directory: '%s'\n", list.path);
    return;
  }
  port::FoundEntry found;
  while (walk.next(found)) {
    if (!found.is_directory) {
      add_file(list, found.name, found.write_time);
    } else if (is_walked(found.name)) {
      add_directory(list, found.name, "", found.write_time);
    }
  }
}

// A name with its extension looked up once: a sort compares each name many times.
struct SortedName {
  char* name;
  const char* extension;
};

void sort_files(dir_list& list) {
  const auto count = static_cast<std::size_t>(list.file_count);
  auto* names = static_cast<SortedName*>(std::malloc(count * sizeof(SortedName)));
  if (names == nullptr) {
    msgerror("ALLOC ENSURE: Not enough memory..");
    return;
  }
  for (std::size_t i = 0; i < count; ++i) {
    names[i] = {list.files[i], extension_of(list.files[i])};
  }
  const bool sorted = merge_sort(names, count, [](const SortedName& a, const SortedName& b) {
    return compare_names(a.name, a.extension, b.name, b.extension);
  });
  for (std::size_t i = 0; sorted && i < count; ++i) {
    list.files[i] = names[i].name;
  }
  std::free(names);
}

int compare_entries(const dir_list_entry& a, const dir_list_entry& b) {
  if (a.is_directory != b.is_directory) {
    return b.is_directory - a.is_directory;
  }
  if (a.write_time != b.write_time) {
    return a.write_time < b.write_time ? -1 : 1;
  }
  return a.is_directory != 0 ? compare_ignoring_case(a.name, b.name) : file_namecmp(a.name, b.name);
}

void add_drive(void* context, const char* name, const char* label) {
  add_directory(*static_cast<dir_list*>(context), name, label, 0);
}

// Stores the matching files of one directory and of those below it; returns how many.
int find_files(dir_list& list, const char* directory, const char* pattern, bool recursive,
               bool case_sensitive) {
  if (std::strlen(directory) > 258) {
    return 0;
  }
  char search[kPathBytes + 8];
  write_pattern(directory, search, sizeof(search));
  int found_count = 0;
  int subdirectories = 0;
  char path[kPathBytes];
  port::FoundEntry found;
  {
    port::DirectoryWalk walk(search);
    if (!walk.started()) {
      msgwarn("ERROR: Find, can't open directory: '%s'\n", directory);
      return 0;
    }
    while (walk.next(found)) {
      if (found.is_directory) {
        subdirectories += is_walked(found.name) ? 1 : 0;
        continue;
      }
      const int length = std::snprintf(path, sizeof(path), "%s\\%s", directory, found.name);
      if (length < static_cast<int>(sizeof(path)) &&
          matches_wildcard(found.name, pattern, case_sensitive)) {
        add_file(list, path, found.write_time);
        ++found_count;
      }
    }
  }
  if (!recursive || subdirectories == 0) {
    return found_count;
  }
  port::DirectoryWalk walk(search);
  while (walk.next(found)) {
    const int length = std::snprintf(path, sizeof(path), "%s\\%s", directory, found.name);
    if (found.is_directory && is_walked(found.name) && length < static_cast<int>(sizeof(path))) {
      found_count += find_files(list, path, pattern, true, case_sensitive);
    }
  }
  return found_count;
}

}  // namespace
}  // namespace orsin

using namespace orsin;

dir_list* flist_new(const char* path, int sort) {
  if (std::strlen(path) > kListedPathMax) {
    return nullptr;
  }
  if (*path == '\0' || std::strcmp(path, "\\") == 0) {
    return flist_mountp(false);
  }
  dir_list* list = new_list();
  if (list == nullptr) {
    return nullptr;
  }
  resolve_path(path, list->path);
  prepare_first_listing();
  fill(*list);
  flist_sort(list, sort);
  return list;
}

dir_list* flist_findfiles(const char* dir, const char* pattern, bool recursive,
                          unsigned int flags) {
  if (std::strlen(dir) >= kPathBytes) {
    return nullptr;
  }
  dir_list* list = new_list();
  if (list == nullptr) {
    return nullptr;
  }
  std::snprintf(list->path, sizeof(list->path), "%s", dir);
  const std::size_t length = std::strlen(list->path);
  if (length > 1 && is_separator(list->path[length - 1])) {
    list->path[length - 1] = '\0';
  }
  prepare_first_listing();
  if (find_files(*list, list->path, pattern, recursive, (flags & 1) != 0) == 0) {
    flist_delete(list);
    return nullptr;
  }
  return list;
}

dir_list* flist_mountp(bool name_is_label) {
  dir_list* list = new_list();
  if (list == nullptr) {
    return nullptr;
  }
  prepare_first_listing();
  if (!port::for_each_drive(name_is_label, add_drive, list) || list->dir_count == 0) {
    flist_delete(list);
    return nullptr;
  }
  return list;
}

// Kept on purpose: entries are sorted only where there are at least two files or two directories;
// one of each stays as found.
void flist_sort(dir_list* list, int sort) {
  if (list == nullptr || sort == 0) {
    return;
  }
  bool sorted = true;
  if (sort == 1) {
    if (list->file_count > 1) {
      sort_files(*list);
    }
    sorted =
        merge_sort(list->dirs, static_cast<std::size_t>(list->dir_count), compare_ignoring_case);
  } else if (list->file_count > 1 || list->dir_count > 1) {
    sorted =
        merge_sort(list->entries, static_cast<std::size_t>(list->entry_count), compare_entries);
  }
  if (!sorted) {
    msgerror("ALLOC ENSURE: Not enough memory..");
  }
}

void flist_delete(dir_list* list) {
  if (list == nullptr) {
    return;
  }
  std::free(static_cast<void*>(list->files));
  std::free(static_cast<void*>(list->dirs));
  for (int i = list->entry_count - 1; i >= 0; --i) {
    name_cache::give_back(list->entries[i].name, list->entries[i].stored_length);
  }
  std::free(list->entries);
  std::free(list);
}

void flist_flushcache() {
  name_cache::flush();
}
