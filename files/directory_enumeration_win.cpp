// The system's enumeration of a directory; see directory_enumeration.h.
#include "files/directory_enumeration.h"

#include "base/win/windows.h"
#include "orsincore/text.h"

namespace orsin::port {
namespace {

constexpr std::size_t kPatternUnits = 270;  // A path of 260 and what the pattern adds.

void read_entry(const WIN32_FIND_DATAW& data, FoundEntry& entry) {
  ov_wchar_to_utf8(data.cFileName, entry.name, sizeof(entry.name));
  entry.attributes = data.dwFileAttributes;
  entry.write_time = (std::uint64_t{data.ftLastWriteTime.dwHighDateTime} << 32) |
                     data.ftLastWriteTime.dwLowDateTime;
}

}  // namespace

bool has_fast_enumeration() noexcept {
  OSVERSIONINFOEXW wanted = {};
  wanted.dwOSVersionInfoSize = sizeof(wanted);
  wanted.dwMajorVersion = 6;
  wanted.dwMinorVersion = 1;
  const DWORDLONG at_least =
      VerSetConditionMask(VerSetConditionMask(0, VER_MAJORVERSION, VER_GREATER_EQUAL),
                          VER_MINORVERSION, VER_GREATER_EQUAL);
  return VerifyVersionInfoW(&wanted, VER_MAJORVERSION | VER_MINORVERSION, at_least) != 0;
}

void* start_enumeration(const char* pattern, bool fast, FoundEntry& entry) noexcept {
  wchar_t wide[kPatternUnits];
  ov_utf8_to_wchar_n(pattern, wide, kPatternUnits);
  WIN32_FIND_DATAW data;
  const HANDLE enumeration =
      FindFirstFileExW(wide, fast ? FindExInfoBasic : FindExInfoStandard, &data,
                       FindExSearchNameMatch, nullptr, fast ? FIND_FIRST_EX_LARGE_FETCH : 0);
  if (enumeration == INVALID_HANDLE_VALUE) {
    return nullptr;
  }
  read_entry(data, entry);
  return enumeration;
}

NextEntry continue_enumeration(void* enumeration, FoundEntry& entry) noexcept {
  WIN32_FIND_DATAW data;
  if (FindNextFileW(enumeration, &data) == 0) {
    return GetLastError() == ERROR_NO_MORE_FILES ? NextEntry::kEnd : NextEntry::kFailed;
  }
  read_entry(data, entry);
  return NextEntry::kFound;
}

void end_enumeration(void* enumeration) noexcept {
  FindClose(enumeration);
}

}  // namespace orsin::port
