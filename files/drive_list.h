// The list of drives: what it asks of the platform, and the network names it may need.
//
// Texts are UTF-16 in units of 16 bits with a terminator; drive_port_win.cpp answers the port.
#pragma once

#include <cstddef>
#include <cstdint>

namespace orsin {

constexpr std::size_t kDriveTextUnits = 260;

namespace port {

enum class DriveKind { kUnknown, kMissing, kRemovable, kFixed, kRemote, kDisc, kMemory };

/// The roots ("C:\"), each terminated, after the last one an empty one.
/// @return Units written without the last terminator; more than `units` when it does not fit: then
///         what is needed; 0 on failure. GetLogicalDriveStringsW.
[[nodiscard]] std::uint32_t read_drive_roots(unsigned short* roots, std::uint32_t units) noexcept;

/// Bit 0 for drive A, and so on; 0 on failure. GetLogicalDrives.
[[nodiscard]] std::uint32_t read_drive_mask() noexcept;

/// GetDriveTypeW.
[[nodiscard]] DriveKind read_drive_kind(const unsigned short* root) noexcept;

/// The volume's name, maybe empty, in kDriveTextUnits units. GetVolumeInformationW.
[[nodiscard]] bool read_volume_name(const unsigned short* root, unsigned short* name) noexcept;

/// Loads what read_remote_name() needs, for the rest of the process. "Mpr.dll".
void load_remote_names() noexcept;

/// What a network drive is connected to, in kDriveTextUnits units. False also when nothing was
/// loaded. WNetGetUniversalNameW.
[[nodiscard]] bool read_remote_name(const unsigned short* root, unsigned short* name) noexcept;

}  // namespace port

/// On the first listing of the process, unless the environment variable OV_NO_UNC exists: asking
/// for the names of network drives may take long where servers are gone.
void load_universal_names();

}  // namespace orsin
