// Whole files over real servers, payloads behind a request, and an answer without an end.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <thread>

#include "base/win/windows.h"
#include "orsincore/network.h"
#include "tests/net/servers.h"
#include "tests/support/log_capture.h"

#include <psapi.h>

namespace orsin {
namespace {

using test::broken_url;
using test::get;
using test::LogCapture;
using test::nginx_url;
using test::pattern;
using test::TemporaryDirectory;

std::string code_line(int status) {
  ov_http_socket fresh;  // Its stored code is the 0 of a call that did not fail.
  return "ERROR: HTTP: File loader failed: code " + std::to_string(status) + " [" +
         fresh.LastErrorString() + "]\n";
}

std::string joined(const LogCapture& log) {
  std::string all;
  for (const std::string& line : log.lines()) {
    all += line + '\n';
  }
  return all;
}

class HttpTransfer : public testing::Test {
 protected:
  LogCapture log_;
  TemporaryDirectory directory_;
};

TEST_F(HttpTransfer, DownloadsFilesByteByByte) {
  for (const char* name : {"0", "1", "8192", "104857600"}) {
    SCOPED_TRACE(name);
    const std::string path = directory_.path(name);

    EXPECT_TRUE(ov_http_socket::ReadFile(nginx_url(std::string("/") + name).c_str(), path.c_str()));

    EXPECT_TRUE(TemporaryDirectory::read(path) ==
                TemporaryDirectory::read(test::served_file(name)));
  }
  EXPECT_EQ(joined(log_), "");
}

TEST_F(HttpTransfer, CreatesNoFileForAPageThatDoesNotExist) {
  const std::string path = directory_.path("file");

  EXPECT_FALSE(ov_http_socket::ReadFile(nginx_url("/none").c_str(), path.c_str()));

  EXPECT_FALSE(std::filesystem::exists(test::to_path(path)));
  EXPECT_EQ(joined(log_), code_line(404));
}

TEST_F(HttpTransfer, LogsADiskThatIsFull) {
  if (!test::under_wine()) {
    GTEST_SKIP() << "only Wine can write to a device that is always full";
  }
  EXPECT_FALSE(ov_http_socket::ReadFile(nginx_url("/16384").c_str(), "Z:\\dev\\full"));

  EXPECT_EQ(joined(log_), "ERROR: HTTP: File loader failed: Can't write 'Z:\\dev\\full'\n");
}

// Wine writes behind a request; Windows refuses it, and the upload ends in the line with the code.
class HttpUpload : public HttpTransfer {
 protected:
  void SetUp() override {
    if (!test::under_wine()) {
      GTEST_SKIP() << "Windows takes no bytes behind a request that has been sent";
    }
  }

  // What the last upload brought; waits for its end.
  std::string uploaded() {
    ov_http_socket socket;
    return get(socket, broken_url("/uploaded"));
  }
};

TEST_F(HttpUpload, SendsFilesByteByByte) {
  for (const std::size_t size : {1u, 8192u, 104857600u}) {
    SCOPED_TRACE(size);
    const std::string content = pattern(size);
    const std::string path = directory_.write("file", content);

    EXPECT_TRUE(ov_http_socket::WriteFile(broken_url("/upload").c_str(), path.c_str()));

    EXPECT_TRUE(uploaded() == content);
  }
  EXPECT_EQ(joined(log_), "");
}

TEST_F(HttpUpload, LogsAStatusOtherThan200) {
  const std::string path = directory_.write("file", "content");

  EXPECT_FALSE(ov_http_socket::WriteFile(broken_url("/refused").c_str(), path.c_str()));

  EXPECT_EQ(joined(log_), code_line(404));
  EXPECT_EQ(uploaded(), "content");
}

TEST_F(HttpUpload, WritesAPayloadOnTheRequest) {
  std::string payload = pattern(100000);
  {
    ov_http_socket socket;
    EXPECT_EQ(socket.PutHttpData(broken_url("/upload").c_str(),
                                 reinterpret_cast<unsigned char*>(payload.data()), 100000,
                                 OV_HTTP_GET, nullptr, 0, nullptr),
              100000);
    EXPECT_EQ(socket.GetStatusCode(), 200);
  }
  EXPECT_TRUE(uploaded() == payload);
}

std::uint64_t private_bytes() {
  PROCESS_MEMORY_COUNTERS_EX counters = {};
  counters.cb = sizeof counters;
  GetProcessMemoryInfo(GetCurrentProcess(), reinterpret_cast<PROCESS_MEMORY_COUNTERS*>(&counters),
                       sizeof counters);
  return counters.PrivateUsage;
}

TEST(HttpEndless, GrowsByNoMoreThanItRead) {
  constexpr std::uint64_t kSlackBytes = std::uint64_t{4} << 20;  // Threads, sockets, one step.
  constexpr std::uint64_t kEnoughBytes = std::uint64_t{64} << 20;
  ov_http_socket control;
  get(control, broken_url("/stop"));
  const std::uint64_t before = private_bytes();
  unsigned long long bytes = 0;

  std::thread reader([&bytes] {
    ov_http_socket socket;
    socket.GetHttpData(broken_url("/endless").c_str(), OV_HTTP_GET, nullptr, -1, nullptr, &bytes);
  });
  std::uint64_t sent = 0;
  int samples = 0;
  while (sent < kEnoughBytes) {
    const std::uint64_t grown = private_bytes() - before;
    sent = std::stoull(get(control, broken_url("/sent")));
    EXPECT_LE(grown, sent + kSlackBytes);
    ++samples;
  }
  get(control, broken_url("/stop"));
  reader.join();

  EXPECT_GT(samples, 1);
  EXPECT_GE(bytes, kEnoughBytes);
}

}  // namespace
}  // namespace orsin
