// Listings and searches over a tree that stays, beside a folder whose files come and go.
#include <string>

#include "orsincore/files.h"
#include "tests/soak/site.h"

namespace orsin::soak {
namespace {

constexpr int kThreads = 2;
constexpr int kFolders = 12;
constexpr int kFilesEach = 25;

class ListWork : public Work {
 public:
  ListWork(const Site& site, int index, std::uint64_t seed)
      : Work("listings", seed),
        tree_(site.scratch + "\\tree"),
        changing_(site.scratch + "\\changing" + std::to_string(index)) {
    static_cast<void>(file_create_directory(changing_.c_str(), true));
  }

  void step() override {
    list_one();
    find_all();
    search();
    change();
  }

 private:
  void list_one() {
    const std::string path = tree_ + "\\reel" + std::to_string(dice_.below(kFolders));
    dir_list* const list = flist_new(path.c_str(), static_cast<int>(dice_.below(3)));
    if (!expect(list != nullptr && list->file_count == kFilesEach && list->dir_count == 0,
                "flist_new saw something else in " + path)) {
      flist_delete(list);
      return;
    }
    flist_sort(list, 1);
    bool is_sorted = true;
    for (int i = 1; i < list->file_count; ++i) {
      is_sorted = is_sorted && file_namecmp(list->files[i - 1], list->files[i]) < 0;
    }
    expect(is_sorted, "flist_sort left another order");
    flist_delete(list);
    count_done();
  }

  void find_all() {
    dir_list* const list = flist_findfiles(tree_.c_str(), "*take*.wav", true, 0);
    if (expect(list != nullptr && list->file_count == kFolders * kFilesEach,
               "flist_findfiles found something else")) {
      count_done();
    }
    flist_delete(list);
  }

  void search() {
    char found[260] = {};
    const bool is_there = dice_.once_in(2);
    const int answer =
        file_search(tree_.c_str(), is_there ? "only.txt" : "nowhere.txt", found, sizeof(found));
    if (expect(answer == (is_there ? 1 : 0), "file_search answered otherwise")) {
      count_done();
    }
  }

  void change() {
    const std::string name = changing_ + "\\file" + std::to_string(dice_.below(40));
    if (file_exists(name.c_str()) != 0) {
      expect(file_delete(name.c_str()) == 0, "a file cannot be deleted");
      --files_;
    } else {
      expect(write_pattern_file(name, 0, 10), "a file cannot be made");
      ++files_;
    }
    dir_list* const list = flist_new(changing_.c_str(), 1);
    if (expect(list != nullptr && list->file_count == files_, "flist_new missed a change")) {
      count_done();
    }
    flist_delete(list);
  }

  std::string tree_;
  std::string changing_;
  int files_ = 0;
};

bool make_tree(const std::string& tree) {
  bool made = true;
  for (int folder = 0; folder < kFolders; ++folder) {
    const std::string path = tree + "\\reel" + std::to_string(folder);
    made = file_create_directory(path.c_str(), true) >= 0 && made;
    for (int file = 0; file < kFilesEach; ++file) {
      made = write_pattern_file(path + "\\take" + std::to_string(file) + ".wav", 0, 1) && made;
    }
  }
  const std::string deep = tree + "\\deep\\deeper";
  return made && file_create_directory(deep.c_str(), true) >= 0 &&
         write_pattern_file(deep + "\\only.txt", 0, 1);
}

}  // namespace

Works list_works(const Site& site, std::uint64_t seed) {
  Works works;
  for (int i = 0; (i > 0 || make_tree(site.scratch + "\\tree")) && i < kThreads; ++i) {
    works.push_back(std::make_unique<ListWork>(site, i, seed + static_cast<std::uint64_t>(i)));
  }
  return works;
}

}  // namespace orsin::soak
