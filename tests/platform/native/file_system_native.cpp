// The file system and environment ports over POSIX, for builds without Windows.
//
// Backslashes become slashes, so tests use the same paths everywhere. Sharing is enforced, and the mark
// of a read-only file, which POSIX lets the superuser pass over.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/path_buffer.h"
#include "files/directory_enumeration.h"
#include "files/environment_port.h"
#include "files/file_system_port.h"
#include "orsincore/text.h"
#include "tests/platform/file_rules.h"
#include "tests/platform/native/fake_access.h"
#include "tests/platform/native/fake_enumeration.h"
#include "tests/platform/native/fake_paths.h"
#include "tests/platform/native/open_files.h"
#include "tests/platform/native/posix_facts.h"
#include "tests/platform/system_errors.h"

namespace orsin::test {

FakeAccess& fake_access() {
  static FakeAccess access;
  return access;
}

bool& directories_have_indices() {
  static bool have_indices = true;
  return have_indices;
}

std::optional<std::uint32_t>& link_tag() {
  constexpr std::uint32_t kSymbolicLink = 0xA000000C;
  static std::optional<std::uint32_t> tag = kSymbolicLink;
  return tag;
}

std::function<void()>& after_missing() {
  static std::function<void()> job;
  return job;
}

std::atomic<int>& path_calls() {
  static std::atomic<int> calls = 0;
  return calls;
}

FakeEnumeration& fake_enumeration() {
  static FakeEnumeration enumeration;
  return enumeration;
}

}  // namespace orsin::test

namespace orsin::port {

using namespace orsin::test;

namespace {

// Empty for a path that is too long. As on Windows a separator at its end says nothing.
std::string native_path(const char* path) {
  ++test::path_calls();
  std::string native = path != nullptr && std::strlen(path) < kPathBytes ? path : "";
  std::replace(native.begin(), native.end(), '\\', '/');
  while (native.size() > 1 && native.back() == '/') {
    native.pop_back();
  }
  return native;
}

bool has_separator_behind(const char* path) {
  return path != nullptr && *path != '\0' &&
         std::strchr("\\/", path[std::strlen(path) - 1]) != nullptr;
}

// As on Windows a link to a directory is a directory of its own, also when it leads nowhere; a link
// to a file passes for the file.
bool is_directory_link(const std::string& native) {
  struct stat status;
  if (lstat(native.c_str(), &status) != 0 || !S_ISLNK(status.st_mode)) {
    return false;
  }
  return stat(native.c_str(), &status) != 0 || S_ISDIR(status.st_mode);
}

}  // namespace

namespace {

bool read_native_facts(const std::string& native, FileFacts& facts) {
  struct stat status;
  if (is_directory_link(native)) {
    facts = {kDirectory | kReparsePoint, 0, 0};
    return true;
  }
  if (stat(native.c_str(), &status) != 0) {
    return false;
  }
  facts = facts_of(status);
  return true;
}

}  // namespace

// With a separator behind it a link is its target to some systems.
bool read_facts(const char* path, FileFacts& facts) noexcept {
  struct stat status;
  const std::string native = native_path(path);
  if (has_separator_behind(path) && stat(native.c_str(), &status) == 0) {
    facts = facts_of(status);
    return true;
  }
  return read_native_facts(native, facts);
}

bool read_reparse_tag(const char* path, std::uint32_t& tag) noexcept {
  const std::optional<std::uint32_t>& told = test::link_tag();
  tag = is_directory_link(native_path(path)) ? told.value_or(0) : 0;
  return told.has_value();
}

bool read_identity(const char* path, DirectoryIdentity& identity) noexcept {
  struct stat status;
  // A drive without a separator is whichever of its directories is current there.
  if (std::string_view(path).ends_with(':')) {
    return false;
  }
  if (stat(native_path(path).c_str(), &status) != 0) {
    return false;
  }
  identity = {status.st_dev, test::directories_have_indices() ? status.st_ino : 0};
  return true;
}

namespace {

bool take_path(std::string native, char* path, std::size_t size) {
  std::replace(native.begin(), native.end(), '/', '\\');
  if (native.size() >= size) {
    return false;
  }
  std::memcpy(path, native.c_str(), native.size() + 1);
  return true;
}

}  // namespace

bool full_path(const char* path, char* full, std::size_t size) noexcept {
  const std::filesystem::path native = native_path(path);
  if (native.empty()) {
    return false;
  }
  std::string absolute = std::filesystem::absolute(native).lexically_normal().string();
  // As on Windows a separator behind it stays.
  if (has_separator_behind(path) && !absolute.ends_with('/')) {
    absolute += '/';
  }
  return take_path(absolute, full, size);
}

bool final_path(const char* path, char* real, std::size_t size) noexcept {
  std::error_code error;
  const std::filesystem::path native = std::filesystem::canonical(native_path(path), error);
  return !error && take_path(native.string(), real, size);
}

bool read_attributes(const char* path, std::uint32_t& attributes) noexcept {
  FileFacts facts;
  if (!read_facts(path, facts)) {
    if (auto& job = test::after_missing(); job) {
      std::exchange(job, nullptr)();
    }
    return false;
  }
  attributes = facts.attributes;
  return true;
}

namespace {

bool may_change_facts() {
  if (test::fake_access().refuses_facts) {
    errno = EACCES;
  }
  return !test::fake_access().refuses_facts;
}

}  // namespace

bool write_attributes(const char* path, std::uint32_t attributes) noexcept {
  struct stat status;
  const std::string native = native_path(path);
  if (stat(native.c_str(), &status) != 0) {
    return false;
  }
  return may_change_facts() && chmod(native.c_str(), mode_for(status, attributes)) == 0;
}

namespace {

// What a file that is opened for a moment says of itself.
bool open_for_a_moment(const char* path, const OpenMode& mode, FileFacts& facts) {
  struct stat status;
  if (stat(native_path(path).c_str(), &status) != 0) {
    return false;
  }
  facts = facts_of(status);
  if (platform::is_closed_to(mode, (facts.attributes & kDirectory) != 0,
                             (facts.attributes & kReadOnly) != 0)) {
    errno = static_cast<int>(platform::kErrorAccessDenied);
    return false;
  }
  if (!open_files().admit(status, mode)) {
    errno = static_cast<int>(kErrorSharingViolation);
    return false;
  }
  return true;
}

}  // namespace

bool read_write_time(const char* path, bool share, std::uint64_t& time) noexcept {
  FileFacts facts;
  if (!open_for_a_moment(path, {.read = true, .share_read = share}, facts)) {
    return false;
  }
  time = facts.write_time;
  return true;
}

bool write_write_time(const char* path, std::uint64_t time) noexcept {
  FileFacts facts;
  return open_for_a_moment(path, {.write = true}, facts) && write_write_time_shared(path, time);
}

bool write_write_time_shared(const char* path, std::uint64_t time) noexcept {
  const std::array<timespec, 2> times = times_for(time);
  return may_change_facts() && utimensat(AT_FDCWD, native_path(path).c_str(), times.data(), 0) == 0;
}

bool make_file(const char* path) noexcept {
  const int file = ::open(native_path(path).c_str(), O_WRONLY | O_CREAT | O_EXCL, 0666);
  if (file < 0) {
    errno = errno == EEXIST ? static_cast<int>(kErrorFileExists) : errno;
    return false;
  }
  ::close(file);
  return true;
}

bool make_directory(const char* path) noexcept {
  return mkdir(native_path(path).c_str(), 0777) == 0;
}

namespace {

// Whether somebody has it open.
bool is_held(const std::string& native) {
  struct stat status;
  return stat(native.c_str(), &status) == 0 && open_files().contains(status);
}

bool is_marked_read_only(const std::string& native) {
  FileFacts facts;
  return read_native_facts(native, facts) && (facts.attributes & kReadOnly) != 0;
}

}  // namespace

bool remove_file(const char* path) noexcept {
  const std::string native = native_path(path);
  if (is_directory_link(native) || is_marked_read_only(native) || is_held(native)) {
    errno = EACCES;
    return false;
  }
  return unlink(native.c_str()) == 0;
}

bool remove_directory(const char* path) noexcept {
  const std::string native = native_path(path);
  return (is_directory_link(native) ? unlink(native.c_str()) : rmdir(native.c_str())) == 0;
}

// As on Windows, nothing is replaced, and what has the name already keeps it.
bool rename_path(const char* from, const char* to) noexcept {
  struct stat status;
  const std::string native = native_path(to);
  const bool is_there = stat(native.c_str(), &status) == 0;
  if (is_there && native == native_path(from)) {
    return true;
  }
  if (is_there) {
    errno = EEXIST;
    return false;
  }
  const std::string native_from = native_path(from);
  if (native_from == test::fake_access().held || is_held(native_from)) {
    errno = EACCES;
    return false;
  }
  return std::rename(native_from.c_str(), native.c_str()) == 0;
}

AccessGrant grant_everyone(const char* dir, std::uint32_t& merge_error) noexcept {
  test::FakeAccess& access = test::fake_access();
  access.directories.emplace_back(dir);
  merge_error = access.merge_error;
  return access.grant;
}

bool read_environment(const char* name, char* value, std::size_t size) noexcept {
  const char* found = std::getenv(name);
  if (found == nullptr) {
    return false;
  }
  std::snprintf(value, size, "%s", found);
  return true;
}

bool has_fast_enumeration() noexcept {
  return test::fake_enumeration().has_fast_form;
}

namespace {

struct Enumeration {
  DIR* directory;
  std::string path;
};

}  // namespace

void* start_enumeration(const char* pattern, bool fast, FoundEntry& entry) noexcept {
  if (test::FakeEnumeration& fake = test::fake_enumeration(); fake.is_watched) {
    fake.forms += fast ? "fast " : "plain ";
  }
  // Two backslashes begin the name of another machine, which has no files itself.
  if (pattern[0] == '\\' && pattern[1] == '\\' && std::strchr(pattern + 2, '\\') == nullptr) {
    errno = kErrorPathNotFound;
    return nullptr;
  }
  std::string path = pattern;  // Longer than a path.
  std::replace(path.begin(), path.end(), '\\', '/');
  path.erase(path.rfind('/') + 1);
  if (test::FakeEnumeration& fake = test::fake_enumeration();
      !fake.refuses.empty() && path.ends_with("/" + fake.refuses + "/")) {
    errno = static_cast<int>(fake.error);
    return nullptr;
  }
  DIR* directory = opendir(path.c_str());
  if (directory == nullptr) {
    errno = errno == ENOENT ? kErrorPathNotFound : errno;
    return nullptr;
  }
  auto* enumeration = new Enumeration{directory, path};
  if (continue_enumeration(enumeration, entry) != NextEntry::kFound) {
    end_enumeration(enumeration);
    return nullptr;
  }
  return enumeration;
}

NextEntry continue_enumeration(void* handle, FoundEntry& entry) noexcept {
  auto* enumeration = static_cast<Enumeration*>(handle);
  const dirent* found = readdir(enumeration->directory);
  if (found == nullptr) {
    return NextEntry::kEnd;
  }
  if (test::FakeEnumeration& fake = test::fake_enumeration();
      !fake.breaks_off_at.empty() && fake.breaks_off_at == found->d_name) {
    errno = static_cast<int>(fake.error);
    return NextEntry::kFailed;
  }
  FileFacts facts;
  if (!read_native_facts(enumeration->path + found->d_name, facts)) {
    return continue_enumeration(handle, entry);  // It was deleted meanwhile.
  }
  std::snprintf(entry.name, sizeof(entry.name), "%s", found->d_name);
  entry.attributes = facts.attributes;
  entry.write_time = facts.write_time;
  return NextEntry::kFound;
}

void end_enumeration(void* handle) noexcept {
  auto* enumeration = static_cast<Enumeration*>(handle);
  closedir(enumeration->directory);
  delete enumeration;
}

}  // namespace orsin::port

std::FILE* ov_utf8_fopen(const char* name, const char* mode) {
  if (name == nullptr || mode == nullptr) {
    return nullptr;
  }
  std::string path = name;
  std::replace(path.begin(), path.end(), '\\', '/');
  return std::fopen(path.c_str(), mode);
}
