// Reads a file that was written earlier, past the system's cache, and hashes it.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "examples/host/ingest/file_reader.h"
#include "examples/host/ingest/hashes.h"

namespace host::ingest {

struct ReadBack {
  std::string problem;  // Why it could not be read; empty when it was.
  FileHashes hashes;
};

/// @param size      What the file should have.
/// @param with_md5  Else only XXH64 is taken.
/// @param counter   Grows by the bytes read.
[[nodiscard]] ReadBack read_back(FileReader& reader, const std::string& path, std::uint64_t size,
                                 bool with_md5, std::atomic<std::uint64_t>& counter);

}  // namespace host::ingest
