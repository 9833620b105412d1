// Downloads and uploads against the recording library: what reaches the disk and the log.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>

#include "base/log_port.h"
#include "orsincore/network.h"
#include "tests/platform/native/fake_internet.h"
#include "tests/platform/native/fake_new_files.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::InternetScript;
using test::Lines;
using test::LogCapture;
using test::TemporaryDirectory;

constexpr unsigned kAccessDenied = 5;

// The line with a code: the system's text brings its own line end into the brackets.
std::string code_line(int status, unsigned error) {
  char text[256];
  port::system_error_text(error, text, sizeof(text));
  return "ERROR: HTTP: File loader failed: code " + std::to_string(status) + " [" + text + "]\n";
}

// The log without the times of day, in one piece.
std::string joined(const LogCapture& log) {
  std::string all;
  for (const std::string& line : log.lines()) {
    all += line + '\n';
  }
  return all;
}

Lines files_in(const TemporaryDirectory& directory) {
  Lines names;
  for (const auto& entry : std::filesystem::directory_iterator(test::to_path(directory.path()))) {
    names.push_back(test::to_utf8(entry.path().filename()));
  }
  return names;
}

class HttpFiles : public testing::Test {
 protected:
  InternetScript internet_;
  LogCapture log_;
  TemporaryDirectory directory_;
};

using Download = HttpFiles;

TEST_F(Download, WritesTheBodyByteByByte) {
  std::string expected;
  for (int i = 0; i < 40; ++i) {
    std::string chunk(8192, '\0');
    for (std::size_t k = 0; k < chunk.size(); ++k) {
      chunk[k] = static_cast<char>(i * 31 + static_cast<int>(k) * 7);
    }
    internet_->chunks.push_back(chunk);
    expected += chunk;
  }
  const std::string path = directory_.path("body");

  EXPECT_TRUE(ov_http_socket::ReadFile("http://example.org/", path.c_str()));

  EXPECT_EQ(TemporaryDirectory::read(path), expected);
  EXPECT_EQ(joined(log_), "");
  EXPECT_TRUE(internet_->open_handles.empty());
}

TEST_F(Download, MakesAnEmptyFileOfAnEmptyBody) {
  const std::string path = directory_.write("body", "old content");

  EXPECT_TRUE(ov_http_socket::ReadFile("http://example.org/", path.c_str()));

  EXPECT_EQ(TemporaryDirectory::read(path), "");
}

TEST_F(Download, LogsTheStatusAndTheTextOfAnotherAnswer) {
  internet_->status = "404";
  internet_->chunks = {"no such page"};
  const std::string path = directory_.path("body");
  port::set_last_system_error(kAccessDenied);  // Of an earlier call.

  EXPECT_FALSE(ov_http_socket::ReadFile("http://example.org/", path.c_str()));

  EXPECT_EQ(port::last_system_error(), 0U);
  EXPECT_EQ(joined(log_), code_line(404, 0));
  EXPECT_FALSE(std::filesystem::exists(test::to_path(path)));
}

TEST_F(Download, LogsTheErrorOfAUrlThatCannotBeOpened) {
  internet_->refusals["open_url"] = kAccessDenied;
  const std::string path = directory_.path("body");

  EXPECT_FALSE(ov_http_socket::ReadFile("http://example.org/", path.c_str()));

  EXPECT_EQ(port::last_system_error(), kAccessDenied);
  EXPECT_EQ(joined(log_), code_line(0, kAccessDenied));
  EXPECT_FALSE(std::filesystem::exists(test::to_path(path)));
  EXPECT_TRUE(internet_->open_handles.empty());
}

TEST_F(Download, LogsMinusOneWithoutAUrl) {
  EXPECT_FALSE(ov_http_socket::ReadFile(nullptr, directory_.path("body").c_str()));

  EXPECT_EQ(joined(log_), code_line(0, 0xFFFFFFFF));
}

TEST_F(Download, LogsAFileThatCannotBeCreated) {
  const std::string path = directory_.path();  // A directory.

  EXPECT_FALSE(ov_http_socket::ReadFile("http://example.org/", path.c_str()));

  EXPECT_EQ(joined(log_), "ERROR: HTTP: File loader failed: Can't write '" + path + "'\n");
}

TEST_F(Download, CreatesNoFileWithoutAPathOrForOneThatIsTooLong) {
  const std::string path(260, 'x');

  EXPECT_FALSE(ov_http_socket::ReadFile("http://example.org/", nullptr));
  EXPECT_FALSE(ov_http_socket::ReadFile("http://example.org/", path.c_str()));

  EXPECT_EQ(joined(log_),
            "ERROR: HTTP: File loader failed: Can't write ''\n"
            "ERROR: HTTP: File loader failed: Can't write '" +
                path + "'\n");
}

TEST_F(Download, ReplacesAFileAsAWhole) {
  internet_->chunks = {"new"};
  const std::string path = directory_.write("body", "old content");

  EXPECT_TRUE(ov_http_socket::ReadFile("http://example.org/", path.c_str()));

  EXPECT_EQ(TemporaryDirectory::read(path), "new");
  EXPECT_EQ(files_in(directory_), Lines{"body"});
}

TEST_F(Download, WritesOverNobodysFileBesideIt) {
  internet_->chunks = {"new"};
  for (int i = 0; i < 100; ++i) {
    char name[16];
    std::snprintf(name, sizeof(name), "~%06d.new", i);
    directory_.write(name, name);
  }

  EXPECT_TRUE(ov_http_socket::ReadFile("http://example.org/", directory_.path("body").c_str()));

  EXPECT_EQ(files_in(directory_).size(), 101u);
  EXPECT_EQ(TemporaryDirectory::read(directory_.path("~000007.new")), "~000007.new");
}

#if !defined(_WIN32)
TEST_F(Download, LeavesTheOldFileWhenTheDiskIsFull) {
  // Large bodies fail while they are written, small ones when the file is closed.
  const std::string path = directory_.write("body", "old content");
  const test::FullDisk full_disk;
  for (const std::size_t size : {10u, 8000u, 100000u}) {
    SCOPED_TRACE(size);
    const InternetScript internet;
    const LogCapture log;
    for (std::size_t sent = 0; sent < size; sent += 8192) {
      internet->chunks.emplace_back(std::min<std::size_t>(size - sent, 8192), 'x');
    }

    EXPECT_FALSE(ov_http_socket::ReadFile("http://example.org/", path.c_str()));

    EXPECT_EQ(joined(log), "ERROR: HTTP: File loader failed: Can't write '" + path + "'\n");
    EXPECT_EQ(TemporaryDirectory::read(path), "old content");
    EXPECT_EQ(files_in(directory_), Lines{"body"});
  }
}
#endif

using Upload = HttpFiles;

TEST_F(Upload, WritesTheFileOnTheOpenRequest) {
  std::string content(100000, 'a');
  content[50000] = '\0';
  const std::string path = directory_.write("file", content);

  EXPECT_TRUE(ov_http_socket::WriteFile("http://example.org/", path.c_str()));

  EXPECT_EQ(internet_->written, content);
  EXPECT_EQ(internet_->calls.at(4), "open_url session1 http://example.org/ 500");
  EXPECT_EQ(internet_->calls.at(5), "status request2 8");
  EXPECT_EQ(internet_->calls.at(6), "write request2 100000");
  EXPECT_EQ(joined(log_), "");
  EXPECT_TRUE(internet_->open_handles.empty());
}

TEST_F(Upload, WritesAFileOfOneByte) {
  const std::string path = directory_.write("file", "a");

  EXPECT_TRUE(ov_http_socket::WriteFile("http://example.org/", path.c_str()));

  EXPECT_EQ(internet_->written, "a");
  EXPECT_EQ(joined(log_), "");
}

TEST_F(Upload, OfAnEmptyOrMissingFileFailsInSilence) {
  const std::string empty = directory_.write("empty", "");

  EXPECT_FALSE(ov_http_socket::WriteFile("http://example.org/", empty.c_str()));
  EXPECT_FALSE(ov_http_socket::WriteFile("http://example.org/", directory_.path("none").c_str()));

  EXPECT_EQ(joined(log_), "");
  EXPECT_TRUE(internet_->calls.empty());
}

#if !defined(_WIN32)
TEST_F(Upload, OfNoFileFailsInSilence) {
  EXPECT_FALSE(ov_http_socket::WriteFile("http://example.org/", nullptr));

  EXPECT_EQ(joined(log_), "");
}

TEST_F(Upload, LogsAFileThatCannotBeRead) {
  const std::string path =
      directory_.path();  // A directory has a size, and opens, but that is all.

  EXPECT_FALSE(ov_http_socket::WriteFile("http://example.org/", path.c_str()));

  EXPECT_EQ(joined(log_), "ERROR: HTTP: File loader failed: Can't read '" + path + "'\n");
  EXPECT_TRUE(internet_->calls.empty());
}
#endif

TEST_F(Upload, LogsMinusOneWithoutAUrl) {
  const std::string path = directory_.write("file", "content");

  EXPECT_FALSE(ov_http_socket::WriteFile(nullptr, path.c_str()));

  EXPECT_EQ(joined(log_), code_line(0, 0xFFFFFFFF));
}

TEST_F(Upload, LogsTheErrorOfAUrlThatCannotBeOpened) {
  internet_->refusals["open_url"] = kAccessDenied;
  const std::string path = directory_.write("file", "content");

  EXPECT_FALSE(ov_http_socket::WriteFile("http://example.org/", path.c_str()));

  EXPECT_EQ(joined(log_), code_line(0, kAccessDenied));
}

TEST_F(Upload, LogsTheStatusOfAnotherAnswer) {
  internet_->status = "404";
  const std::string path = directory_.write("file", "content");

  EXPECT_FALSE(ov_http_socket::WriteFile("http://example.org/", path.c_str()));

  EXPECT_EQ(joined(log_), code_line(404, 0));
  EXPECT_EQ(internet_->written, "content");
}

TEST_F(Upload, LogsTheCodeWhenNothingCouldBeWritten) {
  const std::string path = directory_.write("file", "content");
  for (const std::uint32_t count : {0u, 0xFFFFFFFFu}) {
    SCOPED_TRACE(count);
    const InternetScript internet;
    const LogCapture log;
    internet->writes = {{false, count}};

    EXPECT_FALSE(ov_http_socket::WriteFile("http://example.org/", path.c_str()));

    EXPECT_EQ(joined(log), code_line(200, 0));
  }
}

TEST_F(Upload, KeepsAFileThatLeftInPiecesAFailure) {
  internet_->writes = {{true, 4}};
  const std::string path = directory_.write("file", "content");

  EXPECT_FALSE(ov_http_socket::WriteFile("http://example.org/", path.c_str()));

  EXPECT_EQ(internet_->written, "content");
  EXPECT_EQ(joined(log_), "ERROR: HTTP: File loader failed: Can't write all data..\n");
}

}  // namespace
}  // namespace orsin
