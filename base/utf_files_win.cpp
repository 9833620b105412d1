// C streams by UTF-8 names, over the wide calls of the C library.
#include <cwchar>

#include "orsincore/utf.h"

namespace {

// Kept on purpose: longer names are cut, as everywhere that a path has 260 units of room; hosts hand
// paths over that the library has made. Whoever opens streams by names of another origin measures
// them first.
constexpr std::size_t kNameUnits = 260;
constexpr std::size_t kModeUnits = 32;

}  // namespace

std::FILE* ov_utf8_fopen(const char* name, const char* mode) {
  if (name == nullptr || mode == nullptr) {
    return nullptr;
  }
  wchar_t wide_name[kNameUnits];
  wchar_t wide_mode[kModeUnits];
  return _wfopen(ov_utf8_to_wchar_n(name, wide_name, kNameUnits),
                 ov_utf8_to_wchar_n(mode, wide_mode, kModeUnits));
}

std::FILE* ov_utf8_freopen(const char* name, const char* mode, std::FILE* stream) {
  if (name == nullptr || mode == nullptr || stream == nullptr) {
    return nullptr;
  }
  wchar_t wide_name[kNameUnits];
  wchar_t wide_mode[kModeUnits];
  return _wfreopen(ov_utf8_to_wchar_n(name, wide_name, kNameUnits),
                   ov_utf8_to_wchar_n(mode, wide_mode, kModeUnits), stream);
}
