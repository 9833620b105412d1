#include "tests/support/temporary_directory.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <iterator>
#include <random>
#include <system_error>

namespace orsin::test {

std::filesystem::path to_path(std::string_view utf8) {
  return std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
}

std::string to_utf8(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return std::string(text.begin(), text.end());
}

TemporaryDirectory::TemporaryDirectory() {
  std::random_device random;
  do {
    const std::string name = "orsin-" + std::to_string(random()) + std::to_string(random());
    root_ = std::filesystem::temp_directory_path() / name;
  } while (!std::filesystem::create_directories(root_));
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;  // A file that a killed child still holds must not fail the next test.
  std::filesystem::remove_all(root_, ignored);
}

std::string TemporaryDirectory::path() const {
  return to_utf8(root_);
}

std::string TemporaryDirectory::path(std::string_view name) const {
  return to_utf8((root_ / to_path(name)).make_preferred());
}

std::string TemporaryDirectory::write(std::string_view name, std::string_view content) const {
  const std::string full = path(name);
  std::filesystem::create_directories(to_path(full).parent_path());
  std::ofstream file(to_path(full), std::ios::binary);
  file.write(content.data(), static_cast<std::streamsize>(content.size()));
  EXPECT_TRUE(file.good()) << full;
  return full;
}

std::string TemporaryDirectory::read(const std::string& path) {
  std::ifstream file(to_path(path), std::ios::binary);
  EXPECT_TRUE(file.good()) << path;
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace orsin::test
