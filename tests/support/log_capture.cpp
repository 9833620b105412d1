#include "tests/support/log_capture.h"

#include <gtest/gtest.h>

#include "base/message_log.h"
#include "orsincore/log.h"
#include "orsincore/threads.h"

namespace orsin::test {
namespace {

// "hh:mm:ss.ss LEVEL: text" becomes "LEVEL: text"; "                 : text" becomes "     : text".
std::string without_time(const std::string& line) {
  constexpr std::size_t kTimeLength = 12;  // "hh:mm:ss.ss " and the continuation's blanks.
  return line.size() > kTimeLength ? line.substr(kTimeLength) : line;
}

}  // namespace

LogCapture::LogCapture(int level) : path_(directory_.path("captured.log")) {
  stream_ = std::fopen(path_.c_str(), "w+b");
  EXPECT_NE(stream_, nullptr) << path_;
  std::setvbuf(stream_, nullptr, _IONBF, 0);
  mp_getclockfrequency();  // Starts the clock: or the first line would come after a warning.
  msg_open(stream_);
  forget_repeats();
  msg_setlevel(level);
}

LogCapture::~LogCapture() {
  msg_close();
  std::fclose(stream_);
}

std::string LogCapture::text() const {
  return TemporaryDirectory::read(path_);
}

std::string LogCapture::last_line() const {
  const Lines all = lines();
  return all.empty() ? std::string() : all.back();
}

Lines LogCapture::lines() const {
  Lines result;
  const std::string all = text();
  std::size_t start = 0;
  while (start < all.size()) {
    const std::size_t end = all.find('\n', start);
    result.push_back(without_time(all.substr(start, end - start)));
    if (end == std::string::npos) {
      break;
    }
    start = end + 1;
  }
  return result;
}

}  // namespace orsin::test
