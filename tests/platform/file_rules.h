// What documented Windows refuses of files: every stand-in for it asks here, the machine that replays and
// the one over POSIX.
#pragma once

#include <cstdint>

#include "files/io_port.h"

namespace orsin::platform {

/// What transfers past the cache are made of: as on drives of today, and a page.
constexpr std::uint64_t kSectorBytes = 4096;

/// Whether a transfer past the cache has the offset, the size and the address that it must have.
inline bool is_whole_sectors(const void* buffer, std::uint64_t offset, std::uint64_t bytes) {
  return offset % kSectorBytes == 0 && bytes % kSectorBytes == 0 &&
         reinterpret_cast<std::uintptr_t>(buffer) % kSectorBytes == 0;
}

/// Whether nobody may open it so, open elsewhere or not: directories never, what is marked not for writing.
inline bool is_closed_to(const port::OpenMode& mode, bool is_directory, bool is_read_only) {
  return is_directory || (mode.write && is_read_only);
}

/// Whether a file that one has open may be opened by another. Each must leave to the other what that
/// does; writing is left to nobody.
inline bool may_share(const port::OpenMode& one, const port::OpenMode& another) {
  return !one.write && !another.write && (!one.read || another.share_read) &&
         (!another.read || one.share_read);
}

}  // namespace orsin::platform
