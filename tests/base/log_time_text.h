// The time of a log line as a string.
#pragma once

#include <cstring>
#include <string>

#include "base/log_time.h"

namespace orsin::test {

inline std::string written(const TimeOfDay& time) {
  char text[kLogTimeBytes];
  std::memset(text, '?', sizeof(text));  // What is not written shows.
  write_log_time(time, text);
  return {text, kLogTimeBytes};
}

}  // namespace orsin::test
