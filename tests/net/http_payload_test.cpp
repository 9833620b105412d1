// Payloads behind a request, against the recording library: what the writes were, and which of
// their counts is the result.
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "tests/net/http_client.h"
#include "tests/platform/native/fake_internet.h"

namespace orsin {
namespace {

using test::InternetScript;
using test::system_text;
using Client = test::HttpClient;
using Lines = std::vector<std::string>;

constexpr unsigned kAccessDenied = 5;

class Payload : public testing::Test {
 protected:
  int put(std::string_view payload) {
    std::string bytes(payload);
    return client_.PutHttpData("http://example.org/", reinterpret_cast<unsigned char*>(&bytes[0]),
                               static_cast<int>(bytes.size()), OV_HTTP_PUT, "", 0, "");
  }

  InternetScript internet_;
  Client client_;
};

TEST_F(Payload, IsWrittenOnTheRequest) {
  EXPECT_EQ(put("payload"), 7);

  EXPECT_EQ(internet_->calls.at(4), "status request3 8");
  EXPECT_EQ(internet_->calls.at(5), "write request3 7");
  EXPECT_EQ(internet_->calls.size(), 6u);
  EXPECT_EQ(internet_->written, "payload");
  EXPECT_EQ(client_.GetStatusCode(), 200);
}

TEST_F(Payload, MayBeOneByte) {
  EXPECT_EQ(put("p"), 1);

  EXPECT_EQ(internet_->written, "p");
}

TEST_F(Payload, FollowsAGetThroughTheUrlOpener) {
  unsigned char payload[] = {'a', 'b'};

  EXPECT_EQ(
      client_.PutHttpData("http://example.org/", payload, 2, OV_HTTP_GET, nullptr, 0, nullptr), 2);

  EXPECT_EQ(internet_->calls, (Lines{"open_url session1 http://example.org/ 500",
                                     "status request2 8", "write request2 2"}));
}

TEST_F(Payload, IsNotWrittenWhenThereIsNone) {
  unsigned char payload[] = {1};

  EXPECT_EQ(client_.PutHttpData("http://example.org/", nullptr, 7, OV_HTTP_PUT, "", 0, ""), 0);
  EXPECT_EQ(client_.PutHttpData("http://example.org/", payload, 0, OV_HTTP_PUT, "", 0, ""), 0);
  EXPECT_EQ(client_.PutHttpData("http://example.org/", payload, -1, OV_HTTP_PUT, "", 0, ""), 0);

  EXPECT_EQ(internet_->written, "");
  EXPECT_EQ(client_.GetStatusCode(), 200);
}

TEST_F(Payload, FailsWithMinusOneWhenTheRequestFails) {
  EXPECT_EQ(put("earlier"), 7);
  EXPECT_EQ(client_.GetStatusCode(), 200);
  internet_->refusals["send"] = kAccessDenied;

  EXPECT_EQ(put("payload"), -1);

  EXPECT_EQ(client_.LastErrorString(), system_text(kAccessDenied));
  EXPECT_EQ(client_.GetStatusCode(), 0);
}

TEST_F(Payload, KeepsTheLastCountAsItsResult) {
  internet_->writes = {{true, 4}};

  EXPECT_EQ(put("payload"), 3);

  EXPECT_EQ(internet_->calls.at(5), "write request3 7");
  EXPECT_EQ(internet_->calls.at(6), "write request3 3");
  EXPECT_EQ(internet_->written, "payload");
}

TEST_F(Payload, EndsWithAWriteThatTakesNothing) {
  internet_->writes = {{true, 4}, {true, 0}};

  EXPECT_EQ(put("payload"), 0);

  EXPECT_EQ(internet_->written, "payl");
}

TEST_F(Payload, GivesTheCountOfAFirstWriteThatFails) {
  internet_->writes = {{false, 5}};
  EXPECT_EQ(put("payload"), 5);

  internet_->writes = {{false, 0}};
  EXPECT_EQ(put("payload"), 0);

  internet_->writes = {{false, 0xFFFFFFFF}};
  EXPECT_EQ(put("payload"), -1);
}

TEST_F(Payload, GivesTheCountOfALaterWriteThatFails) {
  internet_->writes = {{true, 4}, {false, 1}};

  EXPECT_EQ(put("payload"), 1);
}

}  // namespace
}  // namespace orsin
