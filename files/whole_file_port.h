// What copying a file in one piece asks of the platform, of handles that port::open_file() gave
// without `overlapped`. whole_file_win.cpp answers: nothing is logged; a failure leaves the last
// error.
#pragma once

#include <cstdint>

#include "files/file_system_port.h"

namespace orsin::port {

/// Attributes, size and time of the last write. GetFileInformationByHandleEx with FileBasicInfo and
/// FileStandardInfo.
[[nodiscard]] bool read_open_facts(void* file, FileFacts& facts) noexcept;

/// Sets the attributes that can be set and the time of the last write, no other; not the size.
/// SetFileInformationByHandle with FileBasicInfo.
[[nodiscard]] bool write_open_facts(void* file, const FileFacts& facts) noexcept;

/// Goes on where the last one ended. At the end of the file 0 bytes are read. ReadFile.
[[nodiscard]] bool read_on(void* file, void* buffer, std::uint32_t size,
                           std::uint32_t& bytes) noexcept;

/// Goes on where the last one ended. WriteFile.
[[nodiscard]] bool write_on(void* file, const void* data, std::uint32_t size,
                            std::uint32_t& bytes) noexcept;

}  // namespace orsin::port
