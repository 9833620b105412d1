// The HTTP client against a library that records what it is asked: which calls, in which order,
// with which arguments, and what each failure leaves behind.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "orsincore/network.h"
#include "tests/net/http_client.h"
#include "tests/platform/native/fake_internet.h"
#include "tests/support/new_refusal.h"

namespace orsin {
namespace {

using test::InternetScript;
using test::system_text;
using Client = test::HttpClient;
using Lines = std::vector<std::string>;

constexpr unsigned kAccessDenied = 5;
constexpr unsigned kInvalidAuthority = 12045;
constexpr unsigned kNoUrl = 0xFFFFFFFF;

class HttpSocket : public testing::Test {
 protected:
  InternetScript internet_;
};

TEST_F(HttpSocket, OpensASessionWithTheDefaultTimeOuts) {
  const ov_http_socket socket;

  EXPECT_EQ(internet_->calls, (Lines{"open KORVANE", "option session1 2 30000",
                                     "option session1 5 300000", "option session1 6 300000"}));
}

TEST_F(HttpSocket, StartsWithoutAStatusAndWithoutAnError) {
  ov_http_socket socket;

  EXPECT_EQ(socket.GetStatusCode(), 0);
  EXPECT_EQ(socket.LastErrorString(), system_text(0));
}

TEST_F(HttpSocket, SetsNoTimeOutsWithoutASession) {
  internet_->refusals["open"] = kAccessDenied;

  ov_http_socket socket;

  EXPECT_EQ(internet_->calls, Lines{"open KORVANE"});
  EXPECT_FALSE(socket.SetTimeOut(1, 2, 3));
  EXPECT_EQ(internet_->calls, Lines{"open KORVANE"});
}

TEST_F(HttpSocket, FailsEveryCallWithoutASession) {
  internet_->refusals["open"] = kAccessDenied;
  Client client;
  unsigned char payload[] = {1};

  EXPECT_EQ(client.get("http://example.org/"), "(none)");
  EXPECT_EQ(client.PutHttpData("http://example.org/", payload, 1, OV_HTTP_GET, nullptr, 0, nullptr),
            -1);
  EXPECT_EQ(client.GetHttpData("http://example.org/", OV_HTTP_POST, "", 0, nullptr, nullptr),
            nullptr);
  EXPECT_EQ(client.GetStatusCode(), 0);
}

TEST_F(HttpSocket, SetsAllThreeTimeOuts) {
  Client client;

  EXPECT_TRUE(client.SetTimeOut(1, 2, 3));

  EXPECT_EQ(internet_->calls,
            (Lines{"option session1 2 1", "option session1 5 2", "option session1 6 3"}));
}

TEST_F(HttpSocket, AttemptsAllTimeOutsEvenIfOneIsRefused) {
  for (const char* option : {"option 2", "option 5", "option 6"}) {
    SCOPED_TRACE(option);
    const InternetScript internet;
    Client client;
    internet->refusals[option] = kAccessDenied;

    EXPECT_FALSE(client.SetTimeOut(500, 500, 500));

    EXPECT_EQ(internet->calls.size(), 3u);
  }
}

TEST_F(HttpSocket, ClosesNoHandleThatWentWithItsParent) {
  for (const ov_http_request_type type : {OV_HTTP_GET, OV_HTTP_POST}) {
    SCOPED_TRACE(type);
    const InternetScript internet;
    {
      Client client;
      ASSERT_NE(client.GetHttpData("http://example.org/a", type, "", 0, nullptr, nullptr), nullptr);
      internet->calls.clear();
    }

    EXPECT_EQ(internet->calls, Lines{"close session1"});
    EXPECT_TRUE(internet->open_handles.empty());
  }
}

TEST_F(HttpSocket, ClosesOnlyWhatIsOpen) {
  { const Client client; }

  EXPECT_EQ(internet_->calls, Lines{"close session1"});
}

TEST_F(HttpSocket, GetsThroughTheUrlOpener) {
  internet_->chunks = {"hello", ", world"};
  Client client;

  EXPECT_EQ(client.get("http://example.org/a?b"), "hello, world");

  EXPECT_EQ(internet_->calls,
            (Lines{"open_url session1 http://example.org/a?b 500", "status request2 8",
                   "read request2 8192", "read request2 8192", "read request2 8192"}));
  EXPECT_EQ(client.GetStatusCode(), 200);
}

TEST_F(HttpSocket, ClosesThePreviousRequestBeforeTheNextGet) {
  Client client;
  client.get("http://example.org/1");
  internet_->calls.clear();

  client.get("http://example.org/2");

  EXPECT_EQ(internet_->calls.at(0), "close request2");
  EXPECT_EQ(internet_->calls.at(1), "open_url session1 http://example.org/2 500");
}

TEST_F(HttpSocket, ClosesThePreviousConnectionBeforeTheNextGet) {
  Client client;
  client.PostUrl("http://example.org/1", OV_HTTP_POST, "", 0, "");
  internet_->calls.clear();

  client.get("http://example.org/2");

  EXPECT_EQ(internet_->calls.at(0), "close connection2");
  EXPECT_EQ(internet_->calls.at(1), "open_url session1 http://example.org/2 500");
  EXPECT_EQ(internet_->open_handles.size(), 2u) << "the session and the request";
}

TEST_F(HttpSocket, ClosesThePreviousRequestAlsoForAUrlThatCannotBeUsed) {
  const struct {
    const char* url;
    ov_http_request_type type;
  } cases[] = {{nullptr, OV_HTTP_GET}, {nullptr, OV_HTTP_POST}, {"no URL", OV_HTTP_POST}};
  for (const auto& c : cases) {
    for (const ov_http_request_type before : {OV_HTTP_GET, OV_HTTP_POST}) {
      SCOPED_TRACE(before);
      const InternetScript internet;
      Client client;
      client.GetHttpData("http://example.org/1", before, "", 0, "", nullptr);

      EXPECT_EQ(client.GetHttpData(c.url, c.type, "", 0, "", nullptr), nullptr);

      EXPECT_EQ(internet->open_handles.size(), 1u) << "the session";
    }
  }
}

TEST_F(HttpSocket, ReturnsTheBodyOfAnErrorAnswer) {
  internet_->status = "404";
  internet_->chunks = {"no such page"};
  Client client;

  EXPECT_EQ(client.get("http://example.org/"), "no such page");

  EXPECT_EQ(client.GetStatusCode(), 404);
}

TEST_F(HttpSocket, TerminatesTheBody) {
  internet_->chunks = {std::string(8192, 'x'), std::string(8192, 'y')};
  Client client;
  unsigned long long bytes = 0;

  const char* data =
      client.GetHttpData("http://example.org/", OV_HTTP_GET, nullptr, -1, nullptr, &bytes);

  ASSERT_NE(data, nullptr);
  EXPECT_EQ(bytes, 16384u);
  EXPECT_EQ(std::strlen(data), 16384u);
}

TEST_F(HttpSocket, ReadsABodyOfOneChunkInOneRead) {
  internet_->chunks = {std::string(8192, 'x')};
  Client client;

  EXPECT_EQ(client.get("http://example.org/").size(), 8192u);

  EXPECT_EQ(internet_->calls,
            (Lines{"open_url session1 http://example.org/ 500", "status request2 8",
                   "read request2 8192", "read request2 8192"}));
}

TEST_F(HttpSocket, GivesAnEmptyTextForAnEmptyBody) {
  Client client;

  EXPECT_EQ(client.get("http://example.org/"), "");
}

TEST_F(HttpSocket, NeedsNoPlaceForTheLength) {
  internet_->chunks = {"text"};
  Client client;

  EXPECT_STREQ(
      client.GetHttpData("http://example.org/", OV_HTTP_GET, nullptr, -1, nullptr, nullptr),
      "text");
}

TEST_F(HttpSocket, KeepsABodyThatAFailedReadCutShort) {
  internet_->chunks = {"half a bo"};
  internet_->refusals["read"] = kAccessDenied;
  Client client;

  EXPECT_EQ(client.get("http://example.org/"), "half a bo");

  EXPECT_EQ(client.LastErrorString(), system_text(0));
}

TEST_F(HttpSocket, TakesTheBytesThatAFailedReadBrings) {
  internet_->chunks = {std::string(8192, 'x')};
  internet_->refusals["read"] = kAccessDenied;
  internet_->cut_chunk = "half a chunk";
  Client client;

  EXPECT_EQ(client.get("http://example.org/"), std::string(8192, 'x') + "half a chunk");
}

TEST_F(HttpSocket, KeepsTheStatusAtZeroWhenItCannotBeAsked) {
  internet_->refusals["status"] = kAccessDenied;
  internet_->chunks = {"text"};
  Client client;

  EXPECT_EQ(client.get("http://example.org/"), "text");

  EXPECT_EQ(client.GetStatusCode(), 0);
}

TEST_F(HttpSocket, FailsWithMinusOneWithoutAUrl) {
  unsigned char payload[] = {1};
  unsigned long long bytes = 42;
  Client client;
  client.get("http://example.org/");
  internet_->calls.clear();

  EXPECT_EQ(client.GetHttpData(nullptr, OV_HTTP_GET, nullptr, -1, nullptr, &bytes), nullptr);
  EXPECT_EQ(bytes, 42u);
  EXPECT_EQ(client.GetStatusCode(), 0);
  EXPECT_EQ(client.LastErrorString(), system_text(kNoUrl));
  port::set_last_system_error(0);
  EXPECT_EQ(client.PutHttpData(nullptr, payload, 1, OV_HTTP_POST, nullptr, 0, nullptr), -1);
  EXPECT_EQ(port::last_system_error(), kNoUrl);
  EXPECT_EQ(client.LastErrorString(), system_text(kNoUrl));
  EXPECT_FALSE(client.OpenUrl(nullptr));
  EXPECT_FALSE(client.PostUrl(nullptr, OV_HTTP_POST, nullptr, 0, nullptr));
  EXPECT_EQ(internet_->calls, Lines{"close request2"});

  Client posting;
  EXPECT_FALSE(posting.PostUrl(nullptr, OV_HTTP_POST, nullptr, 0, nullptr));
  EXPECT_EQ(posting.LastErrorString(), system_text(kNoUrl));
}

TEST_F(HttpSocket, HasNoTextForErrorsThatAreNotInTheSystemsTable) {
  internet_->refusals["open_url"] = kInvalidAuthority;
  Client client;
  client.get(nullptr);
  client.LastErrorString();

  client.get("https://example.org/");

  EXPECT_STREQ(client.LastErrorString(), "");
}

TEST_F(HttpSocket, TellsErrorsInTheSystemsWords) {
  for (const unsigned code : {kAccessDenied, 11999u, 13000u, kNoUrl}) {
    SCOPED_TRACE(code);
    internet_->refusals["open_url"] = code;
    Client client;

    client.get("http://example.org/");

    EXPECT_EQ(client.LastErrorString(), system_text(code));
  }
}

TEST_F(HttpSocket, LeavesTheCodeOfAFailureAsTheThreadsLastError) {
  Client client;
  unsigned char payload[] = {1};
  internet_->refusals["send"] = kInvalidAuthority;

  EXPECT_EQ(client.GetHttpData("https://example.org/", OV_HTTP_POST, "", 0, "", nullptr), nullptr);
  EXPECT_EQ(port::last_system_error(), kInvalidAuthority);
  port::set_last_system_error(0);
  EXPECT_EQ(client.PutHttpData("https://example.org/", payload, 1, OV_HTTP_PUT, "", 0, ""), -1);
  EXPECT_EQ(port::last_system_error(), kInvalidAuthority);
  EXPECT_EQ(client.get(nullptr), "(none)");
  EXPECT_EQ(port::last_system_error(), kNoUrl);
}

#if defined(_WIN32)
TEST_F(HttpSocket, HasNoTextForAnUnknownCode) {
  Client client;

  client.get(nullptr);

  EXPECT_STREQ(client.LastErrorString(), "");
}
#endif

TEST_F(HttpSocket, StoresTheErrorOfAUrlThatCannotBeOpened) {
  Client client;
  client.get("http://example.org/");
  unsigned long long bytes = 42;
  internet_->refusals["open_url"] = kAccessDenied;

  EXPECT_EQ(client.GetHttpData("http://example.org/", OV_HTTP_GET, nullptr, -1, nullptr, &bytes),
            nullptr);

  EXPECT_EQ(bytes, 42u);
  EXPECT_EQ(client.GetStatusCode(), 0);
  EXPECT_EQ(client.LastErrorString(), system_text(kAccessDenied));
}

TEST_F(HttpSocket, KeepsThePreviousBodyUntilAnAnswerComes) {
  internet_->chunks = {"first"};
  Client client;
  const char* first =
      client.GetHttpData("http://example.org/", OV_HTTP_GET, nullptr, -1, nullptr, nullptr);
  internet_->refusals["open_url"] = kAccessDenied;

  client.get("http://example.org/");

  EXPECT_STREQ(first, "first");
}

TEST_F(HttpSocket, PostsInFourSteps) {
  Client client;

  EXPECT_TRUE(client.PostUrl("https://example.org/a?b", OV_HTTP_POST, "x=1", -1, "A: b"));

  EXPECT_EQ(internet_->calls,
            (Lines{"split https://example.org/a?b", "connect session1 example.org 443 4000000",
                   "open_request connection2 POST /a?b 4803000", "send request3 [A: b] [x=1]"}));
}

TEST_F(HttpSocket, UsesTheMethodOfTheType) {
  const struct {
    int type;
    const char* method;
  } cases[] = {{1, "POST"}, {2, "PUT"}, {3, "PATCH"}, {4, "DELETE"}, {5, "PUT"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.type);
    const InternetScript internet;
    Client client;

    client.GetHttpData("http://example.org/", static_cast<ov_http_request_type>(c.type), "", 0,
                       nullptr, nullptr);

    EXPECT_EQ(internet->calls.at(2),
              std::string("open_request connection2 ") + c.method + " / 4000000");
  }
}

TEST_F(HttpSocket, CallsTheBodyAFormUnlessTold) {
  Client client;

  client.PostUrl("http://example.org/", OV_HTTP_POST, "x=1", -1, nullptr);

  EXPECT_EQ(internet_->calls.back(),
            "send request3 [Content-Type: application/x-www-form-urlencoded] [x=1]");
}

TEST_F(HttpSocket, SendsNoHeadersWhenTheyAreEmpty) {
  Client client;

  client.PostUrl("http://example.org/", OV_HTTP_POST, "x=1", -1, "");

  EXPECT_EQ(internet_->calls.back(), "send request3 [] [x=1]");
}

TEST_F(HttpSocket, SendsAsMuchOfTheBodyAsTheLengthSays) {
  const struct {
    const char* data;
    int length;
    const char* body;
  } cases[] = {{"x=1", -1, "[x=1]"}, {"x=1", 0, "[]"},    {"x=1", 2, "[x=]"},
               {"", -1, "[]"},       {nullptr, -1, "[]"}, {nullptr, 0, "[]"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.length);
    const InternetScript internet;
    Client client;

    client.PostUrl("http://example.org/", OV_HTTP_PUT, c.data, c.length, "A: b");

    EXPECT_EQ(internet->calls.back(), std::string("send request3 [A: b] ") + c.body);
  }
}

TEST_F(HttpSocket, LeavesTlsOutOnOtherPortsWhenTheSecureFlagIsClear) {
  Client client;
  client.SetSecureFlag(false);

  client.PostUrl("http://example.org:8080/", OV_HTTP_POST, "", 0, "");
  client.SetSecureFlag(true);
  client.PostUrl("http://example.org:8080/", OV_HTTP_POST, "", 0, "");

  EXPECT_EQ(internet_->calls.at(1), "connect session1 example.org 8080 4000000");
  EXPECT_EQ(internet_->calls.at(2), "open_request connection2 POST / 4003000");
  EXPECT_EQ(internet_->calls.at(7), "open_request connection4 POST / 4803000");
}

TEST_F(HttpSocket, KeepsTlsOutOnPort59928EvenForHttps) {
  Client client;

  client.PostUrl("https://example.org:59928/", OV_HTTP_POST, "", 0, "");

  EXPECT_EQ(internet_->calls.at(2), "open_request connection2 POST / 4000000");
}

TEST_F(HttpSocket, ClosesThePreviousConnectionBeforeTheNextPost) {
  Client client;
  client.PostUrl("http://example.org/1", OV_HTTP_POST, "", 0, "");
  internet_->calls.clear();

  client.PostUrl("http://example.org/2", OV_HTTP_POST, "", 0, "");

  EXPECT_EQ(internet_->calls,
            (Lines{"close connection2", "split http://example.org/2",
                   "connect session1 example.org 80 4000000",
                   "open_request connection4 POST /2 4000000", "send request5 [] []"}));
}

TEST_F(HttpSocket, StoresTheErrorOfTheStepThatFailed) {
  const struct {
    const char* step;
    Lines open_after;
  } cases[] = {{"split", {"session1"}},
               {"connect", {"session1"}},
               {"open_request", {"session1", "connection2"}},
               {"send", {"session1", "connection2", "request3"}}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.step);
    const InternetScript internet;
    internet->refusals[c.step] = kAccessDenied;
    Client client;
    unsigned long long bytes = 42;

    EXPECT_EQ(client.GetHttpData("http://example.org/", OV_HTTP_POST, "", 0, "", &bytes), nullptr);

    EXPECT_EQ(bytes, 42u);
    EXPECT_EQ(client.GetStatusCode(), 0);
    EXPECT_EQ(client.LastErrorString(), system_text(kAccessDenied));
    Lines open;
    for (const auto& [handle, name] : internet->open_handles) {
      open.push_back(name);
    }
    EXPECT_EQ(open, c.open_after);
  }
}

// Host and path are copied before anything is asked of the system.
TEST_F(HttpSocket, FailsARequestThatMemoryIsTooShortFor) {
  constexpr unsigned kNotEnoughMemory = 8;
  Client client;
  for (const int granted : {0, 1}) {
    SCOPED_TRACE(granted);
    internet_->calls.clear();
    const test::NewRefusal refusal(granted);

    EXPECT_EQ(client.GetHttpData("http://example.org/", OV_HTTP_POST, "", 0, "", nullptr), nullptr);

    EXPECT_EQ(port::last_system_error(), kNotEnoughMemory);
    EXPECT_EQ(internet_->calls, Lines{"split http://example.org/"});
  }
}

TEST_F(HttpSocket, ClosesWhatAFailedRequestLeftBehind) {
  {
    internet_->refusals["send"] = kAccessDenied;
    Client client;
    client.GetHttpData("http://example.org/", OV_HTTP_POST, "", 0, "", nullptr);
    internet_->refusals.clear();
    client.GetHttpData("http://example.org/", OV_HTTP_POST, "", 0, "", nullptr);
    EXPECT_EQ(internet_->open_handles.size(), 3u);
  }

  EXPECT_TRUE(internet_->open_handles.empty());
}

TEST_F(HttpSocket, ReadsNoStatusWithoutARequest) {
  Client client;

  client.SetStatusCode();

  EXPECT_TRUE(internet_->calls.empty());
  EXPECT_EQ(client.GetStatusCode(), 0);
}

TEST_F(HttpSocket, KeepsBothCopiesOnTheSameHandles) {
  // Only one of two copies may be destroyed, so the other lives in memory that nobody destroys.
  alignas(ov_http_socket) unsigned char storage[sizeof(ov_http_socket)];
  internet_->chunks = {"text"};
  {
    Client original;
    original.SetSecureFlag(false);
    const char* body =
        original.GetHttpData("http://example.org/", OV_HTTP_GET, nullptr, -1, nullptr, nullptr);
    internet_->refusals["open"] = kAccessDenied;
    auto* copy = new (storage) ov_http_socket;
    internet_->refusals.clear();

    *copy = original;

    EXPECT_EQ(copy->GetStatusCode(), 200);
    EXPECT_EQ(std::memcmp(storage, static_cast<ov_http_socket*>(&original), 40), 0);
    EXPECT_STREQ(body, "text");
    internet_->calls.clear();
    EXPECT_TRUE(copy->SetTimeOut(1, 2, 3));
    EXPECT_EQ(internet_->calls.at(0), "option session1 2 1");
  }
  EXPECT_TRUE(internet_->open_handles.empty());
}

}  // namespace
}  // namespace orsin
