// Copying one file to up to 16 destinations in one read pass.
//
// Each block goes to the progress callback and then to every destination before the next is fetched.
// What a failing copy has already created stays on disk; only the readers and writers that this call
// made itself are released.
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "files/copy_steps.h"
#include "orsincore/files.h"
#include "orsincore/io.h"
#include "orsincore/log.h"

namespace orsin {
namespace {

constexpr int kDestinationsMax = 16;

enum CopyResult : int {
  kCopied = 0,
  kSourceNotOpened = -1,
  kDestinationNotCreated = -2,
  kSourceNotRead = -3,
  kPathNotAllowed = -4,
  kDirectoryNotMade = -5,
  kNoSource = -6,
  kDestinationExists = -7,
  kWriteFellShort = -8,
  kSameName = -9,
  kWriterCountDiffers = -12,
  kTooManyDestinations = -13,
};

using Progress = void (*)(void* user, unsigned char* data, unsigned long long length);

int count_names(const char** names) {
  int count = 0;
  while (names != nullptr && names[count] != nullptr && *names[count] != '\0') {
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

int check_destination(const char* source, const char* destination, bool overwrite, bool verbose) {
  if (std::strcmp(source, destination) == 0) {
    if (verbose) {
      msgerror("File Copy: source and destination are the same!");
    }
    return kSameName;
  }
  switch (prepare_destination(destination)) {
    case DestinationDirectory::kNotAllowed:
      return kPathNotAllowed;
    case DestinationDirectory::kNotMade:
      return kDirectoryNotMade;
    case DestinationDirectory::kReady:
      break;
  }
  if (!overwrite && file_exists(destination) != 0) {
    if (verbose) {
      msgerror("File Copy: destination file already exists!");
    }
    return kDestinationExists;
  }
  return kCopied;
}

// One call's source, destinations and how it reports.
class Copy {
 public:
  Copy(const char* source, const char** names, int count, fReadBuffer* reader,
       fWriteBuffer** writers, bool verbose)
      : source_(source), names_(names), reader_(reader), verbose_(verbose) {
    for (int i = 0; i < count; ++i) {
      writers_.emplace_back(writers != nullptr ? writers[i] : nullptr);
    }
  }

  int run(unsigned long long& bytes, Progress progress, void* user);

 private:
  int open_destinations();
  int copy_blocks(unsigned char* data, unsigned long long length, unsigned long long& bytes,
                  Progress progress, void* user);
  bool write_block(const unsigned char* data, unsigned long long length);
  int fail(int code, const char* name);
  void close_once_per(fWriteBuffer* failing, std::size_t times);

  const char* source_;
  const char** names_;
  BorrowedReader reader_;
  std::vector<BorrowedWriter> writers_;
  bool verbose_;
};

// Kept on purpose: the failing writer is closed once for each of `times` destinations, and the others
// are left as they are. Hosts that pass their own writers rely on finding theirs untouched.
void Copy::close_once_per(fWriteBuffer* failing, std::size_t times) {
  for (std::size_t i = 0; i < times; ++i) {
    failing->close_file(true);
  }
  reader_->close_file();
}

int Copy::fail(int code, const char* name) {
  if (!verbose_) {
    return code;
  }
  switch (code) {
    case kSourceNotOpened:
      msgerror("File Copy: failed to open '%s'\n", name);
      break;
    case kDestinationNotCreated:
      msgerror("File Copy: failed to create '%s'\n", name);
      break;
    case kSourceNotRead:
      msgerror("File Copy: failed to read '%s'\n", name);
      break;
    default:
      break;
  }
  return code;
}

int Copy::open_destinations() {
  for (std::size_t i = 0; i < writers_.size(); ++i) {
    if (!writers_[i]->open_file(names_[i], 0, true)) {
      const int code = fail(kDestinationNotCreated, names_[i]);
      close_once_per(writers_[i].get(), i);
      return code;
    }
  }
  return kCopied;
}

bool Copy::write_block(const unsigned char* data, unsigned long long length) {
  for (const BorrowedWriter& writer : writers_) {
    if (writer->write_file(data, 1, length) != length || writer->error() > 0) {
      close_once_per(writer.get(), writers_.size());
      return false;
    }
  }
  return true;
}

int Copy::copy_blocks(unsigned char* data, unsigned long long length, unsigned long long& bytes,
                      Progress progress, void* user) {
  for (;;) {
    const bool at_end = data == nullptr || length == 0;
    if (progress != nullptr) {
      progress(user, at_end ? nullptr : data, at_end ? 0 : length);
    }
    if (at_end) {
      return kCopied;
    }
    if (!write_block(data, length)) {
      return kWriteFellShort;
    }
    bytes += length;
    reader_->skip_file(1, length);
    data = reader_->get_bufptr(&length);
  }
}

int Copy::run(unsigned long long& bytes, Progress progress, void* user) {
  if (!reader_->open_file(source_, true, false, true)) {
    return fail(kSourceNotOpened, source_);
  }
  unsigned long long length = 0;
  unsigned char* data = reader_->get_bufptr(&length);
  const bool has_data = data != nullptr && length > 0;
  if (!has_data && reader_->get_file_size() > 0) {
    reader_->close_file();
    return fail(kSourceNotRead, source_);
  }
  if (const int code = open_destinations(); code != kCopied) {
    return code;
  }
  if (has_data) {
    if (const int code = copy_blocks(data, length, bytes, progress, user); code != kCopied) {
      return code;
    }
  }
  int result = kCopied;
  for (const BorrowedWriter& writer : writers_) {
    writer->close_file(true);
    // The last blocks are written while closing: a disk that fills up then shows only here.
    if (writer->error() > 0) {
      result = kWriteFellShort;
    }
  }
  reader_->close_file();
  for (std::size_t i = 0; i < writers_.size(); ++i) {
    copy_times_and_attributes(source_, names_[i], true, verbose_);
  }
  return result;
}

}  // namespace
}  // namespace orsin

using namespace orsin;

int file_copy(const char* src, const char* dst, bool overwrite, unsigned long long& bytes,
              fReadBuffer* reader, fWriteBuffer* writer, Progress progress, void* user,
              bool verbose) {
  const char* names[] = {dst, nullptr};
  fWriteBuffer* writers[] = {writer, nullptr};
  return file_copy(src, dst != nullptr ? names : nullptr, overwrite, bytes, reader,
                   writer != nullptr ? writers : nullptr, progress, user, verbose);
}

int file_copy(const char* src, const char** dsts, bool overwrite, unsigned long long& bytes,
              fReadBuffer* reader, fWriteBuffer** writers, Progress progress, void* user,
              bool verbose) {
  const int count = count_names(dsts);
  if (count >= 2 && writers != nullptr && count_writers(writers) != count) {
    return kWriterCountDiffers;
  }
  if (count > kDestinationsMax) {
    return kTooManyDestinations;
  }
  if (src == nullptr) {
    msgerror("File Copy: no source file specified!");
    return kNoSource;
  }
  for (int i = 0; i < count; ++i) {
    if (const int code = check_destination(src, dsts[i], overwrite, verbose); code != kCopied) {
      return code;
    }
  }
  try {
    return Copy(src, dsts, count, reader, writers, verbose).run(bytes, progress, user);
  } catch (const std::bad_alloc&) {
    msgerror("File Copy: not enough memory");
    return kDestinationNotCreated;
  }
}
