// Requests and answers with real servers: methods, headers, bodies, sizes, status codes, and
// servers that break the rules.
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

#include "orsincore/network.h"
#include "tests/net/large_answer.h"
#include "tests/net/servers.h"
#include "tests/support/temporary_directory.h"

namespace orsin {
namespace {

using test::broken_url;
using test::echo_url;
using test::get;
using test::nginx_url;
using test::pattern;
using test::TemporaryDirectory;

constexpr unsigned kNameNotResolved = 12007;
constexpr unsigned kCannotConnect = 12029;

// A client for servers that speak plain HTTP on any port.
class PlainClient : public ov_http_socket {
 public:
  PlainClient() { SetSecureFlag(false); }

  std::string send(const std::string& url, ov_http_request_type type, const char* data,
                   int data_len, const char* headers = nullptr) {
    unsigned long long bytes = 0;
    const char* answer = GetHttpData(url.c_str(), type, data, data_len, headers, &bytes);
    return answer != nullptr ? std::string(answer, bytes) : "(none)";
  }
};

// The three parts of what the echoing server got.
struct Echo {
  explicit Echo(const std::string& answer) {
    const std::size_t head_end = answer.find("\r\n\r\n");
    EXPECT_NE(head_end, std::string::npos) << answer;
    const std::size_t line_end = answer.find("\r\n");
    line = answer.substr(0, line_end);
    headers = answer.substr(line_end + 2, head_end - line_end);
    body = answer.substr(head_end + 4);
  }

  [[nodiscard]] bool has(const std::string& header) const {
    return ("\r\n" + headers).find("\r\n" + header + "\r\n") != std::string::npos;
  }

  std::string line;
  std::string headers;
  std::string body;
};

TEST(HttpExchange, SendsAGetWithAgentAndNoBody) {
  ov_http_socket socket;

  const Echo echo(get(socket, echo_url("/echo?a=1")));

  EXPECT_EQ(echo.line, "GET /echo?a=1");
  EXPECT_TRUE(echo.has("User-Agent: KORVANE")) << echo.headers;
  EXPECT_TRUE(echo.has("Pragma: no-cache")) << echo.headers;
  EXPECT_EQ(echo.body, "");
  EXPECT_EQ(socket.GetStatusCode(), 200);
}

TEST(HttpExchange, SendsEveryMethodWithItsBody) {
  const struct {
    ov_http_request_type type;
    const char* method;
  } cases[] = {{OV_HTTP_POST, "POST"},
               {OV_HTTP_PUT, "PUT"},
               {OV_HTTP_PATCH, "PATCH"},
               {OV_HTTP_DELETE, "DELETE"}};
  PlainClient client;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.method);

    const Echo echo(client.send(echo_url("/echo?b=2"), c.type, "one=1", -1));

    EXPECT_EQ(echo.line, std::string(c.method) + " /echo?b=2");
    EXPECT_TRUE(echo.has("Content-Type: application/x-www-form-urlencoded")) << echo.headers;
    EXPECT_TRUE(echo.has("Accept: */*")) << echo.headers;
    EXPECT_EQ(echo.body, "one=1");
    EXPECT_EQ(client.GetStatusCode(), 200);
  }
}

TEST(HttpExchange, SendsOwnHeadersInsteadOfTheDefault) {
  PlainClient client;

  const Echo echo(client.send(echo_url("/echo"), OV_HTTP_POST, "{}", -1,
                              "Content-Type: application/json\r\nX-Take: 7"));

  EXPECT_TRUE(echo.has("Content-Type: application/json")) << echo.headers;
  EXPECT_TRUE(echo.has("X-Take: 7")) << echo.headers;
  EXPECT_EQ(echo.headers.find("urlencoded"), std::string::npos) << echo.headers;
}

TEST(HttpExchange, SendsAsMuchOfTheBodyAsTheLengthSays) {
  PlainClient client;

  EXPECT_EQ(Echo(client.send(echo_url("/echo"), OV_HTTP_POST, "a\0b\0c", 5)).body,
            std::string("a\0b\0c", 5));
  EXPECT_EQ(Echo(client.send(echo_url("/echo"), OV_HTTP_POST, "abc", 0)).body, "");
  EXPECT_EQ(Echo(client.send(echo_url("/echo"), OV_HTTP_POST, "abc", -1)).body, "abc");
}

TEST(HttpExchange, SendsALargeBody) {
  const std::string body = pattern(5000000);
  PlainClient client;

  const Echo echo(
      client.send(echo_url("/echo"), OV_HTTP_PUT, body.data(), static_cast<int>(body.size())));

  EXPECT_TRUE(echo.body == body);
}

TEST(HttpExchange, ReadsAnswersAroundTheSizeOfAChunk) {
  ov_http_socket socket;
  for (const std::size_t size : {0u, 1u, 8191u, 8192u, 8193u, 16384u}) {
    SCOPED_TRACE(size);
    const std::string name = std::to_string(size);

    EXPECT_TRUE(get(socket, nginx_url("/" + name)) ==
                TemporaryDirectory::read(test::served_file(name)));
    EXPECT_TRUE(get(socket, echo_url("/size/" + name)) == pattern(size));
    EXPECT_TRUE(get(socket, echo_url("/chunked/" + name)) == pattern(size));
    EXPECT_EQ(socket.GetStatusCode(), 200);
  }
}

TEST(HttpExchange, ReadsAnAnswerThatEndsWithItsConnection) {
  ov_http_socket socket;

  EXPECT_TRUE(get(socket, broken_url("/unlimited")) == std::string(20000, 'u'));
}

TEST(HttpExchange, WaitsForAnAnswerThatComesByteByByte) {
  std::string answer;
  std::thread reader([&answer] {
    ov_http_socket socket;
    answer = get(socket, broken_url("/slow"));
  });
  ov_http_socket control;

  for (const char* sent : {"0", "1", "2"}) {
    EXPECT_EQ(get(control, broken_url("/hurry")), sent);
  }
  reader.join();

  EXPECT_EQ(answer, "abc");
}

TEST(HttpExchange, ReadsOneAnswerAfterTheOther) {
  PlainClient client;
  for (int i = 0; i < 50; ++i) {
    SCOPED_TRACE(i);
    const auto size = static_cast<std::size_t>(i) * 1001;
    ASSERT_TRUE(get(client, echo_url("/size/" + std::to_string(size))) == pattern(size));
    ASSERT_EQ(Echo(client.send(echo_url("/echo"), OV_HTTP_POST, "x", -1)).body, "x");
  }
}

TEST(HttpExchange, ReadsAGibibyte) {
  ov_http_socket socket;

  test::expect_gibibyte(socket, nginx_url("/1073741824"));
}

TEST(HttpExchange, GivesStatusAndBodyOfEveryAnswer) {
  PlainClient client;
  for (const int code : {200, 201, 301, 400, 404, 500, 503}) {
    SCOPED_TRACE(code);
    const std::string url = echo_url("/status/" + std::to_string(code));
    const std::string text = "status " + std::to_string(code);

    EXPECT_EQ(get(client, url), text);
    EXPECT_EQ(client.GetStatusCode(), code);
    EXPECT_EQ(client.send(url, OV_HTTP_POST, "", 0), text);
    EXPECT_EQ(client.GetStatusCode(), code);
  }
}

TEST(HttpExchange, GivesAnEmptyTextForAnAnswerWithoutABody) {
  PlainClient client;
  for (const int code : {204, 304}) {
    SCOPED_TRACE(code);
    const std::string url = echo_url("/status/" + std::to_string(code));

    EXPECT_EQ(get(client, url), "");
    EXPECT_EQ(client.GetStatusCode(), code);
    EXPECT_EQ(client.send(url, OV_HTTP_DELETE, "", 0), "");
    EXPECT_EQ(client.GetStatusCode(), code);
  }
}

TEST(HttpExchange, FollowsRedirects) {
  ov_http_socket socket;
  for (const char* code : {"301", "302", "307"}) {
    SCOPED_TRACE(code);
    EXPECT_TRUE(get(socket, echo_url(std::string("/redirect/") + code)) == pattern(10));
    EXPECT_EQ(socket.GetStatusCode(), 200);
  }
}

TEST(HttpExchange, KeepsABodyThatStopsShort) {
  ov_http_socket socket;

  EXPECT_TRUE(get(socket, broken_url("/short")) == std::string(5000, 's'));
  EXPECT_EQ(socket.GetStatusCode(), 200);
}

TEST(HttpExchange, FailsWhenNobodyListens) {
  PlainClient client;
  ASSERT_TRUE(get(client, echo_url("/size/3")) == pattern(3));

  EXPECT_EQ(get(client, "http://127.0.0.1:1/"), "(none)");
  EXPECT_EQ(test::last_error_code(client), kCannotConnect);
  EXPECT_EQ(client.GetStatusCode(), 0);
  EXPECT_EQ(client.send("http://127.0.0.1:1/", OV_HTTP_POST, "", 0), "(none)");
  EXPECT_EQ(test::last_error_code(client), kCannotConnect);
}

TEST(HttpExchange, FailsWhenTheNameDoesNotResolve) {
  PlainClient client;

  EXPECT_EQ(get(client, "http://nobody.invalid/"), "(none)");
  EXPECT_EQ(test::last_error_code(client), kNameNotResolved);
  EXPECT_EQ(client.send("http://nobody.invalid/", OV_HTTP_POST, "", 0), "(none)");
  EXPECT_EQ(test::last_error_code(client), kNameNotResolved);
}

TEST(HttpExchange, FailsWhenTheUrlIsNone) {
  PlainClient client;
  for (const char* url : {"", "nonsense", "://", "http://"}) {
    SCOPED_TRACE(url);
    EXPECT_EQ(get(client, url), "(none)");
    EXPECT_NE(test::last_error_code(client), 0u);
    EXPECT_EQ(client.send(url, OV_HTTP_POST, "", 0), "(none)");
    EXPECT_NE(test::last_error_code(client), 0u);
  }
}

TEST(HttpExchange, HasNoStatusWhenTheServerHangsUp) {
  PlainClient client;
  get(client, echo_url("/size/3"));

  const std::string got = get(client, broken_url("/nothing"));
  EXPECT_EQ(client.GetStatusCode(), 0);
  const std::string posted = client.send(broken_url("/nothing"), OV_HTTP_POST, "", 0);
  EXPECT_EQ(client.GetStatusCode(), 0);

  if (!test::under_wine()) {  // Wine takes silence for an empty answer.
    EXPECT_EQ(got, "(none)");
    EXPECT_EQ(posted, "(none)");
    EXPECT_NE(test::last_error_code(client), 0u);
  }
}

TEST(HttpExchange, SurvivesAnAnswerThatIsNoHttp) {
  ov_http_socket socket;

  const std::string got = get(socket, broken_url("/garbage"));

  if (!test::under_wine()) {  // Wine takes noise for an answer of HTTP 0.9, with status 200.
    EXPECT_EQ(got, "(none)");
    EXPECT_EQ(socket.GetStatusCode(), 0);
  }
  EXPECT_TRUE(get(socket, echo_url("/size/3")) == pattern(3));
}

TEST(HttpExchange, HonoursTheTimeOuts) {
  if (test::under_wine()) {
    GTEST_SKIP() << "Wine accepts a session's time-outs and ignores them; that they reach the "
                    "session is tested with the recording library";
  }
  constexpr unsigned kTimeOut = 12002;
  PlainClient client;
  ASSERT_TRUE(client.SetTimeOut(500, 500, 500));

  EXPECT_EQ(get(client, echo_url("/silence")), "(none)");
  EXPECT_EQ(test::last_error_code(client), kTimeOut);
}

}  // namespace
}  // namespace orsin
