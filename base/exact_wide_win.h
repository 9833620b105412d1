// UTF-8 as other programs and the system's own tables expect it in wide calls. For *_win.cpp files
// only.
//
// The library's own conversion has its way with characters beyond 16 bits, which only its own files'
// names share. What is no UTF-8 is read as that conversion reads it.
#pragma once

#include <cstring>
#include <cwchar>
#include <string>

#include "base/win/windows.h"
#include "orsincore/utf.h"

namespace orsin {

[[nodiscard]] inline std::wstring exact_wide(const char* text) {
  const std::size_t size = std::strlen(text) + 1;
  std::wstring wide(size, L'\0');  // Never more units than bytes.
  const int units = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text, static_cast<int>(size),
                                        wide.data(), static_cast<int>(size));
  if (units == 0) {
    ov_utf8_to_wchar_n(text, wide.data(), size);
  }
  wide.resize(std::wcslen(wide.c_str()));
  return wide;
}

}  // namespace orsin
