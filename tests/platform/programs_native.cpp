// The spawner's port without programs.
#include "tests/platform/fake_programs.h"

#include <cerrno>
#include <new>

namespace orsin {
namespace test {

FakePrograms& fake_programs() {
  static FakePrograms programs;
  return programs;
}

}  // namespace test

namespace port {

void* start_program(const char* program, const char* const* argv, ErrorOutput errors) {
  test::FakePrograms& fake = test::fake_programs();
  fake.errors = errors;
  fake.program = program;
  fake.arguments.clear();
  for (int i = 0; argv[i] != nullptr; ++i) {
    fake.arguments.emplace_back(argv[i]);
  }
  if (fake.lacks_memory) {
    throw std::bad_alloc();
  }
  if (fake.start_error != 0) {
    errno = fake.start_error;
    return nullptr;
  }
  ++fake.open_handles;
  return &fake;
}

ProgramState test_program(void* /*process*/) noexcept {
  test::FakePrograms& fake = test::fake_programs();
  ++fake.looks;
  if (fake.states.empty()) {
    return ProgramState::kEnded;
  }
  const ProgramState state = fake.states.front();
  fake.states.pop_front();
  return state;
}

bool read_exit_code(void* /*process*/, std::int32_t& code) noexcept {
  const test::FakePrograms& fake = test::fake_programs();
  errno = fake.exit_code_error;
  code = fake.exit_code;
  return fake.exit_code_error == 0;
}

void close_program(void* /*process*/) noexcept {
  --test::fake_programs().open_handles;
}

}  // namespace port
}  // namespace orsin
