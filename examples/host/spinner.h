// A sign of life for work of unknown length.
#pragma once

#include <string>

namespace host {

/// Rewrites the line on a console, and takes it away in the end; silent anywhere else.
class Spinner {
 public:
  explicit Spinner(std::string what);
  ~Spinner();
  Spinner(const Spinner&) = delete;
  Spinner& operator=(const Spinner&) = delete;

  void turn();

 private:
  std::string what_;
  unsigned int turns_ = 0;
  double started_;
  std::size_t shown_width_ = 0;
  bool visible_;
};

}  // namespace host
