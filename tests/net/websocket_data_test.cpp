// A message on its way into memory.
#include "net/websocket_data.h"

#include <gtest/gtest.h>

namespace orsin {
namespace {

TEST(WebSocketData, IsOfNoTypeBeforeItIsThere) {
  WebSocketData data(0);
  EXPECT_EQ(data.GetType(), 0U);
  EXPECT_EQ(data.GetSize(), 0U);

  data.complete_binary(0);

  EXPECT_EQ(data.GetType(), 1U);
}

}  // namespace
}  // namespace orsin
