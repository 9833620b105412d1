// Small files of a tree: what they cost, and that a disk in trouble never makes a good copy of a bad
// one.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "files/file_system_port.h"
#include "orsincore/files.h"
#include "orsincore/io.h"
#include "tests/files/backslash_path.h"
#include "tests/files/io_start.h"
#include "tests/platform/native/fake_access.h"
#include "tests/platform/native/fake_disk.h"
#include "tests/platform/native/fake_paths.h"
#include "tests/platform/native/fake_processors.h"
#include "tests/platform/native/fake_transfers.h"
#include "tests/support/log_capture.h"
#include "threads/thread_table.h"

namespace orsin {
namespace {

using test::below;
using test::fake_disk;
using test::Lines;
using test::TemporaryDirectory;

class SmallCopies : public testing::Test {
 protected:
  SmallCopies() { start_thread_table(); }
  ~SmallCopies() override { stop_thread_table(); }

  int copy(const std::string& source, const std::string& destination) {
    return ov_filecopy(below(directory_, source).c_str(), below(directory_, destination).c_str(),
                       true, bytes_);
  }
  void write_tree(const std::string& name, int count, const std::string& content) const {
    for (int i = 0; i < count; ++i) {
      directory_.write(name + "/take" + std::to_string(i), content);
    }
  }
  [[nodiscard]] std::string read(const std::string& name) const {
    return TemporaryDirectory::read(directory_.path(name));
  }

  TemporaryDirectory directory_;
  test::IoStart io_;
  test::LogCapture log_;
  test::FakeDiskScope disk_;
  unsigned long long bytes_ = 0;
};

// What was asked of the system for one tree copy.
struct Cost {
  int opens;  // And other calls that name a path.
  int sizes;
};

class SmallCopyCost : public SmallCopies {
 protected:
  Cost cost_of(const std::string& source, const std::string& destination, int result) {
    const test::FakeTransfers transfers;
    const int paths_before = test::path_calls();
    EXPECT_EQ(copy(source, destination), result);
    return {static_cast<int>(transfers.opened().size()) + test::path_calls() - paths_before,
            static_cast<int>(transfers.sizes().size())};
  }
};

TEST_F(SmallCopyCost, IsTwoOpensAndNoSizeForANewFile) {
  write_tree("few", 10, std::string(20000, 'f'));
  write_tree("many", 60, std::string(20000, 'm'));

  const Cost few = cost_of("few", "new few", 10);
  const Cost many = cost_of("many", "new many", 60);

  EXPECT_EQ(many.opens - few.opens, 50 * 2);
  EXPECT_EQ(many.sizes, 0);
}

TEST_F(SmallCopyCost, IsTwoOpensAndOneSizeForAFileThatWasLonger) {
  write_tree("few", 10, "short");
  write_tree("many", 60, "short");
  write_tree("old few", 10, std::string(20000, 'f'));
  write_tree("old many", 60, std::string(20000, 'm'));

  const Cost few = cost_of("few", "old few", 10);
  const Cost many = cost_of("many", "old many", 60);

  EXPECT_EQ(many.opens - few.opens, 50 * 2);
  EXPECT_EQ(many.sizes, 60);
  EXPECT_EQ(read("old many/take59"), "short");
}

TEST_F(SmallCopies, SayWhyTimesAndAttributesStay) {
  directory_.write("take.wav", "content");
  const std::string made = below(directory_, "copy.wav");
  test::fake_access().refuses_facts = true;

  EXPECT_EQ(copy("take.wav", "copy.wav"), 0);

  test::fake_access().refuses_facts = false;
  EXPECT_EQ(read("copy.wav"), "content");
  EXPECT_EQ(log_.lines(), (Lines{"WARN : Failed to update the file times: '" + made + "'",
                                 "     : Error: 'error 13'",
                                 "WARN : Failed to update the file attributes: '" + made + "'",
                                 "     : Error: 'error 13'"}));
}

TEST_F(SmallCopies, AreWholeOrFailOnADiskThatFillsUpAtAnyByte) {
  const std::string content = "eleven byte";
  directory_.write("source.bin", content);
  for (std::uint64_t room = 0; room <= 4 * content.size(); ++room) {
    SCOPED_TRACE(room);
    directory_.write("copy.bin", "something longer that was there before");
    fake_disk().writable_bytes = room;

    const int result = copy("source.bin", "copy.bin");

    EXPECT_EQ(result, room < content.size() ? -3 : 0);
    if (result == 0) {
      EXPECT_EQ(read("copy.bin"), content);
      EXPECT_EQ(bytes_, content.size());
    }
  }
}

TEST_F(SmallCopies, SayThatTheDiskIsFullAsLargeOnesDo) {
  directory_.write("source.bin", "content");
  fake_disk().writable_bytes = 0;

  EXPECT_EQ(copy("source.bin", "copy.bin"), -3);

  ASSERT_FALSE(log_.lines().empty());
  EXPECT_EQ(log_.lines()[0], "ERROR: IO write error(1) : 'error 112'");
}

TEST_F(SmallCopies, DoNotTakeAShortWriteForAWholeOne) {
  directory_.write("source.bin", "content");
  for (std::uint32_t taken = 0; taken < 7; ++taken) {
    SCOPED_TRACE(taken);
    test::FakeTransfers transfers;
    transfers.next({});                // The source is read.
    transfers.next({.bytes = taken});  // The write of the copy.

    EXPECT_EQ(copy("source.bin", "copy.bin"), 0);

    EXPECT_EQ(read("copy.bin"), "content");
    EXPECT_EQ(bytes_, 7U);
  }
}

TEST_F(SmallCopies, DoNotTakeAShortReadForAWholeOne) {
  directory_.write("source.bin", "content");
  for (std::uint32_t given = 0; given < 7; ++given) {
    SCOPED_TRACE(given);
    test::FakeTransfers transfers;
    transfers.next({.bytes = given});

    EXPECT_EQ(copy("source.bin", "copy.bin"), 0);

    EXPECT_EQ(read("copy.bin"), "content");
  }
}

TEST_F(SmallCopies, TakeTimeAndAttributesAlong) {
  directory_.write("tree/a.bin", "content");
  directory_.write("tree/b.bin", "content");
  const std::string source = below(directory_, "tree\\a.bin");
  ASSERT_TRUE(file_set_modified_ts(source.c_str(), 1706704496));
  ASSERT_TRUE(port::write_attributes(source.c_str(), port::kHidden | port::kReadOnly));

  EXPECT_EQ(copy("tree", "copy"), 2);

  port::FileFacts facts;
  ASSERT_TRUE(port::read_facts(below(directory_, "copy\\a.bin").c_str(), facts));
  EXPECT_EQ(facts.attributes & (port::kHidden | port::kReadOnly), port::kHidden | port::kReadOnly);
  EXPECT_EQ(file_get_modified_ts(below(directory_, "copy\\a.bin").c_str()), 1706704496U);
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(SmallCopies, DoNotWriteOverAReadOnlyFile) {
  directory_.write("source.bin", "content");
  directory_.write("copy.bin", "old");
  ASSERT_TRUE(port::write_attributes(below(directory_, "copy.bin").c_str(), port::kReadOnly));

  EXPECT_EQ(copy("source.bin", "copy.bin"), -2);

  EXPECT_EQ(read("copy.bin"), "old");
}

TEST_F(SmallCopies, CountTheBytesThatTheyMove) {
  directory_.write("source.bin", "content");
  unsigned long long bytes_read = 0;
  unsigned long long bytes_written = 0;
  io_get_counters(bytes_read, bytes_written);

  EXPECT_EQ(copy("source.bin", "copy.bin"), 0);

  io_get_counters(bytes_read, bytes_written);
  EXPECT_EQ(bytes_read, 7U);
  EXPECT_EQ(bytes_written, 7U);
}

// Times and attributes go by names in the system's code page, whichever of the two is in ASCII only.
TEST_F(SmallCopies, KeepWarningAboutNamesOutsideAscii) {
  const std::string ascii = "take.wav";
  const std::string other =
      "\xC3\x9C"
      "ber.wav";
  directory_.write(ascii, "content");
  directory_.write(other, "content");
  const std::string from_ascii = "'" + below(directory_, "copy \xC3\x9C.wav") + "'";
  const std::string from_other = "'" + below(directory_, other) + "'";

  EXPECT_EQ(copy(ascii, "copy \xC3\x9C.wav"), 0);
  EXPECT_EQ(copy(other, "copy.wav"), 0);

  EXPECT_EQ(read("copy \xC3\x9C.wav"), "content");
  EXPECT_EQ(read("copy.wav"), "content");
  EXPECT_EQ(
      log_.lines(),
      (Lines{"WARN : Failed to update the file times: " + from_ascii, "     : Error: 'error 2'",
             "WARN : Failed to update the file attributes: " + from_ascii,
             "     : Error: 'error 2'", "WARN : Failed to retrieve the file times: " + from_other,
             "WARN : Failed to retrieve the file attributes: " + from_other}));
}

TEST_F(SmallCopies, AreWholeWhereNoThreadCanBeHadAndOneIsAskedForOnce) {
  write_tree("tree", 40, "content");
  test::fake_processors().refuse_threads = true;

  EXPECT_EQ(copy("tree", "copy"), 40);

  test::fake_processors() = {};
  EXPECT_EQ(bytes_, 40 * 7U);
  EXPECT_EQ(read("copy/take39"), "content");
  EXPECT_EQ(log_.lines().size(), 1U) << log_.text();
}

TEST_F(SmallCopies, NeedNoThreadForOneFile) {
  write_tree("tree", 1, "content");
  test::fake_processors().refuse_threads = true;

  EXPECT_EQ(copy("tree", "copy"), 1);

  test::fake_processors() = {};
  EXPECT_EQ(log_.lines(), Lines{});
}

// Empty files are refused in their turn: the count of bytes and the failure are those of one file
// after the other, whatever the second thread has done by then.
TEST_F(SmallCopies, EndATreeAtTheFirstFileThatCannotBeCopied) {
  write_tree("tree", 40, "content");
  directory_.write("tree/take19", "");
  directory_.write("tree/take3", "");

  EXPECT_EQ(copy("tree", "copy"), -1);

  EXPECT_EQ(bytes_, 3 * 7U);
  for (const char* name : {"copy/take0", "copy/take1", "copy/take2"}) {
    EXPECT_EQ(read(name), "content");
  }
  EXPECT_EQ(file_exists(below(directory_, "copy\\take3").c_str()), 0);
  EXPECT_EQ(file_exists(below(directory_, "copy\\take30").c_str()), 0);  // Far behind it.
}

TEST_F(SmallCopies, AreIdenticalAmongLargeOnesOfAllSizes) {
  std::mt19937 random(20240131);
  std::string content(3 << 20, '\0');
  for (char& c : content) {
    c = static_cast<char>(random());
  }
  std::uint64_t total = 0;
  for (int i = 0; i < 60; ++i) {
    constexpr std::size_t kEdges[] = {1, 4095, 4096, 4097, 1 << 20, (1 << 20) - 1, (1 << 20) + 1};
    const std::size_t size = i < 7 ? kEdges[i] : 1 + random() % (i % 10 == 0 ? 3 << 20 : 50000);
    directory_.write("tree/sub" + std::to_string(i % 3) + "/take" + std::to_string(i),
                     content.substr(0, size));
    total += size;
  }

  EXPECT_EQ(copy("tree", "copy"), 60);

  EXPECT_EQ(bytes_, total);
  for (int i = 0; i < 60; ++i) {
    const std::string name = "/sub" + std::to_string(i % 3) + "/take" + std::to_string(i);
    SCOPED_TRACE(name);
    EXPECT_TRUE(read("copy" + name) == read("tree" + name));
  }
  EXPECT_EQ(log_.lines(), Lines{});
}

}  // namespace
}  // namespace orsin
