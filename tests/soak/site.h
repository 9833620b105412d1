// Where a soak run works, and whom it talks to; tests/soak/run says it in the environment.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tests/soak/crew.h"

namespace orsin::soak {

struct Site {
  std::string scratch;         // A folder with room.
  std::string disk;            // A folder that is a disk of its own, when that is small.
  bool disk_is_small = false;  // It fills up: copies to it may be refused for that.
  std::string files_port;      // Of nginx, and of the other servers of tests/net/.
  std::string echo_port;
  std::string broken_port;
  std::string websocket_port;
  std::string plugin;  // A library to open and to close.
  std::string child;   // A program to start.
};

using Works = std::vector<std::unique_ptr<Work>>;

// One function a family: the works of its threads. Each prepares what it needs before it returns.
[[nodiscard]] Works copy_works(const Site& site, std::uint64_t seed);
[[nodiscard]] Works stream_works(const Site& site, std::uint64_t seed);
[[nodiscard]] Works heap_works(std::uint64_t seed);
[[nodiscard]] Works log_works(std::uint64_t seed);
[[nodiscard]] Works thread_works(std::uint64_t seed);
[[nodiscard]] Works list_works(const Site& site, std::uint64_t seed);
[[nodiscard]] Works http_works(const Site& site, std::uint64_t seed);
[[nodiscard]] Works websocket_works(const Site& site, std::uint64_t seed);
[[nodiscard]] Works module_works(const Site& site, std::uint64_t seed);

/// Bytes that follow from a number alone, so that two places can be compared without a third.
void fill_pattern(std::uint64_t number, unsigned char* data, std::size_t size);

/// Writes a file of such bytes by the system's own means. False when it could not.
[[nodiscard]] bool write_pattern_file(const std::string& path, std::uint64_t number,
                                      std::size_t size);

/// What is different about the second of two files, by the system's own means; empty when they hold
/// the same.
[[nodiscard]] std::string difference(const std::string& one, const std::string& other);

}  // namespace orsin::soak
