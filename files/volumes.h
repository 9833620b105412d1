// The transfer alignment of drives, for the buffered reader and writer.
#pragma once

namespace orsin {

/// The sector size of the drive that holds a path with a drive letter, in bytes; the configured
/// default size for other paths and where the drive does not tell. Asked once a drive.
long long drive_sector_size(const char* path);

/// Forgets what was asked. For tests.
void forget_sector_sizes();

}  // namespace orsin
