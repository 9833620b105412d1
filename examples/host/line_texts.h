// What the lines say that long jobs rewrite on a console.
//
//   progress   "copying    45.2 %     312.4 MB/s    0:12 left"
//   elapsed    "0:12"
//   spinner    "| tool 0:12", the bar turning
//
// Plain functions of their arguments.
#pragma once

#include <cstdint>
#include <string>

namespace host {

/// The line after `seconds` of a job that is `done` bytes of `total` far. MB are 1,000,000 bytes. A
/// job of no size counts as complete.
std::string progress_text(const std::string& doing, std::uint64_t done, std::uint64_t total,
                          double seconds);

/// Minutes and seconds.
std::string elapsed_text(double seconds);

/// The line after `seconds`, with the bar's position number `turn`.
std::string spinner_text(const std::string& what, unsigned int turn, double seconds);

}  // namespace host
