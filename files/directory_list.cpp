// Directory lists: building, listing one directory, releasing.
//
// A record owns three arrays. `entries` owns the names; `files` and `dirs` point at them. A list
// whose memory ran short half-way is shorter, never broken.
#include "files/directory_list.h"

#include <bit>
#include <cstdlib>
#include <cstring>

#include "base/path_buffer.h"
#include "files/directory_enumeration.h"
#include "files/drive_list.h"
#include "files/name_cache.h"
#include "orsincore/log.h"
#include "orsincore/paths.h"

namespace orsin {
namespace {

constexpr int kInitialSlots = 1024;
constexpr int kInitialDirectories = 128;
constexpr int kDoublingLimit = 1024;
constexpr int kLinearStep = 128;
constexpr std::size_t kListedPathMax = 258;  // A path must leave room for a separator.

// The capacity grows linearly in the end; the block behind it goes on doubling, or a directory of
// 100,000 files would be copied hundreds of times.
std::size_t block_slots(int capacity) {
  const auto slots = static_cast<std::size_t>(capacity);
  return capacity <= kDoublingLimit ? slots : std::bit_ceil(slots);
}

// Makes room for one more element.
template <typename T>
bool ensure_slot(T*& array, int count, int& capacity, int initial) {
  if (count < capacity) {
    return true;
  }
  int grown = initial;
  if (capacity > 0) {
    grown = capacity < kDoublingLimit ? capacity * 2 : capacity + kLinearStep;
  }
  if (capacity == 0 || block_slots(grown) != block_slots(capacity)) {
    void* block = std::realloc(static_cast<void*>(array), block_slots(grown) * sizeof(T));
    if (block == nullptr) {
      msgerror("ALLOC ENSURE: Not enough memory..");
      return false;
    }
    array = static_cast<T*>(block);
  }
  capacity = grown;
  return true;
}

bool add_entry(dir_list& list, char* name, std::uint32_t stored_length,
               unsigned long long write_time, bool is_directory) {
  if (!ensure_slot(list.entries, list.entry_count, list.entry_capacity, kInitialSlots)) {
    NameReturn().give_back(name, stored_length);
    return false;
  }
  list.entries[list.entry_count++] = {name, write_time, stored_length,
                                      static_cast<unsigned char>(is_directory ? 1 : 0)};
  return true;
}

bool is_drive(const PathBuffer& path) {
  return path.length() == 2 && path.c_str()[1] == ':';
}

// What is listed instead of something that is no directory.
void cut_to_parent(PathBuffer& path) {
  const std::size_t separator = path.view().find_last_of("/\\");
  if (separator != std::string_view::npos && separator >= 2) {
    path.truncate(separator);
  } else {
    path.cut_assign(file_get_data());
  }
}

ListingEnd read_directory(dir_list& list) {
  DirectoryEnumeration enumeration(list.path);
  if (!enumeration.has_started()) {
    msgwarn("ERROR: Can't open directory: '%s'\n", list.path);
    return ListingEnd::kNotOpened;
  }
  bool has_all = true;
  while (const FoundEntry* entry = enumeration.next()) {
    const bool is_added = is_directory(*entry)
                              ? add_directory(list, entry->name, "", entry->write_time)
                              : add_file(list, entry->name, entry->write_time);
    has_all = has_all && is_added;
  }
  return has_all && !enumeration.has_broken_off() ? ListingEnd::kWhole : ListingEnd::kBrokenOff;
}

}  // namespace

UniqueList make_list() {
  return UniqueList(static_cast<dir_list*>(std::calloc(1, sizeof(dir_list))));
}

void prepare_listing() {
  start_name_cache();
  load_universal_names();
}

bool add_file(dir_list& list, const char* name, unsigned long long write_time) {
  const auto length = static_cast<std::uint32_t>(std::strlen(name));
  char* copy = take_name(length);
  if (copy == nullptr) {
    return false;
  }
  std::memcpy(copy, name, length + 1);
  if (!add_entry(list, copy, length, write_time, false) ||
      !ensure_slot(list.files, list.file_count, list.file_capacity, kInitialSlots)) {
    return false;
  }
  list.files[list.file_count++] = copy;
  return true;
}

bool add_directory(dir_list& list, const char* name, const char* label,
                   unsigned long long write_time) {
  const std::size_t name_bytes = std::strlen(name) + 1;
  const std::size_t label_length = std::strlen(label);
  const auto stored_length = static_cast<std::uint32_t>(name_bytes + label_length);
  char* copy = take_name(stored_length);
  if (copy == nullptr) {
    return false;
  }
  std::memcpy(copy, name, name_bytes);
  std::memcpy(copy + name_bytes, label, label_length + 1);
  if (!add_entry(list, copy, stored_length, write_time, true) ||
      !ensure_slot(list.dirs, list.dir_count, list.dir_capacity, kInitialDirectories)) {
    return false;
  }
  list.dirs[list.dir_count++] = copy;
  return true;
}

UniqueList list_directory(const char* path, int sort, ListingEnd& end) {
  UniqueList list = make_list();
  if (!list) {
    end = ListingEnd::kNotOpened;
    return list;
  }
  const PathBuffer listed{std::string_view(path)};
  std::memcpy(list->path, listed.c_str(), listed.length() + 1);
  prepare_listing();
  end = read_directory(*list);
  flist_sort(list.get(), sort);
  return list;
}

}  // namespace orsin

using namespace orsin;

dir_list* flist_new(const char* path, int sort) {
  if (path == nullptr) {
    return nullptr;
  }
  const std::size_t length = std::strlen(path);
  if (length >= kListedPathMax) {
    return nullptr;
  }
  if (length == 0 || std::strcmp(path, "\\") == 0) {
    return flist_mountp(false);
  }
  PathBuffer listed(path);
  if (length >= 2 && listed.ends_in_separator()) {
    listed.truncate(length - 1);
  }
  if (!is_drive(listed) && file_is_directory(listed.c_str()) == 0) {
    cut_to_parent(listed);
  }
  ListingEnd end = ListingEnd::kWhole;
  return list_directory(listed.c_str(), sort, end).release();
}

void flist_delete(dir_list* list) {
  if (list == nullptr) {
    return;
  }
  std::free(list->files);
  std::free(list->dirs);
  {
    NameReturn names;
    for (int i = list->entry_count - 1; i >= 0; --i) {
      names.give_back(list->entries[i].name, list->entries[i].stored_length);
    }
  }
  std::free(list->entries);
  std::free(list);
}

void flist_flushcache() {
  flush_name_cache();
}
