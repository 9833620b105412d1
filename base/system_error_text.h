// The system's text for an error code, in memory of its own.
//
// os_errormsg() has one buffer for the whole process, which any thread overwrites: it is there for
// hosts. What the library itself says of an error, it says with this.
#pragma once

#include <cstddef>

namespace orsin {

class SystemErrorText {
 public:
  static constexpr std::size_t kBytes = 256;

  /// Without line ends and blanks at its end. The thread's last error stays what it is.
  /// @param none  The text for the code 0.
  explicit SystemErrorText(unsigned code, const char* none = "No Error");

  /// For the thread's last error.
  SystemErrorText();

  [[nodiscard]] const char* c_str() const { return text_; }

 private:
  char text_[kBytes] = {};
};

}  // namespace orsin
