// Copying a file, or the files of a directory with everything below.
//
// One reader and one writer serve a whole call, so a tree of small files does not allocate 40 MiB
// for each. They are module state: one call at a time in the process.
#include <cstring>

#include "base/given_text.h"
#include "base/path_buffer.h"
#include "files/copy_streams.h"
#include "files/directory_creation.h"
#include "files/directory_identity.h"
#include "files/directory_list.h"
#include "files/file_system_port.h"
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

struct TreeCopy {
  fReadBuffer* reader;
  fWriteBuffer* writer;
};

constinit TreeCopy streams = {nullptr, nullptr};

class StreamsOfOneCall {
 public:
  StreamsOfOneCall() : reader_(reader_for_copy(nullptr)), writer_(writer_for_copy(nullptr)) {
    streams = {reader_.get(), writer_.get()};
  }
  ~StreamsOfOneCall() { streams = {nullptr, nullptr}; }
  StreamsOfOneCall(const StreamsOfOneCall&) = delete;
  StreamsOfOneCall& operator=(const StreamsOfOneCall&) = delete;

  [[nodiscard]] bool are_ready() const {
    return reader_.get() != nullptr && writer_.get() != nullptr;
  }

 private:
  BorrowedReader reader_;
  BorrowedWriter writer_;
};

void copy_write_time(const char* source, const char* destination) {
  std::uint64_t time = 0;
  if (!port::read_write_time_narrow(source, time)) {
    msgwarn("Failed to retrieve the file times: '%s'", source);
    return;
  }
  if (!port::write_write_time_narrow(destination, time)) {
    msgwarn("Failed to update the file times: '%s'", destination);
    msgcont("Error: '%s'\n", os_errormsg());
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
    msgcont("Error: '%s'\n", os_errormsg());
  }
}

// Cuts the file to the source's size, so that what is there is at least not more.
void finish_destination() {
  streams.writer->set_file_position(streams.reader->get_file_size());
  streams.writer->close_file(true);
}

bool copy_blocks(unsigned long long& bytes) {
  for (;;) {
    const Block block = current_block(*streams.reader);
    if (block.is_end()) {
      return true;
    }
    if (streams.writer->write_file(block.data, 1, block.length) != block.length) {
      return false;
    }
    bytes += block.length;
    streams.reader->skip_file(block.length, 1);
  }
}

Result copy_opened(const char* destination, unsigned long long& bytes) {
  // Kept on purpose: an empty source is refused here, unlike in file_copy(). Callers tell damaged
  // takes from good ones by it.
  if (streams.reader->getNextBlock() == 0) {
    return kDataNotCopied;
  }
  if (!create_destination(*streams.writer, destination)) {
    return kDestinationNotCreated;
  }
  const bool all_taken = copy_blocks(bytes);
  finish_destination();
  // The last buffers were written by the closing.
  return all_taken && streams.writer->error() == 0 ? kCopied : kDataNotCopied;
}

int path_too_long(const char* directory, const char* name) {
  msgerror("FileCopy: The path of '%s' in '%s', or of its copy, is too long\n", name, directory);
  return kFailed;
}

int copy_one_file(const char* source, const char* destination, unsigned long long& bytes) {
  if (!open_source(*streams.reader, source)) {
    return kFailed;
  }
  const Result result = copy_opened(destination, bytes);
  streams.reader->close_file();
  if (result != kCopied) {
    return result;
  }
  // Kept on purpose: times and attributes go through the calls for the system's code page. For a
  // name outside ASCII they are not found, which is a warning; the data is complete.
  copy_write_time(source, destination);
  copy_attributes(source, destination);
  return kCopied;
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

int copy_tree(const char* source, const char* destination, bool recursive,
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
int copy_subdirectories(const dir_list& list, const char* source, const char* destination,
                        unsigned long long& bytes) {
  int copied = 0;
  PathBuffer from;
  PathBuffer to;
  for (int i = 0; i < list.dir_count; ++i) {
    if (!join_path(from, source, list.dirs[i]) || !join_path(to, destination, list.dirs[i])) {
      return path_too_long(source, list.dirs[i]);
    }
    if (leads_back(from.c_str())) {
      msgwarn("FileCopy: '%s' leads to a directory above it, not copied\n", from.c_str());
      continue;
    }
    if (!has_place(from.c_str(), destination, to.c_str())) {
      continue;
    }
    const int below = copy_tree(from.c_str(), to.c_str(), true, bytes);
    if (below < 0) {
      return kFailed;
    }
    copied += below;
  }
  return copied;
}

int copy_tree(const char* source, const char* destination, bool recursive,
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
  PathBuffer from;
  PathBuffer to;
  for (int i = 0; i < list->file_count; ++i) {
    if (!join_path(from, source, list->files[i]) || !join_path(to, destination, list->files[i])) {
      return path_too_long(source, list->files[i]);
    }
    if (copy_one_file(from.c_str(), to.c_str(), bytes) < 0) {
      return kFailed;
    }
  }
  if (!recursive) {
    return list->file_count;
  }
  const int below = copy_subdirectories(*list, source, destination, bytes);
  return below < 0 ? below : list->file_count + below;
}

// Into a directory under the source's own name. The name keeps its backslash: the doubled separator
// is one to the file system.
bool destination_in_directory(PathBuffer& path, const char* directory, const char* source) {
  const char* separator = std::strrchr(source, '\\');
  const bool has_separator = directory[std::strlen(directory) - 1] == '\\';
  return path.append(directory) && (has_separator || path.append("\\")) &&
         path.append(separator != nullptr ? separator : source);
}

int copy_file_to(const char* source, const char* destination, unsigned long long& bytes) {
  if (file_is_directory(destination) == 0) {
    return copy_one_file(source, destination, bytes);
  }
  PathBuffer path;
  if (!destination_in_directory(path, destination, source)) {
    return kDestinationNotCreated;
  }
  return copy_one_file(source, path.c_str(), bytes);
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
  const StreamsOfOneCall call;
  bytes = 0;
  if (!call.are_ready()) {
    return kFailed;
  }
  if (file_is_directory(src) != 0) {
    if (recursive && would_meet_its_copy(src, dst)) {
      return kFailed;
    }
    // Joined to an empty one, the names would be those of the drive's root.
    const bool has_destination =
        *dst != '\0' && file_ensure_directory(dst, nullptr, nullptr) != nullptr;
    return has_destination ? copy_tree(src, dst, recursive, bytes) : 0;
  }
  return file_exists(src) != 0 ? copy_file_to(src, dst, bytes) : 0;
}
