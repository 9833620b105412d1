// ASC Media Hash Lists 2.0: what a manifest and the chain of a folder's manifests say.
//
//   FOLDER\ascmhl\0001_FOLDER_2024-01-31_123456Z.mhl   one generation
//   FOLDER\ascmhl\ascmhl_chain.xml                     all generations, each with its C4
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "examples/host/ingest/hashes.h"

namespace host::ingest {

inline constexpr std::string_view kManifestFolder = "ascmhl";
inline constexpr std::string_view kChainName = "ascmhl_chain.xml";

enum class Action { kNone, kOriginal, kVerified, kFailed };

/// A file's line. Of the formats that a manifest may hold, the two that this program can check.
struct ManifestFile {
  std::string path;  // Relative, with slashes.
  std::optional<std::uint64_t> size;
  std::uint64_t write_time = 0;  // 100 ns since 1601; 0: not said. Only for writing.
  std::uint64_t hash_time = 0;   // The same.
  std::optional<std::uint64_t> xxh64;
  std::optional<Md5Digest> md5;
  Action xxh64_action = Action::kNone;
  Action md5_action = Action::kNone;
};

struct ManifestDirectory {
  std::string path;
  std::uint64_t write_time = 0;
};

struct Manifest {
  bool is_transfer = false;  // Else it was checked in place.
  std::uint64_t created = 0;
  std::string host_name;
  std::vector<ManifestFile> files;
  std::vector<ManifestDirectory> directories;
};

/// One generation in the chain.
struct ChainEntry {
  int number = 0;
  std::string path;  // The manifest's file name.
  std::string c4;
};

/// True for what manifests do not speak of, by its path below the folder, with slashes.
[[nodiscard]] bool is_ignored(std::string_view path);

/// "0001_CARD_2024-01-31_123456Z.mhl".
[[nodiscard]] std::string manifest_name(int number, const std::string& folder_name,
                                        std::uint64_t created);

/// The texts of both kinds of file. The manifest's order is that of a walk: children by name, the
/// files and folders of a folder before the folder itself.
[[nodiscard]] std::string manifest_text(const Manifest& manifest);
[[nodiscard]] std::string chain_text(const std::vector<ChainEntry>& chain);

}  // namespace host::ingest
