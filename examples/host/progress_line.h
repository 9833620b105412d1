// One line that tells how a long job goes: per cent, speed and time left.
//
//   " 45.2 %   312.4 MB/s   0:12 left"
#pragma once

#include <cstdint>
#include <string>

namespace host {

/// The line for `done` of `total` bytes after `seconds`. MB are 1,000,000 bytes. A job of unknown
/// or zero size counts as complete.
std::string progress_text(std::uint64_t done, std::uint64_t total, double seconds);

/// Rewrites the line on a console, at most ten times a second; silent anywhere else.
class ProgressLine {
 public:
  explicit ProgressLine(std::uint64_t total);
  ~ProgressLine();
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  void add(std::uint64_t bytes);

 private:
  std::uint64_t total_;
  std::uint64_t done_ = 0;
  double started_;
  double shown_;
  bool visible_;
};

}  // namespace host
