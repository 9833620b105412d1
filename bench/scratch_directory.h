// A directory in the temporary directory that is gone, with everything in it, after the benchmark.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <system_error>

#include "core/win/windows.h"

class ScratchDirectory {
 public:
  explicit ScratchDirectory(const char* name)
      : path_(std::filesystem::temp_directory_path() /
              (std::string("orsin-") + name + "-" + std::to_string(GetCurrentProcessId()))) {
    std::filesystem::create_directories(path_);
  }
  ~ScratchDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

  [[nodiscard]] std::string path() const { return path_.string(); }
  [[nodiscard]] std::string path(const std::string& name) const { return (path_ / name).string(); }
  [[nodiscard]] std::wstring wide_path(const std::string& name) const {
    return (path_ / name).wstring();
  }

 private:
  std::filesystem::path path_;
};
