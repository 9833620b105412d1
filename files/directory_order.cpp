// Sorting a directory list.
#include <cstdlib>
#include <memory>
#include <new>

#include "files/ascii_case.h"
#include "files/merge_sort.h"
#include "files/name_order.h"
#include "orsincore/files.h"

namespace orsin {
namespace {

constexpr int kUnsorted = 0;
constexpr int kByName = 1;

void sort_files(char** files, int file_count) {
  const auto count = static_cast<std::size_t>(file_count);
  const std::unique_ptr<NameKey[]> keys(new (std::nothrow) NameKey[count]);
  if (!keys) {
    merge_sort(files, count, [](const char* a, const char* b) { return file_namecmp(a, b); });
    return;
  }
  for (std::size_t i = 0; i < count; ++i) {
    keys[i] = make_name_key(files[i]);
  }
  merge_sort(keys.get(), count, compare_names);
  for (std::size_t i = 0; i < count; ++i) {
    files[i] = const_cast<char*>(keys[i].name);  // It came from this very array.
  }
}

void sort_directories(char** dirs, int dir_count) {
  merge_sort(dirs, static_cast<std::size_t>(dir_count),
             [](const char* a, const char* b) { return compare_folded(a, b); });
}

// Directories first, then older ones, then by name.
int compare_entries(const dir_list_entry& a, const dir_list_entry& b) {
  if (a.is_directory != b.is_directory) {
    return a.is_directory != 0 ? -1 : 1;
  }
  if (a.write_time != b.write_time) {
    return a.write_time < b.write_time ? -1 : 1;
  }
  return a.is_directory != 0 ? compare_folded(a.name, b.name) : file_namecmp(a.name, b.name);
}

void sort_by_name(dir_list& list) {
  if (list.file_count > 1) {
    sort_files(list.files, list.file_count);
  }
  if (list.dir_count > 1) {
    sort_directories(list.dirs, list.dir_count);
  }
}

void sort_by_time(dir_list& list) {
  // Kept on purpose: one file beside one directory stays as found. Required.
  if (list.file_count > 1 || list.dir_count > 1) {
    merge_sort(list.entries, static_cast<std::size_t>(list.entry_count), compare_entries);
  }
}

}  // namespace
}  // namespace orsin

void flist_sort(dir_list* list, int sort) {
  if (list == nullptr || sort == orsin::kUnsorted) {
    return;
  }
  if (sort == orsin::kByName) {
    orsin::sort_by_name(*list);
  } else {
    orsin::sort_by_time(*list);
  }
}
