// A directory of the test's own, removed with everything in it when the test ends.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace orsin::test {

class TemporaryDirectory {
 public:
  TemporaryDirectory();
  ~TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  /// The directory, or a name below it; UTF-8 with the platform's own separator.
  [[nodiscard]] std::string path() const;
  [[nodiscard]] std::string path(std::string_view name) const;

  /// Writes a whole file below the directory and returns its path.
  std::string write(std::string_view name, std::string_view content) const;

  /// A whole file's bytes; fails the test when it cannot be read.
  [[nodiscard]] static std::string read(const std::string& path);

 private:
  std::filesystem::path root_;
};

/// UTF-8 to and from the standard library's path, which is not UTF-8 on Windows.
std::filesystem::path to_path(std::string_view utf8);
std::string to_utf8(const std::filesystem::path& path);

}  // namespace orsin::test
