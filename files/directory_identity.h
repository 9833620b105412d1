// Which directory a path leads to, however it is spelled: by links, dots, drives that stand for a
// directory, or names in other letters.
//
// A directory is known by the serial number of its volume and its index there. Where a file system
// gives no index, the spelling of the whole path decides.
//
// A link here is a reparse point that stands for another place: a junction, a symbolic link, a volume
// mounted into a directory. The others (files kept in a cloud, deduplicated ones) are ordinary
// directories.
#pragma once

#include "files/directory_enumeration.h"

namespace orsin {

/// Whether a path names a directory and is itself a link to it. Separators at the end do not count.
[[nodiscard]] bool is_directory_link(const char* path);

/// Whether a directory, which need not exist, is `directory` or would be made below it.
[[nodiscard]] bool lies_in(const char* path, const char* directory);

/// Whether walking into this entry of a directory would lead back to one that contains it.
///
/// @param attributes  The entry's; only a reparse point costs more than a look at them.
[[nodiscard]] bool leads_back(const char* entry, std::uint32_t attributes);

/// The same for an entry whose attributes are not at hand.
[[nodiscard]] bool leads_back(const char* entry);

}  // namespace orsin
