// Opens the log on a file of the test's own and gives back what was written.
//
//   LogCapture log;                        // Opened at INFO; log.set_level(4) for everything.
//   mp_key_delete(nullptr);
//   EXPECT_EQ(log.lines(), Lines{});
//
// Heads lose their time of day, so lines compare whole: "ERROR: text", "     : continuation".
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "tests/support/temporary_directory.h"

namespace orsin::test {

using Lines = std::vector<std::string>;

class LogCapture {
 public:
  explicit LogCapture(int level = 2);
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  /// Every line so far, heads without the time of day.
  [[nodiscard]] Lines lines() const;

  /// The last line so far; empty for an empty log.
  [[nodiscard]] std::string last_line() const;

  /// Every byte so far, as it stands in the file.
  [[nodiscard]] std::string text() const;

 private:
  TemporaryDirectory directory_;
  std::string path_;
  std::FILE* stream_ = nullptr;
};

}  // namespace orsin::test
