// Links among directories: deletion removes them and never enters them, everything else follows
// them, and a link to a directory above itself ends. The native file system makes links for anybody.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "files/directory_identity.h"
#include "files/directory_list.h"
#include "orsincore/files.h"
#include "tests/files/backslash_path.h"
#include "tests/files/current_directory.h"
#include "tests/files/io_start.h"
#include "tests/platform/native/fake_paths.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

namespace fs = std::filesystem;

using test::below;
using test::Lines;
using test::TemporaryDirectory;

class DirectoryLinks : public testing::Test {
 protected:
  void link(const char* name, const std::string& target) const {
    fs::create_directory_symlink(target, directory_.path(name));
  }
  [[nodiscard]] bool is_there(const char* name) const {
    return fs::exists(fs::symlink_status(directory_.path(name)));
  }
  int copy(const char* source, const char* destination) {
    return ov_filecopy(below(directory_, source).c_str(), below(directory_, destination).c_str(),
                       true, bytes_);
  }

  TemporaryDirectory directory_;
  test::IoStart io_;
  test::LogCapture log_;
  unsigned long long bytes_ = 0;
};

TEST_F(DirectoryLinks, AreRemovedWithATreeAndNotEntered) {
  directory_.write("precious/keep.txt", "keep");
  directory_.write("tree/a.txt", "x");
  link("tree/link", "../precious");
  link("tree/nowhere", "../missing");

  EXPECT_EQ(file_delete_directory(below(directory_, "tree").c_str(), true), 1);

  EXPECT_FALSE(is_there("tree"));
  EXPECT_EQ(TemporaryDirectory::read(directory_.path("precious/keep.txt")), "keep");
}

TEST_F(DirectoryLinks, AreRemovedWhenTheyAreWhatIsDeleted) {
  directory_.write("precious/keep.txt", "keep");
  for (const char* spelling : {"link", "link\\"}) {
    for (const bool recursive : {true, false}) {
      SCOPED_TRACE(spelling);
      link("link", "precious");

      EXPECT_EQ(file_delete_directory(below(directory_, spelling).c_str(), recursive), 1);

      EXPECT_FALSE(is_there("link"));
      EXPECT_EQ(TemporaryDirectory::read(directory_.path("precious/keep.txt")), "keep");
    }
  }
}

TEST_F(DirectoryLinks, AreKnownByWhatTheSystemSaysOfThem) {
  struct Case {
    const char* what;
    std::optional<std::uint32_t> tag;
    bool is_link;
  };
  const Case cases[] = {
      {"symbolic link", 0xA000000C, true},
      {"junction", 0xA0000003, true},
      {"kept in a cloud", 0x9000001A, false},
      {"deduplicated", 0x80000013, false},
      {"no tag", 0, true},
      {"not told", std::nullopt, true},
  };
  directory_.write("target/inside", "x");
  link("link", "target");
  const std::optional<std::uint32_t> before = test::link_tag();

  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    test::link_tag() = c.tag;
    EXPECT_EQ(is_directory_link(below(directory_, "link").c_str()), c.is_link);
    EXPECT_EQ(is_directory_link(below(directory_, "link\\/\\").c_str()), c.is_link);
    EXPECT_FALSE(is_directory_link(below(directory_, "target").c_str()));
    EXPECT_FALSE(is_directory_link(below(directory_, "target\\inside").c_str()));
  }

  test::link_tag() = before;
}

TEST_F(DirectoryLinks, OfOneLetterAreLinksWithASeparatorBehindThem) {
  const test::CurrentDirectory current(directory_);
  directory_.write("target/inside", "x");
  link("l", "target");

  EXPECT_TRUE(is_directory_link("l"));
  EXPECT_TRUE(is_directory_link("l\\"));
}

TEST_F(DirectoryLinks, AreFollowedByACopy) {
  directory_.write("elsewhere/one.wav", "one");
  directory_.write("tree/two.wav", "two");
  link("tree/link", "../elsewhere");

  EXPECT_EQ(copy("tree", "copy"), 2);

  EXPECT_EQ(TemporaryDirectory::read(directory_.path("copy/link/one.wav")), "one");
  EXPECT_FALSE(fs::is_symlink(directory_.path("copy/link")));
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(DirectoryLinks, ToADirectoryAboveThemAreNotCopied) {
  directory_.write("above/tree/one.wav", "one");
  directory_.write("above/tree/sub/two.wav", "two");
  link("above/tree/sub/itself", ".");
  link("above/tree/sub/root", "../../tree");
  link("above/tree/sub/out", "../..");

  EXPECT_EQ(copy("above\\tree", "copy"), 2);

  EXPECT_EQ(TemporaryDirectory::read(directory_.path("copy/sub/two.wav")), "two");
  for (const char* name : {"itself", "out", "root"}) {
    SCOPED_TRACE(name);
    EXPECT_FALSE(is_there((std::string("copy/sub/") + name).c_str()));
    EXPECT_NE(log_.text().find("FileCopy: '" + below(directory_, "above\\tree\\sub\\") + name +
                               "' leads to a directory above it, not copied\n"),
              std::string::npos)
        << log_.text();
  }
}

TEST_F(DirectoryLinks, ToTheRootLeadBack) {
  directory_.write("tree/one.wav", "one");
  link("tree/everything", "/");

  EXPECT_TRUE(leads_back(below(directory_, "tree\\everything").c_str()));
  EXPECT_EQ(copy("tree", "copy"), 1);

  EXPECT_FALSE(is_there("copy/everything"));
}

TEST_F(DirectoryLinks, AreFollowedByASearch) {
  directory_.write("elsewhere/deep/one.wav", "one");
  directory_.write("tree/two.wav", "two");
  link("tree/link", "../elsewhere");
  char out[260];

  EXPECT_EQ(file_search(below(directory_, "tree").c_str(), "one.wav", out, sizeof(out)), 1);
  EXPECT_EQ(out, below(directory_, "tree\\link\\deep\\one.wav"));
  const UniqueList found(flist_findfiles(below(directory_, "tree").c_str(), "one.*", true, 0));
  ASSERT_TRUE(found);
  EXPECT_EQ(found->files[0], below(directory_, "tree\\link\\deep\\one.wav"));
}

TEST_F(DirectoryLinks, ToADirectoryAboveThemEndASearch) {
  directory_.write("tree/sub/two.wav", "two");
  link("tree/sub/again", "../../tree");
  char out[260];

  const UniqueList found(flist_findfiles(below(directory_, "tree").c_str(), "*.wav", true, 0));
  ASSERT_TRUE(found);
  EXPECT_EQ(found->file_count, 1);
  EXPECT_EQ(file_search(below(directory_, "tree").c_str(), "missing.wav", out, sizeof(out)), 0);
  EXPECT_EQ(out, below(directory_, "tree\\sub\\missing.wav"));  // The last place looked at.
}

TEST_F(DirectoryLinks, DoNotHideThatATreeWouldBeCopiedBelowItself) {
  directory_.write("takes/one.wav", "one");
  directory_.write("takes/in/two.wav", "two");
  link("door", "takes/in");

  EXPECT_EQ(copy("takes", "door\\copy"), -1);

  EXPECT_FALSE(is_there("takes/in/copy"));
  EXPECT_EQ(log_.lines(), (Lines{"ERROR: FileCopy: '" + below(directory_, "door\\copy") +
                                 "' lies in '" + below(directory_, "takes") + "', no copy done"}));
}

TEST_F(DirectoryLinks, AreNotGuessedWhereDirectoriesHaveNoIndex) {
  directory_.write("takes/one.wav", "one");
  test::directories_have_indices() = false;

  EXPECT_EQ(copy("takes", "copy"), 1);

  test::directories_have_indices() = true;
  EXPECT_EQ(TemporaryDirectory::read(directory_.path("copy/one.wav")), "one");
}

// Then the spelling decides.
TEST_F(DirectoryLinks, AreNotNeededToKnowThatATreeWouldBeCopiedBelowItself) {
  struct Case {
    const char* path;
    const char* directory;
    bool lies_in;
  };
  const Case cases[] = {
      {"tree", "tree", true},           {"TREE", "tree", true},
      {"tree", "tree\\", true},         {"tree\\copy", "tree\\", true},
      {"tree/deep/copy", "Tree", true}, {"tree\\", "tree", true},
      {"tre\\copy", "tree\\", false},   {"treetop", "tree", false},
      {"tree", "tree\\copy", false},    {"copy", "tree", false},
  };
  test::directories_have_indices() = false;

  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.path) + " in " + c.directory);
    EXPECT_EQ(lies_in(below(directory_, c.path).c_str(), below(directory_, c.directory).c_str()),
              c.lies_in);
  }

  test::directories_have_indices() = true;
}

TEST_F(DirectoryLinks, OfADriveAreKnownByItsRoot) {
  directory_.write("C:/takes/one.wav", "one");
  link("D:", "C:");

  EXPECT_TRUE(
      lies_in(below(directory_, "C:\\takes\\copy").c_str(), below(directory_, "D:\\").c_str()));
  EXPECT_FALSE(lies_in(below(directory_, "C:\\").c_str(), below(directory_, "D:\\takes").c_str()));
}

}  // namespace
}  // namespace orsin
