// One typical request, a file copy, followed through the assembled library; and the search list.
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include "base/win/windows.h"
#include "orsincore/files.h"
#include "orsincore/io.h"
#include "tests/assembly/running_library.h"

namespace orsin {
namespace {

using test::run_directory;
using test::TemporaryDirectory;

constexpr std::uint64_t kMib = 1024 * 1024;
constexpr std::uint64_t kBytes = 40 * kMib + 12345;

// What one call of the progress function found: the transfers that were started since the one
// before it.
struct Block {
  std::uint64_t length;
  std::uint64_t read_started;
  std::uint64_t write_started;
};

void note_block(void* blocks, unsigned char* data, unsigned long long length) {
  unsigned long long read = 0;
  unsigned long long written = 0;
  io_get_counters(read, written);
  if (data != nullptr) {
    static_cast<std::vector<Block>*>(blocks)->push_back({length, read, written});
  }
}

class TypicalCopy : public testing::Test {
 protected:
  TypicalCopy() {
    std::string content(kBytes, '\0');
    for (std::size_t i = 0; i < content.size(); ++i) {
      content[i] = static_cast<char>(i * 31 + i / 4096);
    }
    source_ = run_directory().write("source.mov", content);
    destination_ = run_directory().path("made on the way") + "\\copy.mov";
  }
  ~TypicalCopy() override {
    SetFileAttributesA(destination_.c_str(), FILE_ATTRIBUTE_NORMAL);
    DeleteFileA(destination_.c_str());
  }

  int copy() {
    unsigned long long read = 0;
    unsigned long long written = 0;
    io_get_counters(read, written);  // Which starts them again at zero.
    return file_copy(source_.c_str(), destination_.c_str(), true, bytes_, nullptr, nullptr,
                     note_block, &blocks_, true);
  }

  std::string source_;
  std::string destination_;
  unsigned long long bytes_ = 0;
  std::vector<Block> blocks_;
};

constexpr std::size_t kRingBlocks = 8;

TEST_F(TypicalCopy, ReadsABlockOfOneMebibyteAheadForEachPlaceOfTheRing) {
  ASSERT_EQ(copy(), 0);

  ASSERT_EQ(blocks_.size(), 41u);
  EXPECT_EQ(blocks_[0].read_started, kRingBlocks * kMib);
  std::uint64_t read = 0;
  for (std::size_t i = 0; i < 40; ++i) {
    SCOPED_TRACE(i);
    read += blocks_[i].read_started;
    EXPECT_EQ(blocks_[i].length, kMib);
    EXPECT_GE(read, (i + 1) * kMib);
    EXPECT_LE(read, (i + kRingBlocks) * kMib);
  }
  EXPECT_EQ(blocks_[40].length, 12345u);
}

TEST_F(TypicalCopy, ShowsABlockBeforeAnyOfItIsWritten) {
  ASSERT_EQ(copy(), 0);

  std::uint64_t shown = 0;
  std::uint64_t written = 0;
  for (const Block& block : blocks_) {
    written += block.write_started;
    EXPECT_LE(written, shown);
    shown += block.length;
  }
}

TEST_F(TypicalCopy, WritesWholeBlocksNoFurtherBehindThanTheRingIsLong) {
  ASSERT_EQ(copy(), 0);

  ASSERT_EQ(blocks_.size(), 41u);
  std::uint64_t written = 0;
  for (std::size_t i = 0; i < blocks_.size(); ++i) {
    SCOPED_TRACE(i);
    written += blocks_[i].write_started;
    EXPECT_EQ(written % kMib, 0U);
    EXPECT_GE(written, (i > kRingBlocks ? i - kRingBlocks : 0) * kMib);
  }
}

TEST_F(TypicalCopy, CutsTheFileToTheLengthOfItsData) {
  ASSERT_EQ(copy(), 0);

  EXPECT_EQ(bytes_, kBytes);
  EXPECT_EQ(std::filesystem::file_size(destination_), kBytes);
  EXPECT_TRUE(TemporaryDirectory::read(source_) == TemporaryDirectory::read(destination_));
}

TEST_F(TypicalCopy, TakesTimeAndAttributesAlong) {
  ASSERT_TRUE(file_set_modified_ts(source_.c_str(), 1234567890));
  ASSERT_NE(SetFileAttributesA(source_.c_str(), FILE_ATTRIBUTE_HIDDEN), 0);

  ASSERT_EQ(copy(), 0);

  EXPECT_EQ(file_get_modified_ts(destination_.c_str()), 1234567890u);
  EXPECT_NE(GetFileAttributesA(destination_.c_str()) & FILE_ATTRIBUTE_HIDDEN, 0u);
}

TEST_F(TypicalCopy, LeavesATimeStampedLineInTheLogFileForEachFailure) {
  source_ = run_directory().path("no such file.mov");

  EXPECT_EQ(copy(), -1);

  const std::string line = test::log_line_with("no such file.mov");
  EXPECT_TRUE(std::regex_match(line, std::regex(R"(\d\d:\d\d:\d\d\.\d\d ERROR: .*)"))) << line;
}

TEST(SettingsSearch, GoesThroughTheUsersSettingsTheProgramsAndTheProgramsFolder) {
  // The program's folder has a variable in its name, which only the search list looks into.
  const char* const places[] = {"Data/Settings/", "App/chosen/Settings/", "App/chosen/bin64/"};
  for (const char* place : places) {
    run_directory().write(std::string(place) + "sought.cfg", place);
  }

  for (const char* place : places) {
    SCOPED_TRACE(place);
    char found[260] = {};
    ASSERT_EQ(file_find("sought.cfg", found), 1);
    EXPECT_EQ(TemporaryDirectory::read(found), place);
    std::filesystem::remove(found);
  }
  EXPECT_EQ(file_find("sought.cfg", nullptr), 0);
}

}  // namespace
}  // namespace orsin
