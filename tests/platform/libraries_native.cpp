// The loader's port without libraries, and what start-up's port lends to it.
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "modules/library_port.h"
#include "startup/startup_port.h"
#include "tests/platform/fake_libraries.h"

namespace orsin::test {

FakeLibraries& fake_libraries() {
  static FakeLibraries libraries;
  return libraries;
}

}  // namespace orsin::test

namespace orsin::port {
namespace {

void write_down(const std::string& call) {
  test::fake_libraries().calls.push_back(call);
}

}  // namespace

void* load_library(const char* path) noexcept {
  const test::FakeLibraries& fake = test::fake_libraries();
  write_down(std::string("load ") + path);
  if (fake.on_load) {
    fake.on_load(path);
  }
  const auto found = fake.loadable.find(path);
  if (found == fake.loadable.end()) {
    errno = fake.error;
    return nullptr;
  }
  return found->second;
}

void unload_library(void* module) noexcept {
  write_down("unload");
  if (test::fake_libraries().on_unload) {
    test::fake_libraries().on_unload(module);
  }
}

void* find_symbol(void* /*module*/, const char* symbol) noexcept {
  const auto& symbols = test::fake_libraries().symbols;
  const auto found = symbols.find(symbol);
  return found == symbols.end() ? nullptr : found->second;
}

void silence_thread_notices(void* /*module*/) noexcept {
  write_down("silence threads");
}

bool absolute_path(const char* path, char* out, std::size_t size) noexcept {
  const std::string given = path;
  const std::string whole = given[0] == '/' ? given : test::fake_libraries().current + given;
  // Cut where it does not fit, as under Windows: nobody may go on with that.
  std::snprintf(out, size, "%s", whole.c_str());
  return whole.size() < size;
}

std::wstring library_directory() {
  return test::fake_libraries().directory;
}

void set_library_directory(const char* directory) noexcept {
  test::fake_libraries().directory.assign(directory, directory + std::strlen(directory));
  write_down(std::string("directory ") + directory);
}

void restore_library_directory(const std::wstring& directory) noexcept {
  test::fake_libraries().directory = directory;
  write_down(directory.empty() ? "no directory" : "the host's directory");
}

unsigned error_mode() noexcept {
  return test::fake_libraries().error_mode;
}

void set_error_mode(unsigned mode) noexcept {
  test::fake_libraries().error_mode = mode;
  write_down("error mode");
}

}  // namespace orsin::port
