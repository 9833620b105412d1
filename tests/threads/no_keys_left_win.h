// Takes every thread-local index of the process while it lives.
#pragma once

#include <string>
#include <vector>

#include "base/win/windows.h"

namespace orsin::test {

class NoKeysLeft {
 public:
  NoKeysLeft() {
    for (DWORD index = TlsAlloc(); index != TLS_OUT_OF_INDEXES; index = TlsAlloc()) {
      indices_.push_back(index);
    }
    error_ = GetLastError();
  }
  ~NoKeysLeft() {
    for (const DWORD index : indices_) {
      TlsFree(index);
    }
  }
  NoKeysLeft(const NoKeysLeft&) = delete;
  NoKeysLeft& operator=(const NoKeysLeft&) = delete;

  /// The system's code for the shortage.
  [[nodiscard]] std::string error() const { return std::to_string(error_); }

 private:
  std::vector<DWORD> indices_;
  DWORD error_ = 0;
};

}  // namespace orsin::test
