// Uploads and downloads of files that only Windows refuses.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "base/win/windows.h"
#include "orsincore/network.h"
#include "tests/platform/native/fake_internet.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

struct HandleCloser {
  void operator()(HANDLE handle) const { CloseHandle(handle); }
};

TEST(UploadWin, LogsAFileThatIsOpenElsewhere) {
  const test::InternetScript internet;
  const test::LogCapture log;
  const test::TemporaryDirectory directory;
  const std::string path = directory.write("file", "content");
  const std::unique_ptr<void, HandleCloser> unshared(CreateFileA(
      path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  ASSERT_NE(unshared.get(), INVALID_HANDLE_VALUE);

  EXPECT_FALSE(ov_http_socket::WriteFile("http://example.org/", path.c_str()));

  EXPECT_EQ(log.lines(),
            (test::Lines{"ERROR: HTTP: File loader failed: Can't read '" + path + "'"}));
  EXPECT_TRUE(internet->calls.empty());
}

TEST(DownloadWin, LeavesAFileThatIsOpenElsewhere) {
  const test::InternetScript internet;
  const test::LogCapture log;
  const test::TemporaryDirectory directory;
  const std::string path = directory.write("file", "old content");
  internet->chunks = {"new"};
  {
    const std::unique_ptr<void, HandleCloser> reader(
        CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    ASSERT_NE(reader.get(), INVALID_HANDLE_VALUE);

    EXPECT_FALSE(ov_http_socket::ReadFile("http://example.org/", path.c_str()));
  }

  EXPECT_EQ(log.lines(),
            (test::Lines{"ERROR: HTTP: File loader failed: Can't write '" + path + "'"}));
  EXPECT_EQ(test::TemporaryDirectory::read(path), "old content");
}

}  // namespace
}  // namespace orsin
