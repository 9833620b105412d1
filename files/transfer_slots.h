// The transfer layer's life, and what the streams need beyond its public face.
#pragma once

#include <cstdint>

#include "files/io_port.h"
#include "orsincore/io.h"

namespace orsin {

/// Creates the slots' events and the mutex. Start-up, before any transfer. The tickets follow
/// `last_ticket`.
void start_transfers(std::int32_t last_ticket = 0);

/// Closes the events and the mutex. Closedown, when nothing is in flight.
void stop_transfers();

/// Starts a transfer whose result is left in `own`, whoever overtakes, flushes or closes it
/// meanwhile. Each that has started is finished once; until then `own` stays where it is.
///
/// @param ticket  Receives its ticket, which is positive; may be null.
/// @return False after an error line; there is nothing to finish then.
[[nodiscard]] bool start_own_read(OwnTransfer& own, void* file, void* buffer, std::uint64_t offset,
                                  std::uint64_t size, int* ticket);
/// The same for a write.
[[nodiscard]] bool start_own_write(OwnTransfer& own, void* file, const void* buffer,
                                   std::uint64_t offset, std::uint64_t size, int* ticket);

/// Waits for a transfer. False after an error line: also when its result cannot be known.
///
/// @param bytes  Receives how many were transferred, on success; fewer than asked count as one.
[[nodiscard]] bool finish_own(OwnTransfer& own, std::uint64_t& bytes);

/// Waits for a write. False, after an error line, when it failed, or ended short: some file systems
/// say only so that the disk is full.
[[nodiscard]] bool finish_own_write(OwnTransfer& own);

/// Writes and waits. False, after an error line, when not all of it was written.
[[nodiscard]] bool write_whole(void* file, const void* data, std::uint64_t position,
                               std::uint64_t bytes);

/// Opens a file by its UTF-8 name. The invalid handle on failure; the last error is always set: as
/// port::open_file() does, or to kErrorNameTooLong for a name of 260 bytes or more.
[[nodiscard]] void* open_by_name(const char* name, const port::OpenMode& mode);

}  // namespace orsin
