#include "base/win/windows.h"

#include <algorithm>
#include <array>

#include "examples/host/ingest/storage.h"
#include "orsincore/utf.h"

#include <bcrypt.h>

namespace host::ingest {
namespace {

constexpr std::size_t kWideUnits = 1024;
constexpr DWORD kKeptAttributes = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN |
                                  FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE;

using WidePath = std::array<wchar_t, kWideUnits>;

WidePath wide(const std::string& path) {
  WidePath result;
  ov_utf8_to_wchar_n(path.c_str(), result.data(), result.size());
  return result;
}

// In the form without limits: names that are too long for the library shall be seen, not missed.
WidePath wide_unlimited(const std::string& path) {
  return wide(path.starts_with("\\\\") ? "\\\\?\\UNC\\" + path.substr(2) : "\\\\?\\" + path);
}

std::uint64_t ticks(const FILETIME& time) {
  return static_cast<std::uint64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
}

std::uint64_t joined(DWORD high, DWORD low) {
  return static_cast<std::uint64_t>(high) << 32 | low;
}

// Data that only looks like a link to the system, such as a compressed or an offline file, is a
// file; what leads elsewhere is a link.
EntryKind kind_of(DWORD attributes, DWORD reparse_tag) {
  const bool leads_elsewhere = (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
                               IsReparseTagNameSurrogate(reparse_tag) != 0;
  if (leads_elsewhere) {
    return EntryKind::kLink;
  }
  return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? EntryKind::kDirectory : EntryKind::kFile;
}

bool has_lone_surrogate(const wchar_t* name) {
  for (; *name != 0; ++name) {
    const bool is_high = *name >= 0xD800 && *name < 0xDC00;
    if (is_high && name[1] >= 0xDC00 && name[1] < 0xE000) {
      ++name;
    } else if (*name >= 0xD800 && *name < 0xE000) {
      return true;
    }
  }
  return false;
}

Entry entry_of(const WIN32_FIND_DATAW& found) {
  std::array<char, 4 * MAX_PATH> name;
  ov_wchar_to_utf8(found.cFileName, name.data(), name.size());
  Entry entry;
  entry.name = name.data();
  entry.kind = kind_of(found.dwFileAttributes, found.dwReserved0);
  entry.is_name_exact = !has_lone_surrogate(found.cFileName);
  entry.size = joined(found.nFileSizeHigh, found.nFileSizeLow);
  entry.write_time = ticks(found.ftLastWriteTime);
  entry.creation_time = ticks(found.ftCreationTime);
  entry.attributes = found.dwFileAttributes & kKeptAttributes;
  return entry;
}

LARGE_INTEGER large(std::uint64_t value) {
  LARGE_INTEGER result;
  result.QuadPart = static_cast<LONGLONG>(value);
  return result;
}

// A handle that closes without touching the last error.
class Handle {
 public:
  explicit Handle(HANDLE handle) : handle_(handle) {}
  ~Handle() {
    const DWORD error = GetLastError();
    if (is_open()) {
      CloseHandle(handle_);
    }
    SetLastError(error);
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  [[nodiscard]] bool is_open() const { return handle_ != INVALID_HANDLE_VALUE; }
  [[nodiscard]] HANDLE get() const { return handle_; }

 private:
  HANDLE handle_;
};

std::optional<std::string> read_all(HANDLE file, std::uint64_t bytes_max) {
  LARGE_INTEGER size;
  if (GetFileSizeEx(file, &size) == 0 || static_cast<std::uint64_t>(size.QuadPart) > bytes_max ||
      SetFilePointerEx(file, large(0), nullptr, FILE_BEGIN) == 0) {
    return std::nullopt;
  }
  std::string text(static_cast<std::size_t>(size.QuadPart), '\0');
  DWORD read = 0;
  if (ReadFile(file, text.data(), static_cast<DWORD>(text.size()), &read, nullptr) == 0 ||
      read != text.size()) {
    return std::nullopt;
  }
  return text;
}

bool write_all(HANDLE file, std::string_view text) {
  DWORD written = 0;
  return WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) != 0 &&
         written == text.size();
}

}  // namespace

std::string DiskLister::list(const std::string& directory, std::vector<Entry>& entries) {
  WIN32_FIND_DATAW found;
  HANDLE search =
      FindFirstFileExW(wide_unlimited(directory + "\\*").data(), FindExInfoBasic, &found,
                       FindExSearchNameMatch, nullptr, FIND_FIRST_EX_LARGE_FETCH);
  if (search == INVALID_HANDLE_VALUE) {
    return GetLastError() == ERROR_FILE_NOT_FOUND ? std::string() : system_reason();
  }
  do {
    const std::wstring_view name = found.cFileName;
    if (name != L"." && name != L"..") {
      entries.push_back(entry_of(found));
    }
  } while (FindNextFileW(search, &found) != 0);
  const DWORD error = GetLastError();
  FindClose(search);
  SetLastError(error);
  return error == ERROR_NO_MORE_FILES ? std::string() : system_reason();
}

std::string system_reason() {
  const DWORD code = GetLastError();
  std::array<wchar_t, 512> text = {};
  FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0,
                 text.data(), static_cast<DWORD>(text.size()), nullptr);
  std::array<char, 2048> utf8 = {};
  ov_wchar_to_utf8(text.data(), utf8.data(), utf8.size());
  std::string reason = utf8.data();
  while (!reason.empty() && std::string_view("\r\n .").find(reason.back()) != std::string::npos) {
    reason.pop_back();
  }
  SetLastError(code);
  return reason.empty() ? "error " + std::to_string(code) : reason;
}

std::optional<Entry> facts_of(const std::string& path) {
  WIN32_FILE_ATTRIBUTE_DATA data;
  if (GetFileAttributesExW(wide(path).data(), GetFileExInfoStandard, &data) == 0) {
    return std::nullopt;
  }
  Entry entry;
  entry.kind = (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? EntryKind::kDirectory
                                                                       : EntryKind::kFile;
  entry.size = joined(data.nFileSizeHigh, data.nFileSizeLow);
  entry.write_time = ticks(data.ftLastWriteTime);
  entry.creation_time = ticks(data.ftCreationTime);
  entry.attributes = data.dwFileAttributes & kKeptAttributes;
  return entry;
}

bool apply_facts(void* file, const PlannedEntry& facts) {
  FILE_BASIC_INFO information = {};  // A time of 0 leaves what there is.
  information.CreationTime = large(facts.creation_time);
  information.LastWriteTime = large(facts.write_time);
  information.FileAttributes =
      (facts.attributes & kKeptAttributes) == 0 ? FILE_ATTRIBUTE_NORMAL : facts.attributes;
  return SetFileInformationByHandle(file, FileBasicInfo, &information, sizeof(information)) != 0;
}

bool apply_directory_facts(const std::string& path, const PlannedEntry& facts) {
  const Handle directory(CreateFileW(wide(path).data(), FILE_WRITE_ATTRIBUTES,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                     nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  return directory.is_open() && apply_facts(directory.get(), facts);
}

bool rename_file(const std::string& from, const std::string& to, bool replace) {
  return MoveFileExW(wide(from).data(), wide(to).data(), replace ? MOVEFILE_REPLACE_EXISTING : 0) !=
         0;
}

std::optional<std::uint64_t> free_space(const std::string& directory) {
  ULARGE_INTEGER available;
  if (GetDiskFreeSpaceExW(wide(directory).data(), &available, nullptr, nullptr) == 0) {
    return std::nullopt;
  }
  return available.QuadPart;
}

std::optional<std::uint64_t> volume_of(const std::string& directory) {
  const Handle opened(CreateFileW(wide(directory).data(), FILE_READ_ATTRIBUTES,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                  OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
  BY_HANDLE_FILE_INFORMATION information;
  if (!opened.is_open() || GetFileInformationByHandle(opened.get(), &information) == 0) {
    return std::nullopt;
  }
  return information.dwVolumeSerialNumber;
}

std::string volume_label(const std::string& root) {
  std::array<wchar_t, MAX_PATH + 1> label = {};
  if (GetVolumeInformationW(wide(root).data(), label.data(), static_cast<DWORD>(label.size()),
                            nullptr, nullptr, nullptr, nullptr, 0) == 0) {
    return {};
  }
  std::array<char, 4 * MAX_PATH> utf8 = {};
  ov_wchar_to_utf8(label.data(), utf8.data(), utf8.size());
  return utf8.data();
}

std::uint64_t now_ticks() {
  FILETIME now;
  GetSystemTimeAsFileTime(&now);
  return ticks(now);
}

std::optional<std::string> read_small_file(const std::string& path, std::uint64_t bytes_max) {
  const Handle file(CreateFileW(wide(path).data(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
  return file.is_open() ? read_all(file.get(), bytes_max) : std::nullopt;
}

bool write_small_file(const std::string& path, std::string_view text) {
  const std::string growing = path + ".new";
  {
    const Handle file(CreateFileW(wide(growing).data(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                  FILE_FLAG_WRITE_THROUGH, nullptr));
    if (!file.is_open() || !write_all(file.get(), text) || FlushFileBuffers(file.get()) == 0) {
      return false;
    }
  }
  return rename_file(growing, path, true);
}

std::optional<Sha512Digest> sha512(std::string_view data) {
  BCRYPT_ALG_HANDLE algorithm = nullptr;
  if (!BCRYPT_SUCCESS(
          BCryptOpenAlgorithmProvider(&algorithm, BCRYPT_SHA512_ALGORITHM, nullptr, 0))) {
    return std::nullopt;
  }
  Sha512Digest digest;
  BCRYPT_HASH_HANDLE hash = nullptr;
  // BCryptHashData does not change its input.
  auto* const bytes = reinterpret_cast<PUCHAR>(const_cast<char*>(data.data()));
  const bool is_done =
      BCRYPT_SUCCESS(BCryptCreateHash(algorithm, &hash, nullptr, 0, nullptr, 0, 0)) &&
      BCRYPT_SUCCESS(BCryptHashData(hash, bytes, static_cast<ULONG>(data.size()), 0)) &&
      BCRYPT_SUCCESS(BCryptFinishHash(hash, digest.data(), static_cast<ULONG>(digest.size()), 0));
  if (hash != nullptr) {
    BCryptDestroyHash(hash);
  }
  BCryptCloseAlgorithmProvider(algorithm, 0);
  return is_done ? std::optional(digest) : std::nullopt;
}

OpenResult OwnFile::open(const std::string& path, bool temporary) {
  const DWORD access = GENERIC_READ | GENERIC_WRITE | (temporary ? DELETE : 0U);
  HANDLE file =
      CreateFileW(wide(path).data(), access, 0, nullptr, OPEN_ALWAYS,
                  FILE_FLAG_WRITE_THROUGH | (temporary ? FILE_FLAG_DELETE_ON_CLOSE : 0U), nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    const DWORD error = GetLastError();
    // While it is deleted on close, it may also be met on its way out.
    return error == ERROR_SHARING_VIOLATION || (temporary && error == ERROR_DELETE_PENDING)
               ? OpenResult::kBusy
               : OpenResult::kFailed;
  }
  file_ = file;
  return OpenResult::kOpen;
}

std::optional<std::string> OwnFile::read(std::uint64_t bytes_max) {
  return read_all(file_, bytes_max);
}

bool OwnFile::clear() {
  return SetFilePointerEx(file_, large(0), nullptr, FILE_BEGIN) != 0 && SetEndOfFile(file_) != 0;
}

bool OwnFile::add(std::string_view text) {
  return SetFilePointerEx(file_, large(0), nullptr, FILE_END) != 0 && write_all(file_, text);
}

void OwnFile::close() {
  if (file_ != nullptr) {
    CloseHandle(file_);
    file_ = nullptr;
  }
}

}  // namespace host::ingest
