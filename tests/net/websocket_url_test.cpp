// The three characters by which the WebSocket client reads a URL.
#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "net/websocket_url.h"
#include "tests/net/naive_websocket_url.h"

namespace orsin {
namespace {

struct Split {
  const char* what;
  std::u16string url;
  std::u16string host;
  int port;
  std::u16string path;
};

void expect_splits(const std::vector<Split>& cases) {
  for (const Split& c : cases) {
    SCOPED_TRACE(c.what);
    std::u16string text = c.url;

    const WebSocketAddress address = split_websocket_url(text.data());

    EXPECT_EQ(address.host, c.host);
    EXPECT_EQ(address.port, c.port);
    EXPECT_EQ(address.path, c.path);
  }
}

TEST(WebSocketUrl, HasHostPortAndPath) {
  expect_splits({
      {"all three", u"ws://server:9000/live", u"server", 9000, u"/live"},
      {"query", u"ws://server:9000/live?take=1&x=a:b/c", u"server", 9000, u"/live?take=1&x=a:b/c"},
      {"longer path", u"ws://server:9000/a/b//c/", u"server", 9000, u"/a/b//c/"},
      {"no path", u"ws://server:9000", u"server", 9000, u"/"},
      {"query without path", u"ws://server:9000?take=1", u"server", 9000, u"/"},
      {"slash only in the query", u"ws://server:9000?take=1/2", u"server", 9000, u"/2"},
      {"outside ASCII", u"ws://sérvér:9000/été", u"sérvér", 9000, u"/été"},
  });
}

TEST(WebSocketUrl, MayHaveAnySchemeOrNone) {
  expect_splits({
      {"none", u"server:9000/live", u"server", 9000, u"/live"},
      {"encrypted, which changes nothing", u"wss://server:443/", u"server", 443, u"/"},
      {"any other", u"nonsense://server:9000/live", u"server", 9000, u"/live"},
      {"empty", u"://server:9000/live", u"server", 9000, u"/live"},
      {"with a colon", u"a:b://server:9000/live", u"server", 9000, u"/live"},
      {"half of the mark", u"ws:/server", u"ws", 0, u"/server"},
      {"the first mark counts", u"ws://one://two:3/", u"one", 0, u"//two:3/"},
      {"a mark in the query is the first there is", u"server:1/?a=b://c:2/d", u"c", 2, u"/d"},
  });
}

TEST(WebSocketUrl, ReadsThePortLikeAtoi) {
  expect_splits({
      {"none", u"ws://server:/live", u"server", 0, u"/live"},
      {"nothing at all", u"ws://server:", u"server", 0, u"/"},
      {"letters", u"ws://server:http/", u"server", 0, u"/"},
      {"digits, then letters", u"ws://server:80http/", u"server", 80, u"/"},
      {"leading zeros", u"ws://server:0080/", u"server", 80, u"/"},
      {"blanks and a sign", u"ws://server: \t\n\v\f\r+80/", u"server", 80, u"/"},
      {"two signs", u"ws://server:+-80/", u"server", 0, u"/"},
      {"the largest", u"ws://server:65535/", u"server", 65535, u"/"},
      {"17 bits", u"ws://server:65616/", u"server", 80, u"/"},
      {"negative", u"ws://server:-1/", u"server", 65535, u"/"},
      {"the largest int", u"ws://server:2147483647/", u"server", 65535, u"/"},
      {"beyond int", u"ws://server:2147483648/", u"server", 65535, u"/"},
      {"far beyond 64 bits", u"ws://server:99999999999999999999999/", u"server", 65535, u"/"},
      {"far below", u"ws://server:-99999999999999999999999/", u"server", 0, u"/"},
      {"digits of another script", u"ws://server:８０/", u"server", 0, u"/"},
  });
}

TEST(WebSocketUrl, KeepsAPathWithoutAPortInTheHost) {
  expect_splits({
      {"host only", u"ws://server", u"server", 80, u"/"},
      {"path", u"ws://server/live", u"server/live", 80, u"/"},
      {"query", u"ws://server/live?take=1", u"server/live?take=1", 80, u"/"},
      {"no scheme either", u"server/live", u"server/live", 80, u"/"},
  });
}

TEST(WebSocketUrl, EndsTheHostAtTheFirstColonWhateverItIs) {
  expect_splits({
      {"user and password", u"ws://me:secret@server:9000/live", u"me", 0, u"/live"},
      {"IPv6", u"ws://[::1]:9000/live", u"[", 0, u"/live"},
      {"behind the path", u"ws://server/live:9000/x", u"server/live", 9000, u"/x"},
  });
}

TEST(WebSocketUrl, AgreesWithASecondReadingOfRandomText) {
  constexpr int kRounds = 20000;
  constexpr std::u16string_view kPieces[] = {u":", u"/", u"://", u"?",  u"80",     u"-1",
                                             u" ", u"+", u"x",   u"ws", u"\uFF1A", u"99999999999"};
  const unsigned seed = std::random_device()();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  for (int round = 0; round < kRounds; ++round) {
    std::u16string url;
    for (unsigned pieces = random() % 10; pieces > 0; --pieces) {
      url += kPieces[random() % std::size(kPieces)];
    }
    SCOPED_TRACE(testing::PrintToString(url));
    std::u16string text = url;

    const WebSocketAddress address = split_websocket_url(text.data());

    const test::NaiveAddress expected = test::naive_websocket_url(url);
    ASSERT_EQ(address.host, expected.host);
    ASSERT_EQ(address.port, expected.port);
    ASSERT_EQ(address.path, expected.path);
  }
}

TEST(WebSocketUrl, MayBeEmpty) {
  expect_splits({
      {"nothing", u"", u"", 80, u"/"},
      {"scheme only", u"ws://", u"", 80, u"/"},
      {"colon only", u":", u"", 0, u"/"},
      {"port only", u"ws://:9000/live", u"", 9000, u"/live"},
  });
}

}  // namespace
}  // namespace orsin
