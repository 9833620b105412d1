// The hashes of folders in an ASC MHL manifest, over the XXH64 of their files.
//
// Content: what the files below hold, whatever they are called. Structure: names and content. Both
// are built from the hashes of a folder's children, so equal folders have equal hashes anywhere.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace host::ingest {

struct DirectoryHashes {
  std::uint64_t content = 0;
  std::uint64_t structure = 0;

  bool operator==(const DirectoryHashes&) const = default;
};

/// @param files        XXH64 by path, relative, with slashes.
/// @param directories  All of them, also those that the files' paths name.
/// @return By path; the root's under the empty path.
[[nodiscard]] std::map<std::string, DirectoryHashes> hash_directories(
    const std::map<std::string, std::uint64_t>& files, const std::vector<std::string>& directories);

}  // namespace host::ingest
