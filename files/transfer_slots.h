// The transfer layer's life, and what the reader and writer need beyond its public face.
#pragma once

#include <cstdint>

#include "files/io_port.h"

namespace orsin {

/// Creates the slots' events and the mutex. Start-up, before any transfer. The tickets follow
/// `last_ticket`.
void start_transfers(std::int32_t last_ticket = 0);

/// Closes the events and the mutex. Closedown, when nothing is in flight.
void stop_transfers();

/// As io_complete64(), and tells how many bytes were transferred; `bytes` stays untouched where
/// that is not known any more.
int complete_transfer(void* file, int ticket, bool wait, std::uint64_t& bytes);

/// Waits for a write. False, after an error line, when it failed, or ended short: some file systems
/// say only so that the disk is full.
[[nodiscard]] bool complete_write(void* file, int ticket);

/// Writes and waits. False, after an error line, when not all of it was written.
[[nodiscard]] bool write_whole(void* file, const void* data, std::uint64_t position,
                               std::uint64_t bytes);

/// Opens a file by its UTF-8 name. The invalid handle on failure; the last error is always set: as
/// port::open_file() does, or to kErrorNameTooLong for a name of 260 bytes or more.
[[nodiscard]] void* open_by_name(const char* name, const port::OpenMode& mode);

}  // namespace orsin
