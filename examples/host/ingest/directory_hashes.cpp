#include "examples/host/ingest/directory_hashes.h"

#include <algorithm>
#include <array>
#include <utility>

#include "examples/host/ingest/hashes.h"

namespace host::ingest {
namespace {

// What a folder's children add to it. As many digits each, so numbers sort as their texts do.
struct Children {
  std::vector<std::uint64_t> contents;
  std::vector<std::uint64_t> structures;
};

std::array<unsigned char, 8> bytes_of(std::uint64_t value) {
  std::array<unsigned char, 8> bytes = {};
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    bytes[i] = static_cast<unsigned char>(value >> (56 - 8 * i));
  }
  return bytes;
}

std::uint64_t combined(std::vector<std::uint64_t> hashes) {
  std::sort(hashes.begin(), hashes.end());
  XxhHasher hasher;
  for (const std::uint64_t hash : hashes) {
    const auto bytes = bytes_of(hash);
    hasher.add(bytes.data(), bytes.size());
  }
  return hasher.digest();
}

std::uint64_t named(const std::string& name, std::uint64_t hash) {
  XxhHasher hasher;
  hasher.add(reinterpret_cast<const unsigned char*>(name.data()), name.size());
  const auto bytes = bytes_of(hash);
  hasher.add(bytes.data(), bytes.size());
  return hasher.digest();
}

// The folder that a path lies in, and its own name.
std::pair<std::string, std::string> split(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos
             ? std::pair<std::string, std::string>("", path)
             : std::pair<std::string, std::string>(path.substr(0, slash), path.substr(slash + 1));
}

}  // namespace

std::map<std::string, DirectoryHashes> hash_directories(
    const std::map<std::string, std::uint64_t>& files,
    const std::vector<std::string>& directories) {
  std::map<std::string, Children> children;
  children[""];
  for (const std::string& directory : directories) {
    children[directory];
  }
  for (const auto& [path, hash] : files) {
    const auto [folder, name] = split(path);
    children[folder].contents.push_back(hash);
    children[folder].structures.push_back(named(name, hash));
  }

  // A folder's path begins with its parent's, so backwards every folder comes before its parent.
  std::map<std::string, DirectoryHashes> result;
  for (auto folder = children.rbegin(); folder != children.rend(); ++folder) {
    const DirectoryHashes hashes = {combined(folder->second.contents),
                                    combined(folder->second.structures)};
    result[folder->first] = hashes;
    if (!folder->first.empty()) {
      const auto [parent, name] = split(folder->first);
      children[parent].contents.push_back(hashes.content);
      children[parent].structures.push_back(named(name, hashes.structure));
    }
  }
  return result;
}

}  // namespace host::ingest
