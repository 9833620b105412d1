// What the files answer when they are asked about nothing: a null path is a missing file, a null
// buffer takes nothing, a null stream is at its end.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>

#include "files/volumes.h"
#include "orsincore/files.h"
#include "orsincore/io.h"
#include "orsincore/text.h"
#include "tests/files/backslash_path.h"
#include "tests/files/io_start.h"
#include "tests/files/program_paths_standin.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::below;
using test::Lines;
using test::TemporaryDirectory;

struct Call {
  const char* what;
  std::function<long long()> run;
  long long expected;
};

template <std::size_t count>
void expect_results(const Call (&calls)[count]) {
  for (const Call& call : calls) {
    SCOPED_TRACE(call.what);

    EXPECT_EQ(call.run(), call.expected);
  }
}

class NullPath : public testing::Test {
 protected:
  NullPath() { directory_.write("file.bin", "content"); }
  ~NullPath() override {
    EXPECT_EQ(TemporaryDirectory::read(directory_.path("file.bin")), "content");
  }

  TemporaryDirectory directory_;
  std::string file_ = below(directory_, "file.bin");
  test::IoStart io_;
  test::LogCapture log_;
};

TEST_F(NullPath, IsNoFileToAskAbout) {
  const char* const none = nullptr;
  const Call calls[] = {
      {"file_exists", [&] { return file_exists(none); }, 0},
      {"file_is_directory", [&] { return file_is_directory(none); }, 0},
      {"file_in_use", [&] { return file_in_use(none); }, 1},
      {"file_extension of null", [&] { return file_extension(none, ".bin") != nullptr; }, 0},
      {"file_extension for null", [&] { return file_extension("a.bin", none) != nullptr; }, 0},
      {"file_size", [&] { return file_size(none); }, 0},
      {"file_is_hidden", [&] { return file_is_hidden(none, none); }, 0},
      {"file_is_bundle", [&] { return file_is_bundle(none); }, 0},
      {"file_set_modified_ts", [&] { return file_set_modified_ts(none, 1000); }, 0},
      {"file_get_modified_ts", [&] { return static_cast<long long>(file_get_modified_ts(none)); },
       0},
      {"ov_open", [&] { return ov_open(none, "rb") != nullptr; }, 0},
      {"ov_open without a mode", [&] { return ov_open(file_.c_str(), none) != nullptr; }, 0},
  };

  expect_results(calls);

  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(NullPath, IsNothingToMakeMoveOrDelete) {
  const char* const none = nullptr;
  const std::string other = below(directory_, "other.bin");
  const Call calls[] = {
      {"file_create_directory", [&] { return file_create_directory(none, false); }, -1},
      {"file_create_directory with parents", [&] { return file_create_directory(none, true); }, -1},
      {"file_delete", [&] { return file_delete(none); }, -1},
      {"file_delete_directory", [&] { return file_delete_directory(none, true); }, -1},
      {"file_move from null", [&] { return file_move(none, other.c_str(), false); }, -6},
      {"file_move to null", [&] { return file_move(file_.c_str(), none, true); }, -10},
      {"file_backup", [&] { return file_backup(none, 10); }, 0},
  };

  expect_results(calls);

  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(NullPath, IsNothingToFindOrList) {
  const char* const none = nullptr;
  const std::string directory = backslashed(directory_);
  char out[260] = "untouched";
  const Call calls[] = {
      {"file_search below null", [&] { return file_search(none, "file.bin", out, sizeof(out)); },
       0},
      {"file_search for null",
       [&] { return file_search(directory.c_str(), none, out, sizeof(out)); }, 0},
      {"file_search into null",
       [&] { return file_search(directory.c_str(), "file.bin", nullptr, 260); }, 0},
      {"flist_new", [&] { return flist_new(none, 1) != nullptr; }, 0},
      {"flist_findfiles below null", [&] { return flist_findfiles(none, "*", true, 0) != nullptr; },
       0},
      {"flist_findfiles for null",
       [&] { return flist_findfiles(directory.c_str(), none, true, 0) != nullptr; }, 0},
  };

  expect_results(calls);

  EXPECT_STREQ(out, "untouched");
  EXPECT_EQ(log_.lines(), Lines{});
}

TEST_F(NullPath, IsNeitherSourceNorDestinationOfACopy) {
  const char* const none = nullptr;
  const char** const no_list = nullptr;
  const std::string copy = below(directory_, "copy.bin");
  unsigned long long bytes = 0;
  md5_state_s md5;
  const Call calls[] = {
      {"file_copy from null",
       [&] {
         return file_copy(none, copy.c_str(), true, bytes, nullptr, nullptr, nullptr, nullptr,
                          false);
       },
       -6},
      {"file_copy from null to no list",
       [&] {
         return file_copy(none, no_list, true, bytes, nullptr, nullptr, nullptr, nullptr, false);
       },
       -6},
      {"file_copy_secure from null",
       [&] { return file_copy_secure(none, copy.c_str(), true, bytes, md5, 3, nullptr, nullptr); },
       -2},
      {"file_copy_secure to null",
       [&] { return file_copy_secure(file_.c_str(), none, true, bytes, md5, 3, nullptr, nullptr); },
       -5},
      {"file_copy_secure of nothing at all",
       [&] { return file_copy_secure(none, none, true, bytes, md5, 3, nullptr, nullptr); }, -1},
      {"file_read_secure", [&] { return file_read_secure(none, md5, nullptr, nullptr); }, -2},
      {"ov_filecopy from null", [&] { return ov_filecopy(none, copy.c_str(), true, bytes); }, 0},
      {"ov_filecopy to null", [&] { return ov_filecopy(file_.c_str(), none, true, bytes); }, -2},
      {"ov_filecopy of nothing at all", [&] { return ov_filecopy(none, none, true, bytes); }, -1},
  };

  expect_results(calls);

  EXPECT_EQ(bytes, 0U);
  EXPECT_EQ(file_exists(copy.c_str()), 0);
}

TEST_F(NullPath, IsNoDestinationOfATree) {
  const std::string tree = backslashed(directory_);
  unsigned long long bytes = 1;

  EXPECT_EQ(ov_filecopy(tree.c_str(), nullptr, true, bytes), 0);
  EXPECT_EQ(ov_filecopy(tree.c_str(), "", true, bytes), 0);

  EXPECT_EQ(bytes, 0U);
}

TEST_F(NullPath, LeavesItsTextForTheFailedCopy) {
  unsigned long long bytes = 0;
  md5_state_s md5;

  const int code = file_copy_secure(file_.c_str(), nullptr, true, bytes, md5, 0, nullptr, nullptr);

  EXPECT_STREQ(get_error_file_copy_secure(code, false), "File Copy: pathname  is not allowed");

  const int code_of_hash = file_read_secure(nullptr, md5, nullptr, nullptr);

  EXPECT_STREQ(get_error_file_copy_secure(code_of_hash, false), "File Copy: failed to open ''\n");
}

TEST_F(NullPath, EnsuresTheDataPathItself) {
  const test::ProgramPaths paths;
  test::ProgramPaths::set_data(backslashed(directory_));
  char out[260];

  EXPECT_STREQ(file_ensure_directory(nullptr, "name", out), below(directory_, "name").c_str());
}

TEST_F(NullPath, OpensNoStream) {
  const Call calls[] = {
      {"io_open64", [] { return io_open64(nullptr, 0, false, true, true) != io_invalid_handle(); },
       0},
      {"io_create64", [] { return io_create64(nullptr, true, 0) != io_invalid_handle(); }, 0},
      {"fReadBuffer::open_file", [] { return fReadBuffer().open_file(nullptr, true, true, false); },
       0},
      {"fWriteBuffer::open_file",
       [] { return fWriteBuffer(io_invalid_handle(), false).open_file(nullptr, 0, false); }, 0},
  };

  expect_results(calls);
}

TEST_F(NullPath, IsOnNoVolume) {
  const char* const none = nullptr;
  char out[260];
  unsigned extents = 7;
  unsigned cluster = 7;
  const Call calls[] = {
      {"ov_freespace", [&] { return static_cast<long long>(ov_freespace(none)); }, 0},
      {"ov_localpath", [&] { return ov_localpath(none); }, 0},
      {"ov_get_volumeinfo", [&] { return ov_get_volumeinfo(none, extents, cluster); }, 0},
      {"is_removable_drive", [&] { return is_removable_drive(none); }, 0},
      {"is_remote_network_drive", [&] { return is_remote_network_drive(none); }, 0},
      {"ov_get_volumepath", [&] { return ov_get_volumepath(none, out, sizeof(out)); }, 0},
  };

  expect_results(calls);

  EXPECT_EQ(extents, 7U);
  EXPECT_EQ(cluster, 7U);
  EXPECT_EQ(log_.last_line(), "WARN :  Failed to get volume path '' (87)");
}

TEST_F(NullPath, IsNamedAsAnEmptyOneWhenItsMountPointIsNotFound) {
  is_removable_drive(nullptr);

  EXPECT_EQ(log_.lines(), Lines{"WARN : Failed to find mount point for path ''"});
}

TEST(NullBuffer, TakesNoText) {
  char* const none = nullptr;
  const Call calls[] = {
      {"file_size_label", [&] { return file_size_label(1536.0F, none, 32); }, 0},
      {"file_size_label of text", [&] { return file_size_label("1536", none, 32); }, 0},
      {"ov_byte_size_designation", [&] { return ov_byte_size_designation(1536, none); }, 0},
      {"ov_increment_suffix", [&] { return ov_increment_suffix(none, false); }, 0},
      {"ov_copy_valid_filename", [&] { return ov_copy_valid_filename(none, "name", 4); }, 0},
  };

  expect_results(calls);
}

TEST(NullStream, IsAtItsEnd) {
  char out[16] = "untouched";
  const Call calls[] = {
      {"ov_read", [&] { return static_cast<long long>(ov_read(out, 1, sizeof(out), nullptr)); },
       -1},
      {"ov_gets", [&] { return ov_gets(out, sizeof(out), nullptr) != nullptr; }, 0},
      {"ov_eof", [] { return ov_eof(nullptr); }, 1},
      {"ov_tell", [] { return ov_tell(nullptr); }, -1},
      {"ov_seek", [] { return ov_seek(nullptr, 0, 0); }, -1},
      {"ov_close", [] { return ov_close(nullptr); }, -1},
  };

  expect_results(calls);

  EXPECT_STREQ(out, "untouched");
}

TEST(NullMemory, GivesNothingToAStream) {
  unsigned char content[] = {1, 2, 3};
  ov_stream stream = {content, sizeof(content), 0, 0};

  EXPECT_EQ(ov_read(nullptr, 1, 3, &stream), static_cast<std::size_t>(-1));
  EXPECT_EQ(ov_gets(nullptr, 16, &stream), nullptr);

  EXPECT_EQ(stream.position, 0U);
  EXPECT_EQ(stream.end, 0);
}

TEST(NullMemory, IsAnEmptySourceOfAReader) {
  fReadBuffer reader;

  reader.set_memory_buffer(nullptr, 100);

  EXPECT_EQ(reader.get_file_size(), 0U);
  EXPECT_EQ(reader.read_byte(), 255);
  EXPECT_EQ(reader.read_int(), -1);
  reader.set_position(10);
  unsigned char byte = 0;
  EXPECT_EQ(reader.read_file(&byte, 1, 1), 0U);
}

TEST(NullMemory, TakesNothingFromAReader) {
  unsigned char content[] = {1, 2, 3};
  fReadBuffer reader;
  reader.set_memory_buffer(content, sizeof(content));

  EXPECT_EQ(reader.read_file(nullptr, 1, 2), 0U);
  EXPECT_EQ(reader.read_raw_bytes(nullptr, 0, 2, 2), 0U);
  EXPECT_EQ(reader.get_bufptr(nullptr), content);

  EXPECT_EQ(reader.read_byte(), 1);
}

TEST(HugeSize, IsNoSmallOneOfARawRead) {
  unsigned char content[] = {1, 2, 3};
  fReadBuffer reader;
  reader.set_memory_buffer(content, sizeof(content));
  unsigned char out[16] = {};

  EXPECT_EQ(reader.read_raw_bytes(out, 1, ~0ULL, sizeof(out)), 0U);
  EXPECT_EQ(reader.read_raw_bytes(out, 1, ~0ULL - 1, sizeof(out)), 0U);

  EXPECT_EQ(out[0], 0);
}

TEST(NullMemory, TakesNothingFromAWriter) {
  const unsigned char content[] = {1, 2, 3};
  fMemBuffer memory;
  memory.set_memory_buffer(nullptr, 100);
  fWriteBuffer writer(io_invalid_handle(), false);
  writer.set_memory_buffer(nullptr, 100);

  EXPECT_EQ(memory.write_file(content, 1, 3), 0U);
  EXPECT_EQ(writer.write_file(content, 1, 3), 3U);  // Its own memory takes over from the full one.

  EXPECT_EQ(std::memcmp(writer.get_current_buffer(), content, sizeof(content)), 0);
}

TEST(NullMemory, AddsNothingToAWriter) {
  fMemBuffer memory;
  fWriteBuffer writer(io_invalid_handle(), false);

  EXPECT_EQ(memory.write_file(nullptr, 1, 3), 0U);
  EXPECT_EQ(writer.write_file(nullptr, 1, 3), 0U);

  EXPECT_EQ(memory.get_buffer_used(), 0U);
  EXPECT_EQ(writer.get_buffer_used(), 0U);
}

}  // namespace
}  // namespace orsin
