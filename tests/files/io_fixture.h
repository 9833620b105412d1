// Tests of files: the I/O layer started, a directory of their own, the log captured.
#pragma once

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "orsincore/io.h"
#include "tests/files/io_start.h"
#include "tests/support/log_capture.h"
#include "tests/support/temporary_directory.h"

namespace orsin::test {

class IoTest : public testing::Test {
 protected:
  [[nodiscard]] std::string path(const char* name) const { return directory_.path(name); }
  [[nodiscard]] std::string content(const char* name) const {
    return TemporaryDirectory::read(directory_.path(name));
  }
  std::string write(const char* name, const std::string& bytes) const {
    return directory_.write(name, bytes);
  }

  /// The error lines so far: what a drive says about its sectors is no concern of most tests.
  [[nodiscard]] Lines errors() const {
    Lines errors;
    for (const std::string& line : log_.lines()) {
      if (line.starts_with("ERROR")) {
        errors.push_back(line);
      }
    }
    return errors;
  }

  LogCapture log_;
  TemporaryDirectory directory_;
  IoStart io_;
};

/// A file that is closed with the test's scope.
class OpenFile {
 public:
  explicit OpenFile(void* file) : file_(file) {}
  ~OpenFile() { close(); }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  void close() {
    if (file_ != io_invalid_handle()) {
      io_close64(file_);
    }
    file_ = io_invalid_handle();
  }
  [[nodiscard]] void* get() const { return file_; }
  [[nodiscard]] bool is_open() const { return file_ != io_invalid_handle(); }

 private:
  void* file_;
};

inline std::string random_bytes(std::mt19937& random, std::size_t count) {
  std::string bytes(count, '\0');
  for (char& c : bytes) {
    c = static_cast<char>(random());
  }
  return bytes;
}

}  // namespace orsin::test
