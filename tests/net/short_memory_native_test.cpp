// Answers on a machine that runs out of memory, and what they ask of one that does not.
#include <gtest/gtest.h>

#include <numeric>
#include <string>

#include "base/log_port.h"
#include "net/response_body.h"
#include "orsincore/network.h"
#include "tests/platform/native/fake_internet.h"
#include "tests/platform/native/pages_native.h"
#include "tests/support/log_capture.h"

namespace orsin {
namespace {

using test::InternetScript;
using test::PagesScript;

constexpr unsigned kNotEnoughMemory = 8;

std::uint64_t sum(const std::vector<std::uint64_t>& sizes) {
  return std::accumulate(sizes.begin(), sizes.end(), std::uint64_t{0});
}

// Adds chunks until that many are in or memory is short.
int chunks_added(ResponseBody& body, int count) {
  int added = 0;
  while (added < count && body.add(ResponseBody::kChunkBytes)) {
    ++added;
  }
  return added;
}

TEST(ShortMemory, RefusesABodyThatCannotBegin) {
  const PagesScript machine;
  machine->commits_granted = 0;

  const ResponseBody body(nullptr);

  EXPECT_FALSE(body.is_valid());
}

TEST(ShortMemory, EndsABodyThatCannotGrow) {
  const PagesScript machine;
  machine->commits_granted = 1;
  ResponseBody body(nullptr);
  ASSERT_TRUE(body.is_valid());

  EXPECT_EQ(chunks_added(body, 100), 6);  // The next chunk and its NUL pass the first 64 KiB.

  EXPECT_FALSE(body.is_valid());
}

TEST(ShortMemory, EndsABodyThatCannotMove) {
  const PagesScript machine;
  for (std::size_t granted = 2; granted < 5; ++granted) {
    SCOPED_TRACE(granted);
    *machine.operator->() = {};
    machine->commits_granted = granted;
    ResponseBody body(nullptr, 128 << 10);

    EXPECT_LT(chunks_added(body, 100), 100);

    EXPECT_FALSE(body.is_valid());
  }
}

TEST(ShortMemory, LeavesABodyThatFillsItsReservationWhereItIs) {
  const PagesScript machine;
  machine->commits_granted = 2;
  ResponseBody body(nullptr, 128 << 10);

  ASSERT_EQ(chunks_added(body, 14), 14);

  EXPECT_EQ(machine->reservations, (std::vector<std::uint64_t>{128 << 10}));
}

TEST(ShortMemory, CommitsLittleMoreThanWasRead) {
  const PagesScript machine;
  ResponseBody body(nullptr);

  for (int i = 0; i < 2000; ++i) {
    ASSERT_TRUE(body.add(ResponseBody::kChunkBytes));
    ASSERT_LE(sum(machine->commits), body.size() + (1 << 20) + ResponseBody::kChunkBytes);
  }
  EXPECT_EQ(machine->reservations, (std::vector<std::uint64_t>{1 << 30}));
}

TEST(ShortMemory, InUseIsLittleMoreThanWasReadWhileABodyMoves) {
  const PagesScript machine;
  ResponseBody body(nullptr, 128 << 10);

  for (int i = 0; i < 500; ++i) {
    ASSERT_TRUE(body.add(ResponseBody::kChunkBytes));
    ASSERT_LE(sum(machine->commits) - sum(machine->decommits),
              body.size() + (1 << 20) + ResponseBody::kChunkBytes);
  }
}

// A body that did not know how much it has reserved would move with every chunk.
TEST(ShortMemory, MovesABodyOnlyWhenItOutgrowsItsReservation) {
  const PagesScript machine;
  ResponseBody body(nullptr, 128 << 10);

  ASSERT_EQ(chunks_added(body, 1200), 1200);

  EXPECT_EQ(machine->reservations,
            (std::vector<std::uint64_t>{128 << 10, 8 << 20, std::uint64_t{512} << 20}));
}

TEST(ShortMemory, GivesBackWhatAnEarlierTextNeeded) {
  const PagesScript machine;
  ResponseBody large(nullptr);
  ASSERT_EQ(chunks_added(large, 1000), 1000);
  ResponseBody small(large.release());

  char* text = small.release();

  EXPECT_EQ(sum(machine->commits) - sum(machine->decommits), std::uint64_t{64} << 10);
  ResponseBody::free(text);
}

TEST(ShortMemory, FailsARequestWithTheSystemsCode) {
  const PagesScript machine;
  const InternetScript internet;
  for (const std::size_t granted : {0u, 1u}) {
    SCOPED_TRACE(granted);
    *machine.operator->() = {};
    machine->commits_granted = granted;
    internet->chunks.assign(20, std::string(ResponseBody::kChunkBytes, 'x'));
    ov_http_socket socket;
    unsigned long long bytes = 42;

    EXPECT_EQ(socket.GetHttpData("http://example.org/", OV_HTTP_GET, nullptr, -1, nullptr, &bytes),
              nullptr);

    EXPECT_EQ(port::last_system_error(), kNotEnoughMemory);
    EXPECT_EQ(bytes, 42u);
    char text[256];
    port::system_error_text(kNotEnoughMemory, text, sizeof(text));
    EXPECT_STREQ(socket.LastErrorString(), text);
  }
}

TEST(ShortMemory, LeavesTheClientUsable) {
  const PagesScript machine;
  const InternetScript internet;
  machine->commits_granted = 0;
  internet->chunks = {"text"};
  ov_http_socket socket;
  ASSERT_EQ(socket.GetHttpData("http://example.org/", OV_HTTP_GET, nullptr, -1, nullptr, nullptr),
            nullptr);
  machine->commits_granted = 100;

  EXPECT_STREQ(
      socket.GetHttpData("http://example.org/", OV_HTTP_GET, nullptr, -1, nullptr, nullptr),
      "text");
}

TEST(ShortMemory, EndsAnUploadWithoutALineOfItsOwn) {
  const PagesScript machine;
  const InternetScript internet;
  const test::LogCapture log;
  const test::TemporaryDirectory directory;
  const std::string path = directory.write("file", "content");
  machine->commits_granted = 0;

  EXPECT_FALSE(ov_http_socket::WriteFile("http://example.org/", path.c_str()));

  EXPECT_EQ(log.text().find("HTTP"), std::string::npos) << log.text();
  EXPECT_TRUE(internet->calls.empty());
}

}  // namespace
}  // namespace orsin
