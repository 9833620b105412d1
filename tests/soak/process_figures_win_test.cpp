#include "tests/soak/process_figures.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "base/win/windows.h"

namespace orsin::soak {
namespace {

TEST(ProcessFigures, CountOneHandleMoreForEachThatIsOpened) {
  const std::int64_t before = process_figures().handles;
  ASSERT_GT(before, 0);
  HANDLE events[3];
  for (HANDLE& event : events) {
    event = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  }

  EXPECT_EQ(process_figures().handles, before + 3);

  for (HANDLE event : events) {
    CloseHandle(event);
  }
  EXPECT_EQ(process_figures().handles, before);
}

TEST(ProcessFigures, CountThreads) {
  const std::int64_t before = process_figures().threads;
  ASSERT_GT(before, 0);
  HANDLE leave = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  HANDLE thread = CreateThread(
      nullptr, 0, [](void* event) { return WaitForSingleObject(event, INFINITE); }, leave, 0,
      nullptr);

  EXPECT_EQ(process_figures().threads, before + 1);

  SetEvent(leave);
  WaitForSingleObject(thread, INFINITE);
  CloseHandle(thread);
  CloseHandle(leave);
}

TEST(ProcessFigures, CountMemoryThatIsTouched) {
  constexpr std::size_t kBytes = 64 << 20;
  const std::int64_t before = process_figures().resident_bytes;
  ASSERT_GT(before, 0);
  std::vector<unsigned char> touched(kBytes);
  std::memset(touched.data(), 1, kBytes);

  EXPECT_GT(process_figures().resident_bytes, before + static_cast<std::int64_t>(kBytes) * 3 / 4);
}

}  // namespace
}  // namespace orsin::soak
