// Copying a file, or the files of a directory with everything below.
//
// One reader and one writer serve a whole call, so a tree of small files does not allocate 40 MiB
// for each. They are module state: one call at a time in the process.
#include <cstring>

#include "base/path_buffer.h"
#include "files/ascii_case.h"
#include "files/copy_streams.h"
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
  return copy_to_own_writer(*streams.reader, *streams.writer, bytes);
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
// a disk full of copies, and a failure in the end.
bool would_meet_its_copy(const char* source, const char* destination) {
  std::size_t length = std::strlen(source);
  while (length > 0 && (source[length - 1] == '\\' || source[length - 1] == '/')) {
    --length;
  }
  for (std::size_t i = 0; i < length; ++i) {
    if (fold_case(source[i]) != fold_case(destination[i])) {
      return false;
    }
  }
  return destination[length] == '\\' || destination[length] == '/';
}

int copy_tree(const char* source, const char* destination, bool recursive,
              unsigned long long& bytes);

// How deep this goes is bounded by the length of a path.
int copy_subdirectories(const dir_list& list, const char* source, const char* destination,
                        unsigned long long& bytes) {
  int copied = 0;
  PathBuffer from;
  PathBuffer to;
  char ensured[kPathBytes];
  for (int i = 0; i < list.dir_count; ++i) {
    if (!join_path(from, source, list.dirs[i]) || !join_path(to, destination, list.dirs[i])) {
      return kFailed;
    }
    if (file_ensure_directory(destination, nullptr, ensured) == nullptr ||
        file_ensure_directory(to.c_str(), nullptr, ensured) == nullptr) {
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
  const UniqueList list(flist_new(source, 1));
  if (!list) {
    return 0;
  }
  PathBuffer from;
  PathBuffer to;
  for (int i = 0; i < list->file_count; ++i) {
    if (!join_path(from, source, list->files[i]) || !join_path(to, destination, list->files[i]) ||
        copy_one_file(from.c_str(), to.c_str(), bytes) < 0) {
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
  src = src != nullptr ? src : "";
  dst = dst != nullptr ? dst : "";
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
