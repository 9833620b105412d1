// The file system and environment ports over a simulated disk.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "base/path_buffer.h"
#include "files/directory_enumeration.h"
#include "files/environment_port.h"
#include "files/file_system_port.h"
#include "orsincore/files.h"
#include "tests/platform/machine/machine.h"

namespace orsin::port {

using namespace orsin::simulation;

namespace {

constexpr std::uint32_t kSettable = 0x3127;

std::string_view usable(const char* path) {
  return path != nullptr && std::strlen(path) < kPathBytes ? path : std::string_view();
}

std::shared_ptr<Node> find(Call& call, const char* path) {
  std::uint32_t error = 0;
  std::shared_ptr<Node> node = machine().disk.find(usable(path), error);
  call.answer(error);
  return node;
}

// The C library's calls say it in errno, which is the last error here.
bool answer_in_errno(Call& call, std::uint32_t error) {
  switch (error) {
    case 0:
      return true;
    case kErrorFileNotFound:
    case kErrorPathNotFound:
      return call.fail(ENOENT);
    case kErrorAlreadyExists:
    case kErrorFileExists:
      return call.fail(EEXIST);
    case kErrorDirectoryNotEmpty:
      return call.fail(ENOTEMPTY);
    case kErrorDiskFull:
      return call.fail(ENOSPC);
    default:
      return call.fail(EACCES);
  }
}

// Of a file that is opened for a moment only.
bool may_open_now(Call& call, const Node& node, const OpenMode& mode) {
  if (platform::is_closed_to(mode, node.is_directory, (node.attributes & kReadOnly) != 0)) {
    return call.fail(kErrorAccessDenied);
  }
  return may_open(node, mode) || call.fail(kErrorSharingViolation);
}

}  // namespace

bool read_facts(const char* path, FileFacts& facts) noexcept {
  Call call("read facts");
  if (call.is_refused({kErrorAccessDenied, kErrorNetworkNameGone})) {
    return false;
  }
  const auto node = find(call, path);
  if (!node) {
    return false;
  }
  facts = {node->attributes, node->content.size(), node->write_time};
  return true;
}

bool read_attributes(const char* path, std::uint32_t& attributes) noexcept {
  Call call("read attributes");
  if (call.is_refused({kErrorAccessDenied, kErrorNetworkNameGone})) {
    return false;
  }
  const auto node = find(call, path);
  attributes = node ? node->attributes : attributes;
  return node != nullptr;
}

bool write_attributes(const char* path, std::uint32_t attributes) noexcept {
  Call call("write attributes");
  if (call.is_refused({kErrorAccessDenied, kErrorNetworkNameGone})) {
    return false;
  }
  const auto node = find(call, path);
  if (!node) {
    return false;
  }
  node->attributes = (attributes & kSettable) | (node->attributes & kDirectory);
  return true;
}

bool read_write_time(const char* path, bool share, std::uint64_t& time) noexcept {
  Call call("read write time");
  if (call.is_refused({kErrorSharingViolation, kErrorAccessDenied})) {
    return false;
  }
  const auto node = find(call, path);
  if (!node || !may_open_now(call, *node, {.read = true, .share_read = share})) {
    return false;
  }
  time = node->write_time;
  return true;
}

bool write_write_time(const char* path, std::uint64_t time) noexcept {
  Call call("write write time");
  if (call.is_refused({kErrorSharingViolation, kErrorAccessDenied})) {
    return false;
  }
  const auto node = find(call, path);
  if (!node || !may_open_now(call, *node, {.write = true})) {
    return false;
  }
  node->write_time = time;
  return true;
}

bool write_write_time_shared(const char* path, std::uint64_t time) noexcept {
  Call call("write write time shared");
  if (call.is_refused({kErrorAccessDenied})) {
    return false;
  }
  const auto node = find(call, path);
  if (node) {
    node->write_time = time;
  }
  return node != nullptr;
}

bool read_reparse_tag(const char* path, std::uint32_t& tag) noexcept {
  Call call("read reparse tag");
  tag = 0;
  return !call.is_refused({kErrorAccessDenied}) && find(call, path) != nullptr;
}

bool read_identity(const char* path, DirectoryIdentity& identity) noexcept {
  Call call("read identity");
  const auto node = find(call, path);
  if (!node || call.is_refused({kErrorAccessDenied, kErrorSharingViolation})) {
    return false;
  }
  identity = {1, reinterpret_cast<std::uintptr_t>(node.get())};
  return true;
}

namespace {

bool take_path(Call& call, const std::string& found, char* path, std::size_t size) {
  if (found.size() >= size) {
    return call.fail(kErrorNameTooLong);
  }
  std::memcpy(path, found.c_str(), found.size() + 1);
  return true;
}

}  // namespace

bool full_path(const char* path, char* full, std::size_t size) noexcept {
  Call call("full path");
  const std::string_view given = usable(path);
  return !given.empty() && take_path(call, Disk::absolute(given), full, size);
}

bool final_path(const char* path, char* real, std::size_t size) noexcept {
  Call call("final path");
  return !call.is_refused({kErrorAccessDenied, kErrorSharingViolation}) &&
         find(call, path) != nullptr && take_path(call, Disk::absolute(path), real, size);
}

bool make_file(const char* path) noexcept {
  Call call("make file");
  std::shared_ptr<Node> node;
  return !call.is_refused({kErrorAccessDenied, kErrorDiskFull}) &&
         call.answer(machine().disk.make_file(usable(path), node));
}

bool make_directory(const char* path) noexcept {
  Call call("make directory");
  return !call.is_refused({EACCES, ENOSPC}) &&
         answer_in_errno(call, machine().disk.make_directory(usable(path)));
}

bool remove_file(const char* path) noexcept {
  Call call("remove file");
  return !call.is_refused({EACCES}) &&
         answer_in_errno(call, machine().disk.remove_file(usable(path)));
}

bool remove_directory(const char* path) noexcept {
  Call call("remove directory");
  return !call.is_refused({EACCES, ENOTEMPTY}) &&
         answer_in_errno(call, machine().disk.remove_directory(usable(path)));
}

bool rename_path(const char* from, const char* to) noexcept {
  Call call("rename");
  return !call.is_refused({EACCES}) &&
         answer_in_errno(call, machine().disk.rename(usable(from), usable(to), false));
}

AccessGrant grant_everyone(const char* /*dir*/, std::uint32_t& merge_error) noexcept {
  Call call("grant access");
  merge_error = 0;
  return call.is_refused({kErrorAccessDenied}) ? AccessGrant::kNotRead : AccessGrant::kGranted;
}

bool read_environment(const char* /*name*/, char* /*value*/, std::size_t /*size*/) noexcept {
  return false;
}

namespace {

// As the system had them when it was asked: what comes later is not seen.
struct Search : Object {
  std::vector<FoundEntry> entries;
  std::size_t next = 0;
};

FoundEntry entry_of(const std::string& name, const Node& node) {
  FoundEntry entry = {};
  std::snprintf(entry.name, sizeof(entry.name), "%s", name.c_str());
  entry.attributes = node.attributes;
  entry.write_time = node.write_time;
  return entry;
}

}  // namespace

bool has_fast_enumeration() noexcept {
  return true;
}

void* start_enumeration(const char* pattern, bool fast, FoundEntry& entry) noexcept {
  Call call("start enumeration", fast ? 1 : 0);
  if (call.is_refused({kErrorAccessDenied, kErrorNotReady, kErrorNetworkNameGone})) {
    return nullptr;
  }
  const std::string_view whole = pattern;
  const auto node = machine().disk.find(whole.substr(0, whole.find_last_of("\\/")));
  if (!node || !node->is_directory) {
    call.fail(kErrorPathNotFound);
    return nullptr;
  }
  const auto search = std::make_shared<Search>();
  search->entries.push_back(entry_of(".", *node));
  search->entries.push_back(entry_of("..", *node));
  for (const auto& [name, child] : node->entries) {
    search->entries.push_back(entry_of(name, *child));
  }
  entry = search->entries[search->next++];
  return machine().handles.open(search);
}

NextEntry continue_enumeration(void* handle, FoundEntry& entry) noexcept {
  Call call("continue enumeration");
  Search& search = *machine().handles.get<Search>(handle);
  if (call.is_refused({kErrorNetworkNameGone, kErrorDevice})) {
    return NextEntry::kFailed;
  }
  if (search.next == search.entries.size()) {
    return NextEntry::kEnd;
  }
  entry = search.entries[search.next++];
  return NextEntry::kFound;
}

void end_enumeration(void* handle) noexcept {
  Call call("end enumeration");
  static_cast<void>(machine().handles.get<Search>(handle));
  machine().handles.close(handle);
}

}  // namespace orsin::port
