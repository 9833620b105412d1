// Copying a file, or the files of a directory with everything below.
//
// Small files go in one piece each, several of a directory at a time. For the others one reader and
// one writer serve a whole call, made when the first of them comes.
#include <algorithm>
#include <cstring>
#include <optional>
#include <string_view>

#include "base/given_text.h"
#include "base/path_buffer.h"
#include "base/system_error_text.h"
#include "files/copy_streams.h"
#include "files/directory_creation.h"
#include "files/directory_identity.h"
#include "files/directory_list.h"
#include "files/file_system_port.h"
#include "files/small_copies.h"
#include "orsincore/files.h"
#include "orsincore/log.h"

namespace orsin {
namespace {

enum Result : int {
  kCopied = 0,
  kFailed = -1,  // Also: the source cannot be opened.
  kDestinationNotCreated = -2,
  kDataNotCopied = -3,
};

// What one call copies with. A tree of small files never needs the streams.
class Copier {
 public:
  Copier() = default;
  Copier(const Copier&) = delete;
  Copier& operator=(const Copier&) = delete;

  // False when memory is short.
  [[nodiscard]] bool has_streams() {
    if (!reader_) {
      reader_.emplace(reader_for_copy(nullptr));
      writer_.emplace(writer_for_copy(nullptr));
    }
    return reader_->get() != nullptr && writer_->get() != nullptr;
  }

  [[nodiscard]] SmallCopies& small() { return small_; }
  [[nodiscard]] fReadBuffer& reader() { return *reader_->get(); }
  [[nodiscard]] fWriteBuffer& writer() { return *writer_->get(); }
  [[nodiscard]] const BorrowedWriter& own_writer() const { return *writer_; }

 private:
  SmallCopies small_;
  std::optional<BorrowedReader> reader_;
  std::optional<BorrowedWriter> writer_;
};

void copy_write_time(const char* source, const char* destination) {
  std::uint64_t time = 0;
  if (!port::read_write_time_narrow(source, time)) {
    msgwarn("Failed to retrieve the file times: '%s'", source);
    return;
  }
  if (!port::write_write_time_narrow(destination, time)) {
    msgwarn("Failed to update the file times: '%s'", destination);
    msgcont("Error: '%s'\n", SystemErrorText().c_str());
  }
}

void copy_attributes(const char* source, const char* destination) {
  std::uint32_t attributes = 0;
  if (!port::read_attributes_narrow(source, attributes)) {
    msgwarn("Failed to retrieve the file attributes: '%s'", source);
    return;
  }
  if (!port::write_attributes_narrow(destination, attributes)) {
    msgwarn("Failed to update the file attributes: '%s'", destination);
    msgcont("Error: '%s'\n", SystemErrorText().c_str());
  }
}

// Cuts the file to the source's size, so that what is there is at least not more.
void finish_destination(Copier& copier) {
  copier.writer().set_file_position(copier.reader().get_file_size());
  copier.writer().close_file(true);
}

bool copy_blocks(Copier& copier, unsigned long long& bytes) {
  return copy_to_own_writer(copier.reader(), copier.writer(), bytes);
}

Result copy_opened(Copier& copier, const char* destination, unsigned long long& bytes) {
  // Kept on purpose: an empty source is refused here, unlike in file_copy(). Required.
  if (copier.reader().getNextBlock() == 0) {
    return kDataNotCopied;
  }
  if (!create_destination(copier.own_writer(), destination)) {
    return kDestinationNotCreated;
  }
  const bool all_taken = copy_blocks(copier, bytes);
  finish_destination(copier);
  // The last buffers were written by the closing.
  return all_taken && copier.writer().error() <= 0 ? kCopied : kDataNotCopied;
}

void say_too_long(const char* directory, const char* name) {
  msgerror("FileCopy: The path of '%s' in '%s', or of its copy, is too long\n", name, directory);
}

Result copy_data(Copier& copier, const char* source, const char* destination,
                 unsigned long long& bytes) {
  if (!copier.has_streams()) {
    msgerror("FileCopy: Not enough memory to copy '%s'\n", source);
    return kFailed;
  }
  if (!open_source(copier.reader(), source)) {
    return kFailed;
  }
  const Result result = copy_opened(copier, destination, bytes);
  copier.reader().close_file();
  return result;
}

// Kept on purpose: times and attributes go through the calls for the system's code page. For a name
// outside ASCII they are not found, which is a warning; the data is complete. Names in ASCII are the
// same to both kinds of calls, so only theirs may go through the handles.
//
// What was done for a small file already is counted here, and what was not is done.
int finish_file(Copier& copier, const SmallCopies::Outcome& small, const char* source,
                const char* destination, unsigned long long& bytes) {
  bytes += small.bytes;
  if (small.result == SmallCopy::Result::kCopied) {
    return kCopied;
  }
  if (small.result == SmallCopy::Result::kNotDone) {
    const Result result = copy_data(copier, source, destination, bytes);
    if (result != kCopied) {
      return result;
    }
  }
  copy_write_time(source, destination);
  copy_attributes(source, destination);
  return kCopied;
}

int copy_one_file(Copier& copier, const char* source, const char* destination,
                  unsigned long long& bytes) {
  return finish_file(copier, copier.small().copy_one(source, destination), source, destination,
                     bytes);
}

// False at the first that cannot be copied.
bool copy_files(Copier& copier, const dir_list& list, const char* source, const char* destination,
                unsigned long long& bytes) {
  PathBuffer from;
  PathBuffer to;
  for (int first = 0; first < list.file_count; first += SmallCopies::kMost) {
    const int count = std::min(list.file_count - first, SmallCopies::kMost);
    char* const* names = list.files + first;
    copier.small().copy(source, destination, names, count);
    for (int i = 0; i < count; ++i) {
      if (!join_path(from, source, names[i]) || !join_path(to, destination, names[i])) {
        say_too_long(source, names[i]);
        return false;
      }
      if (finish_file(copier, copier.small().outcome(i), from.c_str(), to.c_str(), bytes) < 0) {
        return false;
      }
    }
  }
  return true;
}

// Copied below itself, a tree meets its copy, and the copy of that, until no path has room for more:
// a disk full of copies, and a failure in the end. A destination that is not absolute is made below
// the data path and written to below the current directory.
bool would_meet_its_copy(const char* source, const char* destination) {
  PathBuffer made;
  const bool meets = lies_in(destination, source) ||
                     (resolve_directory(made, destination) && lies_in(made.c_str(), source));
  if (meets) {
    msgerror("FileCopy: '%s' lies in '%s', no copy done\n", destination, source);
  }
  return meets;
}

int copy_tree(Copier& copier, const char* source, const char* destination, bool recursive,
              unsigned long long& bytes);

// Kept on purpose: a subdirectory for which there is no place, or that leads back, counts as one
// without files. Callers want the rest of the tree; the log names what is missing.
bool has_place(const char* source, const char* destination, const char* subdirectory) {
  char ensured[kPathBytes];
  if (file_ensure_directory(destination, nullptr, ensured) == nullptr ||
      file_ensure_directory(subdirectory, nullptr, ensured) == nullptr) {
    msgerror("FileCopy: '%s' has no directory to go to, not copied\n", source);
    return false;
  }
  return true;
}

// How deep this goes is bounded by the length of a path, also where links lead in circles that are
// not seen.
int copy_subdirectories(Copier& copier, const dir_list& list, const char* source,
                        const char* destination, unsigned long long& bytes) {
  int copied = 0;
  PathBuffer from;
  PathBuffer to;
  for (int i = 0; i < list.dir_count; ++i) {
    if (!join_path(from, source, list.dirs[i]) || !join_path(to, destination, list.dirs[i])) {
      say_too_long(source, list.dirs[i]);
      return kFailed;
    }
    if (leads_back(from.c_str())) {
      msgwarn("FileCopy: '%s' leads to a directory above it, not copied\n", from.c_str());
      continue;
    }
    if (!has_place(from.c_str(), destination, to.c_str())) {
      continue;
    }
    const int below = copy_tree(copier, from.c_str(), to.c_str(), true, bytes);
    if (below < 0) {
      return kFailed;
    }
    copied += below;
  }
  return copied;
}

int copy_tree(Copier& copier, const char* source, const char* destination, bool recursive,
              unsigned long long& bytes) {
  ListingEnd end = ListingEnd::kWhole;
  const UniqueList list = list_directory(source, 1, end);
  if (!list || end == ListingEnd::kNotOpened) {
    // Kept on purpose: a directory that cannot be listed counts as one without files. Callers want
    // the rest of the tree; the log names what is missing.
    msgerror("FileCopy: '%s' cannot be listed, not copied\n", source);
    return 0;
  }
  if (end == ListingEnd::kBrokenOff) {
    msgerror("FileCopy: '%s' was not listed to its end, not copied\n", source);
    return kFailed;
  }
  if (!copy_files(copier, *list, source, destination, bytes)) {
    return kFailed;
  }
  if (!recursive) {
    return list->file_count;
  }
  const int below = copy_subdirectories(copier, *list, source, destination, bytes);
  return below < 0 ? below : list->file_count + below;
}

// Into a directory under the source's own name. The name keeps its backslash: the doubled separator
// is one to the file system.
bool destination_in_directory(PathBuffer& path, const char* directory, const char* source) {
  const char* separator = std::strrchr(source, '\\');
  const bool has_separator = std::string_view(directory).ends_with('\\');
  return path.append(directory) && (has_separator || path.append("\\")) &&
         path.append(separator != nullptr ? separator : source);
}

int copy_file_to(Copier& copier, const char* source, const char* destination,
                 unsigned long long& bytes) {
  if (file_is_directory(destination) == 0) {
    return copy_one_file(copier, source, destination, bytes);
  }
  PathBuffer path;
  if (!destination_in_directory(path, destination, source)) {
    return kDestinationNotCreated;
  }
  return copy_one_file(copier, source, path.c_str(), bytes);
}

}  // namespace
}  // namespace orsin

using namespace orsin;

int ov_filecopy(const char* src, const char* dst, bool recursive, unsigned long long& bytes) {
  src = given(src);
  dst = given(dst);
  if (std::strcmp(src, dst) == 0) {
    msgerror("FileCopy: Source and destination are the same!\n'%s' no copy done\n", src);
    return kFailed;
  }
  Copier copier;
  bytes = 0;
  if (file_is_directory(src) != 0) {
    if (recursive && would_meet_its_copy(src, dst)) {
      return kFailed;
    }
    // Joined to an empty one, the names would be those of the drive's root.
    const bool has_destination =
        *dst != '\0' && file_ensure_directory(dst, nullptr, nullptr) != nullptr;
    return has_destination ? copy_tree(copier, src, dst, recursive, bytes) : 0;
  }
  return file_exists(src) != 0 ? copy_file_to(copier, src, dst, bytes) : 0;
}
