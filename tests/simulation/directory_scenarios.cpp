// Trees and directories: copied, listed, deleted; and small files one by one.
#include <set>
#include <string>
#include <vector>

#include "orsincore/files.h"
#include "tests/simulation/library_session.h"
#include "tests/simulation/scenario.h"

namespace orsin::simulation {
namespace {

constexpr char kSource[] = "C:\\card";
constexpr char kCopy[] = "D:\\backup\\card";
constexpr char kNamesake[] = "D:\\card\\copy";  // Below the source, but for the drive.

// A few files in a few directories; most are small.
class Tree {
 public:
  Tree(Pass& pass, const std::string& root) : it_(pass.it), root_(root) {
    const auto directories = pass.choice.between(1, 4);
    for (std::uint64_t i = 0; i < directories; ++i) {
      const std::string path = i == 0 ? "" : "\\clip" + std::to_string(i);
      const auto files = pass.choice.below(6);
      it_.disk.make_directories(root + path);
      for (std::uint64_t file = 0; file < files; ++file) {
        const std::uint64_t sizes[] = {1, 100, 5000, pass.choice.below(std::uint64_t{3} << 20) + 1};
        add(path + "\\take" + std::to_string(file) + ".mov", pass.choice.one_of(sizes));
      }
    }
  }

  [[nodiscard]] int file_count() const { return static_cast<int>(names_.size()); }
  [[nodiscard]] std::uint64_t bytes() const { return bytes_; }

  void expect_at(const std::string& other_root) const {
    for (const std::string& name : names_) {
      const auto original = it_.disk.find(root_ + name);
      const auto copy = it_.disk.find(other_root + name);
      ORSIN_EXPECT(copy != nullptr, "%s is not in the copy", name.c_str());
      ORSIN_EXPECT(original->content == copy->content, "%s is another file in the copy",
                   name.c_str());
    }
  }

 private:
  void add(const std::string& name, std::uint64_t size) {
    it_.disk.put(root_ + name, Content::made_of(names_.size() + 1, size));
    names_.push_back(name);
    bytes_ += size;
  }

  Machine& it_;
  std::string root_;
  std::vector<std::string> names_;
  std::uint64_t bytes_ = 0;
};

}  // namespace

void copy_tree(Pass& pass) {
  const Tree tree(pass, kSource);
  const char* const copy = pass.choice.one_in(2) ? kCopy : kNamesake;
  LibrarySession session;
  unsigned long long bytes = 0;
  int result = 0;
  {
    const Inside library;
    result = ov_filecopy(kSource, copy, true, bytes);
  }
  const bool is_whole = result == tree.file_count() && bytes == tree.bytes();
  pass.expect_success(is_whole, "tree copy", result);
  if (is_whole && !session.has_complained()) {
    tree.expect_at(copy);
  } else {
    // By contract 0 is a source that is not there, or cannot be asked: no line.
    ORSIN_EXPECT(is_whole || result == 0 || session.has_warned(),
                 "a tree copy gave %d of %d files, and no line says so", result, tree.file_count());
  }
}

void list_directory(Pass& pass) {
  std::set<std::string> names;
  const auto count = pass.choice.below(40);
  for (std::uint64_t i = 0; i < count; ++i) {
    const std::string name = "f" + std::to_string(pass.choice.below(1000)) + ".wav";
    pass.it.disk.put(std::string(kSource) + "\\" + name, Content::made_of(i, 1));
    names.insert(name);
  }
  pass.it.disk.make_directories(std::string(kSource) + "\\below");
  LibrarySession session;
  dir_list* list = nullptr;
  std::set<std::string> found;
  int directories = 0;
  {
    const Inside library;
    list = flist_new(kSource, 1);
  }
  if (list != nullptr) {
    for (int i = 0; i < list->file_count; ++i) {
      found.insert(list->files[i]);
    }
    directories = list->dir_count;
    const Inside library;
    flist_delete(list);
  }
  const bool is_whole = found == names && directories == 1;
  pass.expect_success(is_whole, "list", static_cast<long long>(found.size()));
}

void delete_directory(Pass& pass) {
  const Tree tree(pass, kSource);
  LibrarySession session;
  int result = 0;
  {
    const Inside library;
    result = file_delete_directory(kSource, true);
  }
  constexpr int kDeleted = 1;
  const bool is_gone = pass.it.disk.find(kSource) == nullptr;
  ORSIN_EXPECT(is_gone == (result == kDeleted), "deletion gave %d, and the directory is %s", result,
               is_gone ? "gone" : "there");
  pass.expect_success(result == kDeleted, "deletion", result);
}

}  // namespace orsin::simulation
