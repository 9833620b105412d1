// Answers start-up's port in native builds. Standard error stays what it is: a "reopened" one is a
// stream of its own.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>

#include "orsincore/text.h"
#include "tests/platform/copied_text.h"
#include "tests/platform/native/fake_startup.h"

namespace orsin {
namespace test {

FakeStartup& fake_startup() {
  static FakeStartup startup;
  return startup;
}

}  // namespace test

namespace port {
namespace {

std::string native_path(const char* path) {
  std::string native = path;
  std::replace(native.begin(), native.end(), '\\', '/');
  return native;
}

}  // namespace

bool common_application_data(char* path, std::size_t size) noexcept {
  return platform::copy_if_any(test::fake_startup().common_folder, path, size);
}

bool is_file_written(const char* /*path*/) noexcept {
  return test::fake_startup().looks++ < test::fake_startup().written_looks;
}

bool copy_file(const char* from, const char* to) noexcept {
  std::error_code code;
  return !test::fake_startup().refuses_copies &&
         std::filesystem::copy_file(native_path(from), native_path(to),
                                    std::filesystem::copy_options::overwrite_existing, code);
}

void redirect_standard_error(std::FILE* stream) noexcept {
  test::fake_startup().log = stream;
}

}  // namespace port
}  // namespace orsin

std::FILE* ov_utf8_freopen(const char* name, const char* mode, std::FILE* /*stream*/) {
  return ov_utf8_fopen(name, mode);
}
