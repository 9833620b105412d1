// A UTF-8 path as the system's wide calls take it. For *_win.cpp files only.
//
// Null and a path that is too long become an empty one, which no call accepts: cut, it would name
// another file, and that one would be deleted or replaced.
#pragma once

#include "base/path_buffer.h"
#include "orsincore/utf.h"

namespace orsin {

class WidePath {
 public:
  explicit WidePath(const char* path) {
    if (fits_path(path)) {
      ov_utf8_to_wchar_n(path, units_, kUnits);
    }
  }

  operator const wchar_t*() const { return units_; }

 private:
  static constexpr std::size_t kUnits = 260;
  wchar_t units_[kUnits] = {};
};

}  // namespace orsin
