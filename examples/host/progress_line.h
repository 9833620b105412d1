// One line that tells how a long job goes: per cent, speed and time left.
#pragma once

#include <cstdint>
#include <string>

namespace host {

/// Rewrites the line on a console, at most ten times a second; silent anywhere else.
class ProgressLine {
 public:
  /// @param doing  What the line begins with: "copying".
  ProgressLine(std::string doing, std::uint64_t total);
  ~ProgressLine();
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  void add(std::uint64_t bytes);

 private:
  void rewrite(double now) const;

  std::string doing_;
  std::uint64_t total_;
  std::uint64_t done_ = 0;
  double started_;
  double shown_;
  bool visible_;
};

}  // namespace host
