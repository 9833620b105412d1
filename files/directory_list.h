// Building and releasing a directory list; what the listing functions share.
#pragma once

#include <memory>

#include "orsincore/files.h"

namespace orsin {

struct DeleteList {
  void operator()(dir_list* list) const { flist_delete(list); }
};

/// A list of the library's own.
using UniqueList = std::unique_ptr<dir_list, DeleteList>;

/// One zeroed record; null when memory is short.
[[nodiscard]] UniqueList make_list();

/// What became of reading a directory: all of it is in the list; nothing, after a warning; not all,
/// because reading it broke off or memory ran short.
enum class ListingEnd { kWhole, kNotOpened, kBrokenOff };

/// Lists exactly this directory: where there is none, neither its parent nor the drives. Null when
/// memory is short.
[[nodiscard]] UniqueList list_directory(const char* path, int sort, ListingEnd& end);

/// Sets the name storage up on the first listing in the process; see name_cache.h.
void prepare_listing();

/// Adds a file, with its name in `files`. False, after one error line, when memory is short; the
/// list is then as it was, or has the entry without the name in `files`.
bool add_file(dir_list& list, const char* name, unsigned long long write_time);

/// Adds a directory or a drive, with its name in `dirs`.
///
/// @param label  Stored behind the name's terminator; empty for directories.
bool add_directory(dir_list& list, const char* name, const char* label,
                   unsigned long long write_time);

}  // namespace orsin
