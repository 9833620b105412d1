// Copying a file or a directory tree with times and attributes.
//
// Kept on purpose: one reader and one writer serve the whole call from module variables, so two calls
// at once are not supported; and empty files are refused.
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include "files/copy_steps.h"
#include "files/directories.h"
#include "files/file_system_port.h"
#include "orsincore/files.h"
#include "orsincore/io.h"
#include "orsincore/log.h"

namespace orsin {
namespace {

fReadBuffer* tree_reader = nullptr;
fWriteBuffer* tree_writer = nullptr;

void copy_times_narrow(const char* source, const char* destination) {
  std::uint64_t time = 0;
  if (!port::read_write_time_narrow(source, time)) {
    msgwarn("Failed to retrieve the file times: '%s'", source);
  } else if (!port::set_write_time_narrow(destination, time)) {
    msgwarn("Failed to update the file times: '%s'", destination);
    msgcont("Error: '%s'\n", os_errormsg());
  }
  std::uint32_t bits = 0;
  if (!port::read_attribute_bits_narrow(source, bits)) {
    msgwarn("Failed to retrieve the file attributes: '%s'", source);
  } else if (!port::write_attribute_bits_narrow(destination, bits)) {
    msgwarn("Failed to update the file attributes: '%s'", destination);
    msgcont("Error: '%s'\n", os_errormsg());
  }
}

void close_destination() {
  tree_writer->set_file_position(tree_reader->get_file_size());
  tree_writer->close_file(true);
  tree_reader->close_file();
}

int copy_one_file(const char* source, const char* destination, unsigned long long& bytes) {
  if (!tree_reader->open_file(source, true, false, true)) {
    return -1;
  }
  unsigned long long length = 0;
  const unsigned char* data = tree_reader->get_bufptr(&length);
  if (data == nullptr || length == 0) {
    tree_reader->close_file();
    return -3;
  }
  if (!tree_writer->open_file(destination, 0, true)) {
    tree_reader->close_file();
    return -2;
  }
  while (data != nullptr && length > 0) {
    if (tree_writer->write_file(data, 1, length) != length) {
      close_destination();
      return -3;
    }
    bytes += length;
    tree_reader->skip_file(1, length);
    data = tree_reader->get_bufptr(&length);
  }
  close_destination();
  copy_times_narrow(source, destination);
  return 0;
}

bool join(char* path, const char* directory, const char* name) {
  const int length = std::snprintf(path, kPathBytes, "%s\\%s", directory, name);
  return length >= 0 && length < static_cast<int>(kPathBytes);
}

struct ListDeleter {
  void operator()(dir_list* list) const { flist_delete(list); }
};

// Recursion ends with the path's length. Returns the number of files.
int copy_tree(const char* source, const char* destination, bool recursive,
              unsigned long long& bytes) {
  const std::unique_ptr<dir_list, ListDeleter> list(flist_new(source, 1));
  if (!list) {
    return 0;
  }
  char from[kPathBytes];
  char to[kPathBytes];
  for (int i = 0; i < list->file_count; ++i) {
    if (!join(from, source, list->files[i]) || !join(to, destination, list->files[i]) ||
        copy_one_file(from, to, bytes) < 0) {
      return -1;
    }
  }
  int copied = list->file_count;
  for (int i = 0; recursive && i < list->dir_count; ++i) {
    if (!join(from, source, list->dirs[i]) || !join(to, destination, list->dirs[i])) {
      return -1;
    }
    char made[kPathBytes];
    if (file_ensure_directory(destination, nullptr, made) != nullptr &&
        file_ensure_directory(to, nullptr, made) != nullptr) {
      const int below = copy_tree(from, to, true, bytes);
      if (below < 0) {
        return -1;
      }
      copied += below;
    }
  }
  return copied;
}

int copy_into(const char* source, const char* destination, unsigned long long& bytes) {
  if (file_is_directory(destination) == 0) {
    return copy_one_file(source, destination, bytes);
  }
  // The component keeps its separator: a doubled one is as good as one.
  const char* separator = std::strrchr(source, '\\');
  const std::size_t length = std::strlen(destination);
  const bool has_separator = length > 0 && destination[length - 1] == '\\';
  char path[kPathBytes];
  std::snprintf(path, sizeof(path), "%s%s%s", destination, has_separator ? "" : "\\",
                separator != nullptr ? separator : source);
  return copy_one_file(source, path, bytes);
}

int copy_any(const char* source, const char* destination, bool recursive,
             unsigned long long& bytes) {
  if (file_is_directory(source) != 0) {
    char made[kPathBytes];
    return file_ensure_directory(destination, nullptr, made) != nullptr
               ? copy_tree(source, destination, recursive, bytes)
               : 0;
  }
  return file_exists(source) != 0 ? copy_into(source, destination, bytes) : 0;
}

}  // namespace
}  // namespace orsin

using namespace orsin;

int ov_filecopy(const char* src, const char* dst, bool recursive, unsigned long long& bytes) {
  if (std::strcmp(src, dst) == 0) {
    msgerror("FileCopy: Source and destination are the same!\n'%s' no copy done\n", src);
    return -1;
  }
  bytes = 0;
  int result = -1;
  try {
    const BorrowedReader reader(nullptr);
    const BorrowedWriter writer(nullptr);
    tree_reader = reader.get();
    tree_writer = writer.get();
    result = copy_any(src, dst, recursive, bytes);
  } catch (const std::bad_alloc&) {
    msgerror("FileCopy: not enough memory");
  }
  tree_reader = nullptr;
  tree_writer = nullptr;
  return result;
}
