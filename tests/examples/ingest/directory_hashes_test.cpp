#include "examples/host/ingest/directory_hashes.h"

#include <gtest/gtest.h>

namespace host::ingest {
namespace {

constexpr std::uint64_t kNothing = 0xEF46DB3751D8E999;  // XXH64 of no bytes.

TEST(IngestDirectoryHashes, AreThoseOfThePublishedExample) {
  const auto hashes = hash_directories({{"Clips/A002C006_141024_R2EC.mov", 0x0EA03B369A463D9D},
                                        {"Clips/A002C007_141024_R2EC.mov", 0x7680E5F98F4A80FD},
                                        {"Sidecar.txt", 0x3AB5A4166B9BDE44}},
                                       {"Clips"});

  EXPECT_EQ(hashes.at("Clips"), (DirectoryHashes{0x4C226B42E27D7AF3, 0x906FAA843D591A9F}));
  EXPECT_EQ(hashes.at(""), (DirectoryHashes{0x8D02114C32E28CBE, 0xF557F8CA8E5A88EF}));
}

TEST(IngestDirectoryHashes, OfAnEmptyFolderAreTheHashOfNothing) {
  const auto hashes = hash_directories({}, {});

  EXPECT_EQ(hashes.at(""), (DirectoryHashes{kNothing, kNothing}));
}

TEST(IngestDirectoryHashes, TellARenamedFileByTheStructureAlone) {
  const auto before = hash_directories({{"a/x", 1}}, {"a"});
  const auto after = hash_directories({{"a/y", 1}}, {"a"});

  EXPECT_EQ(before.at("").content, after.at("").content);
  EXPECT_NE(before.at("").structure, after.at("").structure);
}

TEST(IngestDirectoryHashes, ClimbThroughNamesThatSortBetweenAFolderAndItsChildren) {
  // "a.b" and "a b" sort around "a/..."; the folders must still come before their parents.
  const auto hashes =
      hash_directories({{"a/c/x", 1}, {"a b/x", 2}, {"a.b/x", 3}}, {"a", "a/c", "a b", "a.b"});
  const auto alone = hash_directories({{"c/x", 1}}, {"c"});

  EXPECT_EQ(hashes.at("a"), alone.at(""));
  EXPECT_EQ(hashes.size(), 5U);
}

}  // namespace
}  // namespace host::ingest
