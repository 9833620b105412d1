#include "tests/platform/machine/disk.h"

#include <algorithm>
#include <cctype>

#include "files/file_system_port.h"
#include "tests/platform/machine/machine.h"

namespace orsin::simulation {
namespace {

constexpr std::uint32_t kArchive = 0x20;
constexpr std::uint64_t kClusterBytes = 4096;
constexpr std::string_view kCurrentDirectory = "C:\\work\\";

std::uint64_t clusters_of(std::uint64_t size) {
  return (size + kClusterBytes - 1) / kClusterBytes * kClusterBytes;
}

std::vector<std::string> parts_of(std::string_view path) {
  std::vector<std::string> parts;
  for (std::size_t begin = 0; begin < path.size();) {
    const std::size_t end = std::min(path.find_first_of("\\/", begin), path.size());
    const std::string_view part = path.substr(begin, end - begin);
    if (part == ".." && parts.size() > 1) {
      parts.pop_back();
    } else if (!part.empty() && part != "." && part != "..") {
      parts.emplace_back(part);
    }
    begin = end + 1;
  }
  return parts;
}

}  // namespace

bool IgnoringCase::operator()(std::string_view a, std::string_view b) const {
  return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
    return std::tolower(static_cast<unsigned char>(x)) <
           std::tolower(static_cast<unsigned char>(y));
  });
}

OpenedFile::~OpenedFile() {
  if (node) {
    std::erase(node->opened_by, this);
  }
}

bool may_open(const Node& node, const port::OpenMode& mode) {
  return std::all_of(node.opened_by.begin(), node.opened_by.end(), [&](const OpenedFile* other) {
    return platform::may_share(other->mode, mode);
  });
}

Disk::Disk() {
  roots_->is_directory = true;
}

Volume& Disk::add_volume(char letter, std::uint64_t capacity) {
  auto& volume = volumes_[letter];
  volume = std::make_unique<Volume>(Volume{capacity, 0});
  auto root = std::make_shared<Node>();
  root->is_directory = true;
  root->attributes = port::kDirectory;
  root->volume = volume.get();
  roots_->entries[std::string{letter, ':'}] = root;
  return *volume;
}

std::string Disk::absolute(std::string_view path) {
  const bool has_drive = path.size() >= 2 && path[1] == ':';
  std::string joined;
  for (const std::string& part :
       parts_of(has_drive ? std::string(path) : std::string(kCurrentDirectory).append(path))) {
    joined += (joined.empty() ? "" : "\\") + part;
  }
  return joined.size() == 2 ? joined + "\\" : joined;
}

Disk::Place Disk::place_of(std::string_view path) const {
  std::vector<std::string> parts =
      path.empty() ? std::vector<std::string>{} : parts_of(absolute(path));
  if (parts.empty()) {
    return {};
  }
  Place place{roots_, parts.back()};
  parts.pop_back();
  for (const std::string& part : parts) {
    const auto found = place.directory->entries.find(part);
    if (found == place.directory->entries.end() || !found->second->is_directory) {
      return {};
    }
    place.directory = found->second;
  }
  return place;
}

std::shared_ptr<Node> Disk::find(std::string_view path, std::uint32_t& error) const {
  const Place place = place_of(path);
  if (!place.directory) {
    error = port::kErrorPathNotFound;
    return nullptr;
  }
  const auto found = place.directory->entries.find(place.name);
  error = found == place.directory->entries.end() ? kErrorFileNotFound : 0;
  return error == 0 ? found->second : nullptr;
}

std::shared_ptr<Node> Disk::find(std::string_view path) const {
  std::uint32_t error = 0;
  return find(path, error);
}

std::uint32_t Disk::open(std::string_view path, const port::OpenMode& mode,
                         std::shared_ptr<OpenedFile>& file, bool& existed) {
  std::uint32_t error = 0;
  std::shared_ptr<Node> node = find(path, error);
  existed = node != nullptr;
  if (error == kErrorFileNotFound && mode.create) {
    error = make_file(path, node);
  }
  if (error != 0) {
    return error;
  }
  if (platform::is_closed_to(mode, node->is_directory, (node->attributes & port::kReadOnly) != 0)) {
    return kErrorAccessDenied;
  }
  if (!may_open(*node, mode)) {
    return port::kErrorSharingViolation;
  }
  file = std::make_shared<OpenedFile>();
  file->node = node;
  file->mode = mode;
  node->opened_by.push_back(file.get());
  return 0;
}

std::uint32_t Disk::make_file(std::string_view path, std::shared_ptr<Node>& node) {
  const Place place = place_of(path);
  if (!place.directory || !place.directory->volume) {
    return port::kErrorPathNotFound;
  }
  if (place.directory->entries.contains(place.name)) {
    return port::kErrorFileExists;
  }
  node = std::make_shared<Node>();
  node->attributes = kArchive;
  node->volume = place.directory->volume;
  node->write_time = file_time_now();
  place.directory->entries[place.name] = node;
  return 0;
}

std::uint32_t Disk::make_directory(std::string_view path) {
  std::shared_ptr<Node> node;
  const std::uint32_t error = make_file(path, node);
  if (error != 0) {
    return error == port::kErrorFileExists ? port::kErrorAlreadyExists : error;
  }
  node->is_directory = true;
  node->attributes = port::kDirectory;
  return 0;
}

std::uint32_t Disk::remove_file(std::string_view path) {
  const Place place = place_of(path);
  std::uint32_t error = 0;
  const std::shared_ptr<Node> node = find(path, error);
  if (!node) {
    return error;
  }
  if (node->is_directory || (node->attributes & port::kReadOnly) != 0) {
    return kErrorAccessDenied;
  }
  if (!node->opened_by.empty()) {
    return port::kErrorSharingViolation;
  }
  resize(*node, 0);
  place.directory->entries.erase(place.name);
  return 0;
}

std::uint32_t Disk::remove_directory(std::string_view path) {
  const Place place = place_of(path);
  std::uint32_t error = 0;
  const std::shared_ptr<Node> node = find(path, error);
  if (!node) {
    return error;
  }
  if (!node->is_directory) {
    return 267;  // ERROR_DIRECTORY.
  }
  if ((node->attributes & port::kReadOnly) != 0) {
    return kErrorAccessDenied;
  }
  if (!node->entries.empty()) {
    return kErrorDirectoryNotEmpty;
  }
  place.directory->entries.erase(place.name);
  return 0;
}

std::uint32_t Disk::rename(std::string_view from, std::string_view to, bool replaces) {
  const Place old_place = place_of(from);
  const Place new_place = place_of(to);
  std::uint32_t error = 0;
  const std::shared_ptr<Node> node = find(from, error);
  if (!node) {
    return error;
  }
  if (!new_place.directory) {
    return port::kErrorPathNotFound;
  }
  if (!node->opened_by.empty()) {
    return port::kErrorSharingViolation;
  }
  if (const std::shared_ptr<Node> other = find(to); other && other != node) {
    if (!replaces) {
      return port::kErrorAlreadyExists;
    }
    if (const std::uint32_t refused = remove_file(to); refused != 0) {
      return kErrorAccessDenied;
    }
  }
  old_place.directory->entries.erase(old_place.name);
  new_place.directory->entries[new_place.name] = node;
  return 0;
}

void Disk::make_room() {
  for (auto& [letter, volume] : volumes_) {
    volume->capacity = UINT64_MAX;
  }
}

std::uint32_t Disk::resize(Node& node, std::uint64_t size) {
  Volume& volume = *node.volume;
  const std::uint64_t before = clusters_of(node.content.size());
  const std::uint64_t after = clusters_of(size);
  if (after > before && volume.used + (after - before) > volume.capacity) {
    machine().was_unkind = true;
    return kErrorDiskFull;
  }
  volume.used += after - before;
  node.content.resize(size);
  node.write_time = file_time_now();
  return 0;
}

std::uint32_t Disk::write(Node& node, std::uint64_t offset, const void* data, std::uint64_t bytes) {
  if (offset + bytes > node.content.size()) {
    if (const std::uint32_t error = resize(node, offset + bytes); error != 0) {
      return error;
    }
  }
  node.content.write(offset, data, bytes);
  node.write_time = file_time_now();
  node.attributes |= kArchive;
  return 0;
}

void Disk::make_directories(std::string_view path) {
  for (std::size_t end = path.find('\\', 3); end != std::string_view::npos;
       end = path.find('\\', end + 1)) {
    make_directory(path.substr(0, end));
  }
  make_directory(path);
}

void Disk::put(std::string_view path, Content content) {
  make_directories(path.substr(0, path.rfind('\\')));
  std::shared_ptr<Node> node = find(path);
  if (!node) {
    ORSIN_EXPECT(make_file(path, node) == 0, "the scenario cannot make its file");
  }
  node->volume->used += clusters_of(content.size()) - clusters_of(node->content.size());
  node->content = std::move(content);
}

}  // namespace orsin::simulation
