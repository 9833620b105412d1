// Streams by UTF-8 name. A name reaches the system whole, whatever its length: cut, it would name
// another file, and opening that one for writing would empty it.
#include <cwchar>

#include "orsincore/text.h"

namespace {

constexpr std::size_t kNameUnits = 0x8000;  // The system itself takes no longer ones.
constexpr std::size_t kModeUnits = 32;

}  // namespace

std::FILE* ov_utf8_fopen(const char* name, const char* mode) {
  wchar_t wide_name[kNameUnits];
  wchar_t wide_mode[kModeUnits];
  return _wfopen(ov_utf8_to_wchar_n(name, wide_name, kNameUnits),
                 ov_utf8_to_wchar_n(mode, wide_mode, kModeUnits));
}

std::FILE* ov_utf8_freopen(const char* name, const char* mode, std::FILE* stream) {
  wchar_t wide_name[kNameUnits];
  wchar_t wide_mode[kModeUnits];
  return _wfreopen(ov_utf8_to_wchar_n(name, wide_name, kNameUnits),
                   ov_utf8_to_wchar_n(mode, wide_mode, kModeUnits), stream);
}
