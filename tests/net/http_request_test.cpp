#include "net/http_request.h"

#include <gtest/gtest.h>

namespace orsin {
namespace {

TEST(MethodName, FollowsTheType) {
  EXPECT_STREQ(method_name(OV_HTTP_POST), "POST");
  EXPECT_STREQ(method_name(OV_HTTP_PUT), "PUT");
  EXPECT_STREQ(method_name(OV_HTTP_PATCH), "PATCH");
  EXPECT_STREQ(method_name(OV_HTTP_DELETE), "DELETE");
}

TEST(MethodName, IsPutForUnlistedTypes) {
  EXPECT_STREQ(method_name(static_cast<ov_http_request_type>(5)), "PUT");
  EXPECT_STREQ(method_name(static_cast<ov_http_request_type>(7)), "PUT");
}

TEST(RequestType, HasFixedValues) {
  EXPECT_EQ(OV_HTTP_GET, 0);
  EXPECT_EQ(OV_HTTP_POST, 1);
  EXPECT_EQ(OV_HTTP_PUT, 2);
  EXPECT_EQ(OV_HTTP_PATCH, 3);
  EXPECT_EQ(OV_HTTP_DELETE, 4);
}

TEST(RequestFlags, OnlyKeepPort80OutOfTheCache) {
  EXPECT_EQ(request_flags(80, true), 0x04000000u);
  EXPECT_EQ(request_flags(80, false), 0x04000000u);
}

TEST(RequestFlags, KeepsPort59928PlainWhateverTheSecureFlag) {
  EXPECT_EQ(request_flags(59928, true), 0x04000000u);
  EXPECT_EQ(request_flags(59928, false), 0x04000000u);
}

TEST(RequestFlags, AreLenientAboutCertificatesOnOtherPorts) {
  constexpr std::uint16_t kPorts[] = {443, 8080, 59927, 59929, 0, 65535};
  for (const std::uint16_t port : kPorts) {
    SCOPED_TRACE(port);
    EXPECT_EQ(request_flags(port, true), 0x04803000u);
    EXPECT_EQ(request_flags(port, false), 0x04003000u);
  }
}

TEST(BodyBytes, CountATextWhenTheLengthIsMinusOne) {
  EXPECT_EQ(body_bytes("a=1&b=2", -1), 7u);
  EXPECT_EQ(body_bytes("", -1), 0u);
}

TEST(BodyBytes, AreTheLengthGiven) {
  EXPECT_EQ(body_bytes("a=1", 0), 0u);
  EXPECT_EQ(body_bytes("a\0b", 3), 3u);
}

TEST(BodyBytes, AreNoneWithoutData) {
  EXPECT_EQ(body_bytes(nullptr, -1), 0u);
  EXPECT_EQ(body_bytes(nullptr, 12), 0u);
}

}  // namespace
}  // namespace orsin
