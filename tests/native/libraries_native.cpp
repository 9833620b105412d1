// The loader's port without libraries, and what start-up's port lends to it.
#include <cerrno>

#include "modules/library_port.h"
#include "startup/startup_port.h"
#include "tests/native/fake_libraries.h"

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

void set_library_directory(const char* directory) noexcept {
  write_down(directory != nullptr ? std::string("directory ") + directory : "no directory");
}

void silence_error_boxes() noexcept {
  write_down("silence boxes");
}

}  // namespace orsin::port
