// What an ingest did, gathered for the lines at its end, the manifest and the report.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "examples/host/ingest/hashes.h"

namespace host::ingest {

/// How many bytes a destination had received at a moment of the run.
struct Sample {
  double seconds = 0;
  std::uint64_t bytes = 0;
};

struct DestinationRecord {
  std::string folder;               // As full path: what the tree was copied into.
  std::string tree;                 // The copy itself, named after the card.
  std::string ended;                // Why it ended early; empty when it did not.
  std::string manifest;             // The manifest's file name; empty when none was written.
  std::uint64_t bytes = 0;          // Written in this run.
  std::uint64_t files = 0;          // Written in this run.
  std::uint64_t already_there = 0;  // Files that were finished before, or found the same.
  std::vector<Sample> samples;
};

struct FileRecord {
  std::string path;
  std::uint64_t size = 0;
  std::optional<FileHashes> hashes;
};

/// Something that went wrong, and with what.
struct Problem {
  std::string what;  // A path.
  std::string reason;
};

struct RunRecord {
  std::string card;
  std::uint64_t started = 0;  // 100 ns since 1601 UTC.
  double seconds = 0;
  bool is_verified = false;
  bool is_stopped = false;
  std::uint64_t bytes = 0;  // Of the plan.
  std::uint64_t directories = 0;
  std::vector<std::string> links;
  std::vector<DestinationRecord> destinations;
  std::vector<FileRecord> files;
  std::vector<Problem> problems;
};

}  // namespace host::ingest
