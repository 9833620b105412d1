// Answers the scheduling port of native builds.
#include <cerrno>

#include "tests/platform/native/fake_scheduling.h"

namespace orsin {
namespace test {

FakeScheduling& fake_scheduling() {
  static FakeScheduling scheduling;
  return scheduling;
}

}  // namespace test

namespace port {
namespace {

bool grant(const char* call) {
  test::FakeScheduling& fake = test::fake_scheduling();
  fake.calls.emplace_back(call);
  if (fake.refuse) {
    errno = fake.error;
  }
  return !fake.refuse;
}

}  // namespace

bool set_process_class(ProcessClass priority_class) noexcept {
  return grant(priority_class == ProcessClass::kHigh ? "class high" : "class real-time");
}

bool set_thread_priority(ThreadPriority priority) noexcept {
  switch (priority) {
    case ThreadPriority::kIdle:
      return grant("thread idle");
    case ThreadPriority::kNormal:
      return grant("thread normal");
    case ThreadPriority::kAboveNormal:
      return grant("thread above normal");
    case ThreadPriority::kHighest:
      break;
  }
  return grant("thread highest");
}

bool disable_priority_boost() noexcept {
  return grant("no boost");
}

PrivilegeResult enable_priority_privilege() noexcept {
  test::FakeScheduling& fake = test::fake_scheduling();
  fake.calls.emplace_back("privilege");
  if (fake.privilege != PrivilegeResult::kEnabled) {
    errno = fake.error;
  }
  return fake.privilege;
}

bool is_administrator() noexcept {
  test::fake_scheduling().calls.emplace_back("group");
  return test::fake_scheduling().is_administrator;
}

}  // namespace port
}  // namespace orsin
