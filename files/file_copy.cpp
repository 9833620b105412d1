// Copying one file to up to 16 destinations in one read pass.
//
// The order of the steps is part of the interface: what is checked before anything is created, when
// the callback runs, and who is closed after a failure.
//
// What was there before is safe: the source stays open and shared for reading only until the last
// byte is written, and destinations are opened unshared. So a destination that is the source under
// another spelling of its name, or the same file twice in the list, cannot be opened: result -2.
// The destinations opened before it then still hold what they held.
#include <cstring>
#include <optional>

#include "base/log_port.h"
#include "base/path_buffer.h"
#include "files/copy_streams.h"
#include "files/copy_writer.h"
#include "files/directory_creation.h"
#include "files/file_system_port.h"
#include "files/source_blocks.h"
#include "orsincore/files.h"
#include "orsincore/log.h"

namespace orsin {
namespace {

constexpr int kDestinationsMax = 16;

using Progress = void (*)(void* user, unsigned char* data, unsigned long long length);

enum Result : int {
  kCopied = 0,
  kSourceNotOpened = -1,
  kDestinationNotCreated = -2,
  kSourceNotRead = -3,
  kPathNotAllowed = -4,
  kDirectoryNotCreated = -5,
  kNoSource = -6,
  kDestinationExists = -7,
  kWriteFailed = -8,
  kSameFile = -9,
  kWritersDiffer = -12,
  kTooManyDestinations = -13,
};

struct Copy {
  const char* source;
  const char** destinations;
  int count;
  bool overwrite;
  unsigned long long& bytes;
  Progress progress;
  void* user;
  bool verbose;
};

int count_destinations(const char** destinations) {
  int count = 0;
  while (destinations != nullptr && destinations[count] != nullptr &&
         *destinations[count] != '\0') {
    ++count;
  }
  return count;
}

int count_writers(fWriteBuffer** writers) {
  int count = 0;
  while (writers != nullptr && writers[count] != nullptr) {
    ++count;
  }
  return count;
}

Result destination_exists(const Copy& copy) {
  if (copy.verbose) {
    msgerror("File Copy: destination file already exists!");
  }
  return kDestinationExists;
}

Result not_created(const Copy& copy, int index) {
  if (copy.verbose) {
    msgerror("File Copy: failed to create '%s'\n", copy.destinations[index]);
  }
  return kDestinationNotCreated;
}

Result check_destination(const Copy& copy, const char* destination) {
  if (std::strcmp(copy.source, destination) == 0) {
    if (copy.verbose) {
      msgerror("File Copy: source and destination are the same!");
    }
    return kSameFile;
  }
  const SplitPath split = split_path(destination);
  if (!split.has_directory || split.directory.size() >= kPathBytes) {
    return kPathNotAllowed;
  }
  if (!ensure_directory_part(split.directory)) {
    return kDirectoryNotCreated;
  }
  return !copy.overwrite && file_exists(destination) != 0 ? destination_exists(copy) : kCopied;
}

// Up to 16 writers; the ones made here go when this goes.
class Writers {
 public:
  explicit Writers(int count) : count_(count) {}

  // The index of the first destination that memory is too short for; the count when there is none.
  int prepare(fWriteBuffer** borrowed) {
    for (int i = 0; i < count_; ++i) {
      slots_[i].emplace(writer_for_copy(borrowed != nullptr ? borrowed[i] : nullptr));
      if (at(i) == nullptr) {
        return i;
      }
    }
    return count_;
  }

  // The index of the first destination that cannot be created; the count when all were.
  int open(const char** destinations, bool overwrite) {
    for (int i = 0; i < count_; ++i) {
      // The caller counted them: the analyzer does not see that count_ is that count.
      // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage)
      if (!may_create(i, destinations[i], overwrite) ||
          !create_destination(*slots_[i], destinations[i])) {
        // Kept on purpose: the writer that failed is closed once for each one opened before it, and
        // those stay open. Required: hosts derive writers and see these calls.
        close_repeatedly(i, i);
        abandon_before(i);
        return i;
      }
    }
    return count_;
  }

  // The copy's own work on the blocks as they are handed over.
  void join(SourceBlocks& blocks) {
    for (int i = 0; i < count_; ++i) {
      if (CopyWriter* own = own_writer(*slots_[i])) {
        blocks.add_worker(*own, "Copy", kWriteBytesMax);
      }
    }
  }

  // Whether the destination that cannot be created had been made meanwhile, and may not be replaced.
  [[nodiscard]] bool has_found_file() const { return has_found_file_; }

  // The callers' are given the block; of the copy's own it is seen whether they still write.
  bool write(const Block& block) {
    for (int i = 0; i < count_; ++i) {
      const bool is_short =
          !slots_[i]->is_own() && at(i)->write_file(block.data, 1, block.length) != block.length;
      if (is_short || at(i)->error() > 0) {
        failed_ = i;
        return false;
      }
    }
    return true;
  }

  // Kept on purpose: as when opening, the writer that failed is closed once for each destination.
  void close_failed() { close_repeatedly(failed_, count_); }

  // What a destination holds is on disk only now: the last buffers are written here.
  bool close() {
    bool are_complete = true;
    for (int i = 0; i < count_; ++i) {
      at(i)->close_file(true);
      are_complete = are_complete && at(i)->error() <= 0;
    }
    return are_complete;
  }

 private:
  fWriteBuffer* at(int index) { return slots_[index]->get(); }

  // A file that must not be replaced may have come since it was looked for. Of two copies to one new
  // name, exactly one makes it. Where a caller's writer puts its data is the writer's business: it
  // is only looked for once more.
  bool may_create(int index, const char* destination, bool overwrite) {
    if (overwrite) {
      return true;
    }
    has_found_file_ =
        slots_[index]->is_own()
            ? !port::make_file(destination) && port::last_system_error() == port::kErrorFileExists
            : file_exists(destination) != 0;
    return !has_found_file_;
  }

  // Closed in the ordinary way, files that nothing was written to would lose what they held.
  void abandon_before(int end) {
    for (int i = 0; i < end; ++i) {
      abandon_destination(*slots_[i]);
    }
  }

  void close_repeatedly(int index, int times) {
    for (int i = 0; i < times; ++i) {
      at(index)->close_file(true);
    }
  }

  std::optional<BorrowedWriter> slots_[kDestinationsMax];
  int count_;
  int failed_ = 0;
  bool has_found_file_ = false;
};

// Every block to the callback, then to all destinations.
bool copy_blocks(const Copy& copy, SourceBlocks& blocks, Writers& writers) {
  for (;;) {
    const Block block = blocks.current();
    if (copy.progress != nullptr) {
      copy.progress(copy.user, block.is_end() ? nullptr : block.data,
                    block.is_end() ? 0 : block.length);
    }
    if (block.is_end()) {
      // Kept on purpose: a source that cannot be read on ends here as if it were complete. Callers
      // see what is missing in `bytes`, and rescue what can be read off a damaged disk.
      return true;
    }
    blocks.hand_over();
    if (!writers.write(block)) {
      return false;
    }
    copy.bytes += block.length;
    blocks.advance();
  }
}

// False when a destination does not take all of it; it is closed then.
bool copy_all(const Copy& copy, fReadBuffer& reader, Writers& writers) {
  SourceBlocks blocks(reader);
  writers.join(blocks);
  const bool all_taken = copy_blocks(copy, blocks, writers);
  blocks.finish();
  if (!all_taken) {
    writers.close_failed();
  }
  return all_taken;
}

Result copy_data(const Copy& copy, fReadBuffer& reader, Writers& writers) {
  const bool has_data = reader.getNextBlock() > 0;
  if (!has_data && reader.get_file_size() > 0) {
    if (copy.verbose) {
      msgerror("File Copy: failed to read '%s'\n", copy.source);
    }
    return kSourceNotRead;
  }
  const int opened = writers.open(copy.destinations, copy.overwrite);
  if (opened < copy.count && writers.has_found_file()) {
    return destination_exists(copy);
  }
  if (opened < copy.count) {
    return not_created(copy, opened);
  }
  if (has_data && !copy_all(copy, reader, writers)) {
    return kWriteFailed;
  }
  return writers.close() ? kCopied : kWriteFailed;
}

Result run_copy(const Copy& copy, fReadBuffer* borrowed_reader, fWriteBuffer** borrowed_writers) {
  const BorrowedReader reader = reader_for_copy(borrowed_reader);
  if (reader.get() == nullptr || !open_source(*reader.get(), copy.source)) {
    if (copy.verbose) {
      msgerror("File Copy: failed to open '%s'\n", copy.source);
    }
    return kSourceNotOpened;
  }
  Writers writers(copy.count);
  const int prepared = writers.prepare(borrowed_writers);
  if (prepared < copy.count) {
    reader->close_file();
    return not_created(copy, prepared);
  }
  const Result result = copy_data(copy, *reader.get(), writers);
  reader->close_file();
  return result;
}

}  // namespace
}  // namespace orsin

using namespace orsin;

int file_copy(const char* src, const char** dsts, bool overwrite, unsigned long long& bytes,
              fReadBuffer* reader, fWriteBuffer** writers,
              void (*progress)(void* user, unsigned char* data, unsigned long long length),
              void* user, bool verbose) {
  const int count = count_destinations(dsts);
  const int writer_count = count_writers(writers);
  if (count >= 2 && writers != nullptr && writer_count != count) {
    return kWritersDiffer;
  }
  if (count > kDestinationsMax) {
    return kTooManyDestinations;
  }
  if (src == nullptr) {
    msgerror("File Copy: no source file specified!");
    return kNoSource;
  }
  const Copy copy{src, dsts, count, overwrite, bytes, progress, user, verbose};
  for (int i = 0; i < count; ++i) {
    const Result result = check_destination(copy, dsts[i]);
    if (result != kCopied) {
      return result;
    }
  }
  const Result result = run_copy(copy, reader, writer_count > 0 ? writers : nullptr);
  if (result != kCopied) {
    return result;
  }
  for (int i = 0; i < count; ++i) {
    copy_file_facts(src, dsts[i], true, verbose);
  }
  return kCopied;
}

int file_copy(const char* src, const char* dst, bool overwrite, unsigned long long& bytes,
              fReadBuffer* reader, fWriteBuffer* writer,
              void (*progress)(void* user, unsigned char* data, unsigned long long length),
              void* user, bool verbose) {
  const char* destinations[] = {dst, nullptr};
  fWriteBuffer* writers[] = {writer, nullptr};
  return file_copy(src, dst != nullptr ? destinations : nullptr, overwrite, bytes, reader,
                   writer != nullptr ? writers : nullptr, progress, user, verbose);
}
