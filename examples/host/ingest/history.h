// The manifests of a folder: what earlier generations say, and the next one.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "examples/host/ingest/manifest.h"

namespace host::ingest {

/// What is expected of a file: of each format the oldest hash that was not a failure.
struct Expected {
  std::optional<std::uint64_t> size;
  std::optional<std::uint64_t> xxh64;
  std::optional<Md5Digest> md5;
};

struct History {
  std::vector<ChainEntry> chain;             // Empty: the folder has no manifest.
  std::map<std::string, Expected> expected;  // By relative path, with slashes.
};

/// Finishes what a run that was killed left undone, then reads the chain and all its generations, whose C4 must be what the chain says. Returns empty, or
/// why the history cannot be trusted.
[[nodiscard]] std::string load_history(const std::string& folder, History& history);

/// The computer's name for the next generation.
[[nodiscard]] std::string host_name();

/// Writes the next generation and then the chain. Returns empty, or what failed.
///
/// @param name  Receives the manifest's file name.
[[nodiscard]] std::string add_generation(const std::string& folder, const std::string& folder_name,
                                         const History& history, const Manifest& manifest,
                                         std::string& name);

}  // namespace host::ingest
