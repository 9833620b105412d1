// Handles of files that are copied in one piece; see whole_file_port.h.
#include "files/whole_file_port.h"

#include "base/win/windows.h"

namespace orsin::port {
namespace {

// The others say how a file is stored, and are not set this way.
constexpr DWORD kSettable = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN |
                            FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE |
                            FILE_ATTRIBUTE_TEMPORARY | FILE_ATTRIBUTE_OFFLINE |
                            FILE_ATTRIBUTE_NOT_CONTENT_INDEXED;

}  // namespace

// Not GetFileInformationByHandle(), which asks for the volume as well: with small files that takes
// longer than all the rest.
bool read_open_facts(void* file, FileFacts& facts) noexcept {
  FILE_BASIC_INFO basic;
  FILE_STANDARD_INFO standard;
  if (GetFileInformationByHandleEx(file, FileBasicInfo, &basic, sizeof(basic)) == 0 ||
      GetFileInformationByHandleEx(file, FileStandardInfo, &standard, sizeof(standard)) == 0) {
    return false;
  }
  facts.attributes = basic.FileAttributes;
  facts.size_bytes = static_cast<std::uint64_t>(standard.EndOfFile.QuadPart);
  facts.write_time = static_cast<std::uint64_t>(basic.LastWriteTime.QuadPart);
  return true;
}

bool write_open_facts(void* file, const FileFacts& facts) noexcept {
  FILE_BASIC_INFO info = {};  // A time of 0 stays as it is.
  info.LastWriteTime.QuadPart = static_cast<LONGLONG>(facts.write_time);
  // Attributes of 0 would stay as they are, too: a file without any is a normal one.
  info.FileAttributes = (facts.attributes & kSettable) | FILE_ATTRIBUTE_NORMAL;
  return SetFileInformationByHandle(file, FileBasicInfo, &info, sizeof(info)) != 0;
}

bool read_on(void* file, void* buffer, std::uint32_t size, std::uint32_t& bytes) noexcept {
  DWORD count = 0;
  const BOOL succeeded = ReadFile(file, buffer, size, &count, nullptr);
  bytes = count;
  return succeeded != 0;
}

bool write_on(void* file, const void* data, std::uint32_t size, std::uint32_t& bytes) noexcept {
  DWORD count = 0;
  const BOOL succeeded = WriteFile(file, data, size, &count, nullptr);
  bytes = count;
  return succeeded != 0;
}

}  // namespace orsin::port
