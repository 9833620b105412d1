// "list": the entries of a directory, numbers in names ordered by their value.
#include <cstdio>
#include <memory>
#include <string>

#include "examples/host/command.h"
#include "examples/host/paths.h"
#include "orsincore/files.h"

namespace host {
namespace {

struct ListDeleter {
  void operator()(dir_list* list) const { flist_delete(list); }
};

constexpr int kSortByName = 1;
constexpr int kSortByTime = 2;

void print_entry(const std::string& directory, const char* name, bool is_directory) {
  const std::string path = directory + (directory.back() == '\\' ? "" : "\\") + name;
  char modified[64] = "-";
  const bool is_known = file_get_mod_date_str(path.c_str(), modified, sizeof(modified), 1);
  const std::string size =
      is_known && !is_directory ? std::to_string(file_size(path.c_str())) : "-";
  std::printf("%c %15s  %-20s  %s\n", is_directory ? 'd' : 'f', size.c_str(), modified, name);
}

void print_by_name(const dir_list& list, const std::string& directory) {
  for (int i = 0; i < list.dir_count; ++i) {
    print_entry(directory, list.dirs[i], true);
  }
  for (int i = 0; i < list.file_count; ++i) {
    print_entry(directory, list.files[i], false);
  }
}

void print_by_time(const dir_list& list, const std::string& directory) {
  for (int i = 0; i < list.entry_count; ++i) {
    print_entry(directory, list.entries[i].name, list.entries[i].is_directory != 0);
  }
}

int list(const Arguments& arguments) {
  int sort = kSortByName;
  std::string typed;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    if (arguments[i] == "--sort") {
      const std::string order = ++i < arguments.size() ? arguments[i] : std::string();
      if (order != "time" && order != "name") {
        return bad_usage(kListCommand, "--sort takes 'name' or 'time'");
      }
      sort = order == "time" ? kSortByTime : kSortByName;
    } else if (arguments[i].starts_with('-') || !typed.empty()) {
      return bad_usage(kListCommand, "unexpected " + arguments[i]);
    } else {
      typed = arguments[i];
    }
  }
  if (typed.empty()) {
    return bad_usage(kListCommand, "needs a directory");
  }

  const FastLibrary library;
  const std::string directory = full_path(typed);
  if (directory.empty() || file_is_directory(directory.c_str()) == 0) {
    return fail("no such directory: " + typed);
  }
  const std::unique_ptr<dir_list, ListDeleter> entries(flist_new(directory.c_str(), sort));
  if (entries == nullptr) {
    return fail("cannot list " + typed);
  }
  if (sort == kSortByTime) {
    print_by_time(*entries, directory);
  } else {
    print_by_name(*entries, directory);
  }
  return kDone;
}

}  // namespace

const Command kListCommand = {
    "list", "list a directory, file9 before file10",
    "Usage: host list [--sort name|time] DIRECTORY\n"
    "\n"
    "One line an entry: 'd' or 'f', size in bytes, time of the last change (UTC), name. What is\n"
    "not known is '-'. Directories come first; --sort time puts the oldest first.\n",
    list};

}  // namespace host
