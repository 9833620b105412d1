// A file of one gibibyte, as nginx serves it: zeros but for four marks.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <string_view>

#include "orsincore/network.h"

namespace orsin::test {

inline void expect_gibibyte(ov_http_socket& socket, const std::string& url) {
  constexpr std::size_t kSize = std::size_t{1} << 30;
  unsigned long long bytes = 0;

  const char* data = socket.GetHttpData(url.c_str(), OV_HTTP_GET, nullptr, -1, nullptr, &bytes);

  ASSERT_NE(data, nullptr);
  ASSERT_EQ(bytes, kSize);
  EXPECT_EQ(data[kSize], '\0');
  std::size_t marks = 0;
  for (const std::size_t place : {std::size_t{0}, std::size_t{8191}, kSize / 2, kSize - 4}) {
    marks += std::memcmp(data + place, "mark", 4) == 0 ? 1 : 0;
  }
  EXPECT_EQ(marks, 4u);
  EXPECT_EQ(std::string_view(data + 8195, kSize / 2 - 8195).find_first_not_of('\0'),
            std::string_view::npos);
}

}  // namespace orsin::test
