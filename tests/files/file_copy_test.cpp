#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "files/file_system_port.h"
#include "orsincore/files.h"
#include "orsincore/io.h"
#include "tests/files/backslash_path.h"
#include "tests/files/copy_calls.h"
#include "tests/files/failing_writer.h"
#include "tests/files/io_start.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::backslashed;
using test::below;
using test::FailingWriter;
using test::Lines;
using test::random_content;
using test::TemporaryDirectory;

constexpr auto kNoProgress =
    static_cast<void (*)(void*, unsigned char*, unsigned long long)>(nullptr);

class FileCopy : public testing::Test {
 protected:
  int copy(const std::string& source, const std::string& destination, bool overwrite = false,
           bool verbose = true) {
    return file_copy(source.c_str(), destination.c_str(), overwrite, bytes_, nullptr,
                     static_cast<fWriteBuffer*>(nullptr), kNoProgress, nullptr, verbose);
  }
  int copy_to_all(const std::string& source, std::vector<std::string> destinations,
                  fWriteBuffer** writers = nullptr) {
    std::vector<const char*> list;
    for (const std::string& destination : destinations) {
      list.push_back(destination.c_str());
    }
    list.push_back(nullptr);
    return file_copy(source.c_str(), list.data(), true, bytes_, nullptr, writers, kNoProgress,
                     nullptr, true);
  }

  TemporaryDirectory directory_;
  test::IoStart io_;
  test::LogCapture log_{0};
  unsigned long long bytes_ = 0;
};

TEST_F(FileCopy, CopiesDataOfEverySizeAroundTheBuffers) {
  const std::size_t sizes[] = {1,       511,     512,     4095,    4096,    4097,
                               1048575, 1048576, 1048577, 8388608, 8388609, 17000001};
  for (const std::size_t size : sizes) {
    SCOPED_TRACE(size);
    const std::string content = random_content(size);
    directory_.write("source.bin", content);
    bytes_ = 0;

    EXPECT_EQ(copy(below(directory_, "source.bin"), below(directory_, "out\\copy.bin"), true), 0);

    EXPECT_EQ(bytes_, size);
    EXPECT_TRUE(TemporaryDirectory::read(directory_.path("out/copy.bin")) == content);
  }
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(FileCopy, CopiesAnEmptyFileWithoutCallingBack) {
  directory_.write("source.bin", "");
  int calls = 0;

  const int result = file_copy(
      below(directory_, "source.bin").c_str(), below(directory_, "copy.bin").c_str(), false, bytes_,
      nullptr, static_cast<fWriteBuffer*>(nullptr),
      [](void* user, unsigned char*, unsigned long long) { ++*static_cast<int*>(user); }, &calls,
      true);

  EXPECT_EQ(result, 0);
  EXPECT_EQ(calls, 0);
  EXPECT_EQ(bytes_, 0U);
  EXPECT_EQ(TemporaryDirectory::read(directory_.path("copy.bin")), "");
}

TEST_F(FileCopy, ShortensALongerDestination) {
  directory_.write("source.bin", "short");
  directory_.write("copy.bin", std::string(100000, 'x'));

  EXPECT_EQ(copy(below(directory_, "source.bin"), below(directory_, "copy.bin"), true), 0);

  EXPECT_EQ(TemporaryDirectory::read(directory_.path("copy.bin")), "short");
}

TEST_F(FileCopy, CopiesTheTimeAndTheAttributes) {
  directory_.write("source.bin", "content");
  const std::string source = below(directory_, "source.bin");
  const std::string destination = below(directory_, "copy.bin");
  ASSERT_TRUE(file_set_modified_ts(source.c_str(), 1706704496));
  ASSERT_TRUE(port::write_attributes(source.c_str(), port::kHidden | port::kReadOnly));

  EXPECT_EQ(copy(source, destination), 0);

  std::uint32_t attributes = 0;
  EXPECT_TRUE(port::read_attributes(destination.c_str(), attributes));
  EXPECT_EQ(attributes & (port::kHidden | port::kReadOnly), port::kHidden | port::kReadOnly);
  EXPECT_EQ(file_get_modified_ts(destination.c_str()), 1706704496U);
  EXPECT_TRUE(port::write_attributes(source.c_str(), 0x80));
  EXPECT_TRUE(port::write_attributes(destination.c_str(), 0x80));
}

TEST_F(FileCopy, CopiesToSeveralDestinationsInOnePass) {
  const std::string content = random_content(3000001);
  directory_.write("source.bin", content);

  EXPECT_EQ(copy_to_all(below(directory_, "source.bin"),
                        {below(directory_, "a\\1.bin"), below(directory_, "b\\2.bin"),
                         below(directory_, "c\\d\\3.bin")}),
            0);

  EXPECT_EQ(bytes_, content.size());
  for (const char* name : {"a/1.bin", "b/2.bin", "c/d/3.bin"}) {
    EXPECT_TRUE(TemporaryDirectory::read(directory_.path(name)) == content) << name;
  }
}

TEST_F(FileCopy, EndsTheDestinationsAtAnEmptyName) {
  directory_.write("source.bin", "content");

  EXPECT_EQ(copy_to_all(below(directory_, "source.bin"),
                        {below(directory_, "1.bin"), "", below(directory_, "2.bin")}),
            0);

  EXPECT_EQ(file_exists(below(directory_, "1.bin").c_str()), 1);
  EXPECT_EQ(file_exists(below(directory_, "2.bin").c_str()), 0);
}

TEST_F(FileCopy, AccumulatesTheBytes) {
  directory_.write("source.bin", "12345");
  bytes_ = 1000;

  EXPECT_EQ(copy(below(directory_, "source.bin"), below(directory_, "1.bin")), 0);
  EXPECT_EQ(bytes_, 1005U);
  EXPECT_EQ(copy(below(directory_, "source.bin"), below(directory_, "2.bin")), 0);
  EXPECT_EQ(bytes_, 1010U);
}

TEST_F(FileCopy, ShowsEveryBlockBeforeItIsWrittenAndThenTheEnd) {
  const std::string content = random_content(2500000);
  directory_.write("source.bin", content);
  struct Seen {
    FailingWriter writer;
    std::string data;
    int ends = 0;
    bool is_in_order = true;
  } seen;

  const int result = file_copy(
      below(directory_, "source.bin").c_str(), below(directory_, "copy.bin").c_str(), false, bytes_,
      nullptr, &seen.writer,
      [](void* user, unsigned char* data, unsigned long long length) {
        auto& shown = *static_cast<Seen*>(user);
        shown.is_in_order =
            shown.is_in_order && shown.ends == 0 && shown.writer.bytes_taken() == shown.data.size();
        if (data == nullptr) {
          EXPECT_EQ(length, 0U);
          ++shown.ends;
        } else {
          shown.data.append(reinterpret_cast<char*>(data), length);
        }
      },
      &seen, true);

  EXPECT_EQ(result, 0);
  EXPECT_TRUE(seen.data == content);
  EXPECT_EQ(seen.ends, 1);
  EXPECT_TRUE(seen.is_in_order);
}

TEST_F(FileCopy, OnlyReadsWithoutADestination) {
  directory_.write("source.bin", "content");
  std::string data;

  const int result = file_copy(
      below(directory_, "source.bin").c_str(), static_cast<const char*>(nullptr), false, bytes_,
      nullptr, static_cast<fWriteBuffer*>(nullptr),
      [](void* user, unsigned char* block, unsigned long long length) {
        static_cast<std::string*>(user)->append(reinterpret_cast<char*>(block), length);
      },
      &data, true);

  EXPECT_EQ(result, 0);
  EXPECT_EQ(data, "content");
  EXPECT_EQ(bytes_, 7U);
}

TEST_F(FileCopy, Gives1WhenTheSourceCannotBeOpened) {
  const std::string source = below(directory_, "missing.bin");

  EXPECT_EQ(copy(source, below(directory_, "copy.bin")), -1);

  EXPECT_EQ(log_.last_line(), "ERROR: File Copy: failed to open '" + source + "'");
  EXPECT_EQ(file_exists(below(directory_, "copy.bin").c_str()), 0);
}

TEST_F(FileCopy, Gives2WhenADestinationCannotBeCreated) {
  directory_.write("source.bin", "content");
  directory_.write("there/inside", "x");
  const std::string destination = below(directory_, "there");

  EXPECT_EQ(copy(below(directory_, "source.bin"), destination, true), -2);

  EXPECT_EQ(log_.last_line(), "ERROR: File Copy: failed to create '" + destination + "'");
}

TEST_F(FileCopy, Gives4ForAPathThatIsNotAllowed) {
  directory_.write("source.bin", "content");
  const std::string source = below(directory_, "source.bin");

  EXPECT_EQ(copy(source, "copy.bin"), -4);
  EXPECT_EQ(copy(source, std::string(260, 'x') + "\\copy.bin"), -4);
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(FileCopy, Gives5WhenTheDirectoryCannotBeMade) {
  directory_.write("source.bin", "content");
  directory_.write("file", "x");

  EXPECT_EQ(copy(below(directory_, "source.bin"), below(directory_, "file\\copy.bin")), -5);

  EXPECT_EQ(log_.lines(), Lines{});
  EXPECT_EQ(TemporaryDirectory::read(directory_.path("file")), "x");
}

TEST_F(FileCopy, Gives6WithoutASourceAndSaysSoInAnyCase) {
  EXPECT_EQ(file_copy(nullptr, below(directory_, "copy.bin").c_str(), false, bytes_, nullptr,
                      static_cast<fWriteBuffer*>(nullptr), kNoProgress, nullptr, false),
            -6);

  EXPECT_EQ(log_.lines(), Lines{"ERROR: File Copy: no source file specified!"});
}

TEST_F(FileCopy, Gives7ForAnExistingDestinationWithoutOverwriting) {
  directory_.write("source.bin", "content");
  directory_.write("copy.bin", "old");

  EXPECT_EQ(copy(below(directory_, "source.bin"), below(directory_, "copy.bin")), -7);

  EXPECT_EQ(log_.lines(), Lines{"ERROR: File Copy: destination file already exists!"});
  EXPECT_EQ(TemporaryDirectory::read(directory_.path("copy.bin")), "old");
}

TEST_F(FileCopy, Gives9ForTheSameStringBeforeAnythingIsCreated) {
  const std::string source = below(directory_, "new\\source.bin");

  EXPECT_EQ(copy(source, source, true), -9);

  EXPECT_EQ(log_.lines(), Lines{"ERROR: File Copy: source and destination are the same!"});
  EXPECT_EQ(file_is_directory(below(directory_, "new").c_str()), 0);
}

TEST_F(FileCopy, SaysNothingUnlessVerbose) {
  directory_.write("source.bin", "content");
  directory_.write("copy.bin", "old");
  const std::string source = below(directory_, "source.bin");

  EXPECT_EQ(copy(source, source, true, false), -9);
  EXPECT_EQ(copy(source, below(directory_, "copy.bin"), false, false), -7);

  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(FileCopy, Gives12ForAWriterListOfAnotherLength) {
  directory_.write("source.bin", "content");
  FailingWriter writer;
  fWriteBuffer* one[] = {&writer, nullptr};
  fWriteBuffer* none[] = {nullptr};
  const std::string source = below(directory_, "source.bin");

  EXPECT_EQ(copy_to_all(source, {below(directory_, "1"), below(directory_, "2")}, one), -12);
  EXPECT_EQ(copy_to_all(source, {below(directory_, "1"), below(directory_, "2")}, none), -12);

  EXPECT_EQ(file_exists(below(directory_, "1").c_str()), 0);
}

TEST_F(FileCopy, HasAWriterOfItsOwnForOneDestinationWhereTheListIsEmpty) {
  directory_.write("source.bin", "content");
  fWriteBuffer* none[] = {nullptr};

  EXPECT_EQ(copy_to_all(below(directory_, "source.bin"), {below(directory_, "copy.bin")}, none), 0);

  EXPECT_EQ(test::TemporaryDirectory::read(directory_.path("copy.bin")), "content");
}

TEST_F(FileCopy, Gives13ForMoreThan16Destinations) {
  directory_.write("source.bin", "content");
  std::vector<std::string> destinations;
  for (int i = 0; i < 17; ++i) {
    destinations.push_back(below(directory_, "copy" + std::to_string(i)));
  }

  EXPECT_EQ(copy_to_all(below(directory_, "source.bin"), destinations), -13);
  EXPECT_EQ(file_exists(destinations[0].c_str()), 0);

  destinations.pop_back();
  EXPECT_EQ(copy_to_all(below(directory_, "source.bin"), destinations), 0);
  EXPECT_EQ(file_size(destinations[15].c_str()), 7);
}

TEST_F(FileCopy, Gives8WhenAWriteFallsShort) {
  directory_.write("source.bin", random_content(3000000));
  FailingWriter writer;
  writer.fill_disk_after(1500000);
  bytes_ = 0;

  EXPECT_EQ(
      file_copy(below(directory_, "source.bin").c_str(), below(directory_, "copy.bin").c_str(),
                false, bytes_, nullptr, &writer, kNoProgress, nullptr, true),
      -8);

  EXPECT_EQ(bytes_, 1048576U);  // Only blocks that were written count.
  EXPECT_EQ(log_.lines(), Lines{});
  EXPECT_EQ(file_exists(below(directory_, "copy.bin").c_str()), 1);
}

TEST_F(FileCopy, Gives8WhenTheWriterReportsAnError) {
  directory_.write("source.bin", random_content(3000000));
  FailingWriter writer;
  writer.vanish_after(1500000);

  EXPECT_EQ(
      file_copy(below(directory_, "source.bin").c_str(), below(directory_, "copy.bin").c_str(),
                false, bytes_, nullptr, &writer, kNoProgress, nullptr, true),
      -8);
}

TEST_F(FileCopy, Gives8WhenTheLastBufferCannotBeWritten) {
  directory_.write("source.bin", "content");
  FailingWriter writer;
  writer.fail_at_close();

  EXPECT_EQ(
      file_copy(below(directory_, "source.bin").c_str(), below(directory_, "copy.bin").c_str(),
                false, bytes_, nullptr, &writer, kNoProgress, nullptr, true),
      -8);
}

TEST_F(FileCopy, KeepsClosingTheWriterThatFailedOnceForEachDestination) {
  directory_.write("source.bin", "content");
  FailingWriter good;
  FailingWriter bad;
  FailingWriter after;
  bad.fill_disk_after(0);
  fWriteBuffer* writers[] = {&good, &bad, &after, nullptr};

  EXPECT_EQ(copy_to_all(below(directory_, "source.bin"),
                        {below(directory_, "1"), below(directory_, "2"), below(directory_, "3")},
                        writers),
            -8);

  EXPECT_EQ(good.closings(), 0);
  EXPECT_EQ(bad.closings(), 3);
  EXPECT_TRUE(bad.was_forced());
  EXPECT_EQ(after.closings(), 0);
}

TEST_F(FileCopy, KeepsClosingTheWriterThatDidNotOpenOnceForEachEarlierOne) {
  directory_.write("source.bin", "content");
  FailingWriter first;
  FailingWriter second;
  FailingWriter bad;
  bad.refuse_to_open();
  fWriteBuffer* writers[] = {&first, &second, &bad, nullptr};

  EXPECT_EQ(copy_to_all(below(directory_, "source.bin"),
                        {below(directory_, "1"), below(directory_, "2"), below(directory_, "3")},
                        writers),
            -2);

  EXPECT_EQ(first.closings(), 0);
  EXPECT_EQ(second.closings(), 0);
  EXPECT_EQ(bad.closings(), 2);
  EXPECT_TRUE(bad.was_forced());
  EXPECT_EQ(file_exists(below(directory_, "1").c_str()), 1);
  EXPECT_EQ(log_.last_line(),
            "ERROR: File Copy: failed to create '" + below(directory_, "3") + "'");
}

TEST_F(FileCopy, KeepsNotClosingAFirstWriterThatDidNotOpen) {
  directory_.write("source.bin", "content");
  FailingWriter bad;
  bad.refuse_to_open();
  fWriteBuffer* writers[] = {&bad, nullptr};

  EXPECT_EQ(copy_to_all(below(directory_, "source.bin"), {below(directory_, "1")}, writers), -2);

  EXPECT_EQ(bad.closings(), 0);
}

TEST_F(FileCopy, UsesTheCallersReaderAndLeavesItUsable) {
  directory_.write("source.bin", random_content(100000));
  fReadBuffer reader(io_invalid_handle());
  reader.cfg_buffers(2, 65536, 65536);

  for (const char* name : {"1.bin", "2.bin"}) {
    EXPECT_EQ(
        file_copy(below(directory_, "source.bin").c_str(), below(directory_, name).c_str(), false,
                  bytes_, &reader, static_cast<fWriteBuffer*>(nullptr), kNoProgress, nullptr, true),
        0);
    EXPECT_TRUE(TemporaryDirectory::read(directory_.path(name)) == random_content(100000));
  }

  // Nothing is open any more.
  EXPECT_EQ(file_delete(below(directory_, "source.bin").c_str()), 0);
}

TEST_F(FileCopy, TakesNamesOutsideAscii) {
  const std::string content = random_content(5000);
  directory_.write("\xC3\xA9\xE6\x97\xA5.wav", content);

  EXPECT_EQ(copy(below(directory_, "\xC3\xA9\xE6\x97\xA5.wav"),
                 below(directory_, "\xC3\x84rger\\\xD0\x96.wav")),
            0);

  EXPECT_TRUE(TemporaryDirectory::read(directory_.path("\xC3\x84rger/\xD0\x96.wav")) == content);
  EXPECT_EQ(log_.lines(), Lines{});
}

}  // namespace
}  // namespace orsin
