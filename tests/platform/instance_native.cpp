// Answers the single instance's port in native builds.
#include "base/log_port.h"
#include "tests/platform/fake_instance.h"

namespace orsin {
namespace test {

FakeInstance& fake_instance() {
  static FakeInstance instance;
  return instance;
}

}  // namespace test

namespace port {
namespace {

void write_down(const std::string& call) {
  test::fake_instance().calls.push_back(call);
}

}  // namespace

void* create_named_mutex(const char* name) noexcept {
  test::FakeInstance& fake = test::fake_instance();
  write_down(std::string("mutex ") + name);
  if (fake.refusal != 0) {
    set_last_system_error(fake.refusal);
    return nullptr;
  }
  if (fake.exists) {
    set_last_system_error(kAlreadyExists);
  }
  ++fake.open_mutexes;
  return &fake;
}

void close_named_mutex(void* /*mutex*/) noexcept {
  --test::fake_instance().open_mutexes;
}

const char* raw_command_line() noexcept {
  return test::fake_instance().command_line.c_str();
}

volatile InstanceRecord& instance_record() noexcept {
  return test::fake_instance().record;
}

void* find_window(const char* class_name) noexcept {
  write_down(std::string("find ") + class_name);
  return test::fake_instance().has_window ? &test::fake_instance() : nullptr;
}

bool is_minimised(void* /*window*/) noexcept {
  return test::fake_instance().window_is_minimised;
}

void restore_window(void* /*window*/) noexcept {
  write_down("restore");
}

void raise_window(void* /*window*/) noexcept {
  write_down("raise");
}

bool desktop_is_visible() noexcept {
  return test::fake_instance().desktop_is_visible;
}

void show_message(const char* text, const char* title) noexcept {
  write_down(std::string("message ") + title + ": " + text);
}

}  // namespace port
}  // namespace orsin
