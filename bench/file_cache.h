// What a benchmark does before it writes files.
#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <vector>

/// Fills as much of the system's file cache as a job is about to, and empties it again. A virtual machine
/// may have given free memory back to its host and wait for each page that it takes anew: whoever ran
/// first would pay for that, and the next would find the pages there.
///
/// @param path  Of a file that is made and deleted; on the disk that the job writes to.
/// @return False when it could not be written.
[[nodiscard]] inline bool take_pages(const std::filesystem::path& path, std::uint64_t bytes) {
  constexpr std::size_t kPieceBytes = 1 << 20;
  const std::vector<char> piece(kPieceBytes);
  std::FILE* const file = _wfopen(path.c_str(), L"wb");
  if (file == nullptr) {
    return false;
  }
  bool is_written = true;
  for (std::uint64_t done = 0; is_written && done < bytes; done += kPieceBytes) {
    is_written = std::fwrite(piece.data(), kPieceBytes, 1, file) == 1;
  }
  return std::fclose(file) == 0 && std::filesystem::remove(path) && is_written;
}
