// Copying with a hash of what passed, and reading back what was written.
//
// The text of a failure goes to one buffer of the process, for a caller that asks for it later; the
// copy itself writes no error line. MD5 is computed beside the transfers (source_blocks.h).
#include <cstdio>
#include <cstring>
#include <optional>

#include "base/given_text.h"
#include "base/path_buffer.h"
#include "files/block_hasher.h"
#include "files/copy_check.h"
#include "files/copy_streams.h"
#include "files/copy_writer.h"
#include "files/directory_creation.h"
#include "files/hash_marks.h"
#include "files/source_blocks.h"
#include "orsincore/files.h"
#include "orsincore/log.h"

namespace orsin {
namespace {

constexpr unsigned kWithMd5 = 1;     // Bit 0 of the flags.
constexpr unsigned kWithVerify = 2;  // Bit 1.
constexpr std::size_t kTextBytes = 512;

enum Result : int {
  kDone = 0,
  kSameFile = -1,
  kNotOpened = -2,
  kNotRead = -3,
  kWriteFailed = -4,
  kPathNotAllowed = -5,
  kDirectoryNotCreated = -6,
  kMismatch = -7,
};

// The last failure's text. Two failures at once overwrite each other's.
char error_text[kTextBytes];

struct SecureCopy {
  const char* source;
  const char* destination;
  unsigned long long& bytes;
  md5_state_s& md5;
  HashMarks* marks;  // Null when the copy is not compared in parts.
  bool with_md5;
};

Result not_opened(const char* path) {
  std::snprintf(error_text, kTextBytes, "File Copy: failed to open '%s'\n", path);
  return kNotOpened;
}

Result write_failed(const SecureCopy& copy, unsigned long long from, unsigned long long to) {
  std::snprintf(error_text, kTextBytes, "File Copy: write error of %s between %llu and %llu \n",
                copy.source, from, to);
  return kWriteFailed;
}

Result check_destination(const char* destination) {
  const SplitPath split = split_path(destination);
  if (!split.has_directory || split.directory.size() >= kPathBytes) {
    std::snprintf(error_text, kTextBytes, "File Copy: pathname %s is not allowed", destination);
    return kPathNotAllowed;
  }
  return ensure_directory_part(split.directory) ? kDone : kDirectoryNotCreated;
}

// Writes and hashes every block.
Result copy_blocks(const SecureCopy& copy, SourceBlocks& blocks, const BorrowedWriter& writer) {
  for (;;) {
    const Block block = blocks.current();
    if (block.is_end()) {
      return kDone;
    }
    const bool is_short =
        !writer.is_own() && writer->write_file(block.data, 1, block.length) != block.length;
    if (!is_short) {
      blocks.hand_over();
    }
    if (is_short || writer->error() > 0) {
      return write_failed(copy, copy.bytes, copy.bytes + block.length);
    }
    copy.bytes += block.length;
    blocks.advance();
  }
}

// The hash is complete when this returns.
Result copy_all(const SecureCopy& copy, fReadBuffer& reader, const BorrowedWriter& writer) {
  const unsigned long long start = copy.bytes;
  std::optional<BlockHasher> hasher;
  SourceBlocks blocks(reader);
  if (CopyWriter* own = own_writer(writer)) {
    blocks.add_worker(*own, "Copy", kWriteBytesMax);
  }
  if (copy.with_md5) {
    hasher.emplace(copy.md5, copy.marks);
    blocks.add_worker(*hasher, "MD5", kCopyBlockBytes);
  }
  const Result result = copy_blocks(copy, blocks, writer);
  blocks.finish();
  writer.get()->close_file(true);
  if (result != kDone) {
    return result;
  }
  if (hasher) {
    hasher->finish();
  }
  // The last blocks were written, or the last buffers, after the last look.
  return writer.get()->error() > 0 ? write_failed(copy, start, copy.bytes) : kDone;
}

Result copy_opened(const SecureCopy& copy, fReadBuffer& reader, const BorrowedWriter& writer) {
  if (reader.getNextBlock() == 0 && reader.get_file_size() > 0) {
    std::snprintf(error_text, kTextBytes, "File Copy: failed to read '%s'\n", copy.source);
    return kNotRead;
  }
  if (!create_destination(writer, copy.destination)) {
    return not_opened(copy.source);  // The source is named in this case as well.
  }
  return copy_all(copy, reader, writer);
}

Result run_copy(const SecureCopy& copy, const BorrowedReader& reader,
                fWriteBuffer* borrowed_writer) {
  const BorrowedWriter writer = writer_for_copy(borrowed_writer);
  if (reader.get() == nullptr || writer.get() == nullptr ||
      !open_source(*reader.get(), copy.source)) {
    return not_opened(copy.source);
  }
  const Result result = copy_opened(copy, *reader.get(), writer);
  reader->close_file();
  return result;
}

// Both contexts are finished: the words hold the digests.
bool digests_differ(const md5_state_s& a, const md5_state_s& b) {
  return std::memcmp(a.abcd, b.abcd, sizeof(a.abcd)) != 0;
}

// The text is the line's format, in which "%%" stands for "%". But it holds names of files, whose
// conversions must never be carried out, so this is the only thing in it that is replaced.
void log_as_format(const char* text) {
  char line[kTextBytes];
  std::size_t length = 0;
  for (; *text != '\0'; ++text) {
    line[length++] = *text;
    if (text[0] == '%' && text[1] == '%') {
      ++text;
    }
  }
  line[length] = '\0';
  msgerror("%s", line);
}

// Hands all blocks of an opened file to those that work on them.
void hand_over_all(SourceBlocks& blocks) {
  while (!blocks.current().is_end()) {
    blocks.hand_over();
    blocks.advance();
  }
  blocks.finish();
}

Result hash_opened(fReadBuffer& reader, md5_state_s& md5, const md5_state_s* expected) {
  BlockHasher hasher(md5);
  SourceBlocks blocks(reader);
  blocks.add_worker(hasher, "MD5", kCopyBlockBytes);
  hand_over_all(blocks);
  hasher.finish();
  return expected != nullptr && digests_differ(md5, *expected) ? kMismatch : kDone;
}

Result check_opened(fReadBuffer& reader, const HashMarks& marks) {
  CopyCheck check(marks);
  SourceBlocks blocks(reader);
  check.add_to(blocks);
  hand_over_all(blocks);
  return check.is_same() ? kDone : kMismatch;
}

// Opens a file to be read whole, and closes it.
//
// @param read  Takes the reader, which stands at the first block.
template <typename Read>
Result read_file(const char* path, fReadBuffer* borrowed, Read read) {
  path = given(path);
  const BorrowedReader reader = reader_for_copy(borrowed);
  if (reader.get() == nullptr || !open_source(*reader.get(), path)) {
    return not_opened(path);
  }
  Result result = kNotRead;
  if (reader->getNextBlock() == 0 && reader->get_file_size() > 0) {
    std::snprintf(error_text, kTextBytes, "File Copy: unable to read '%s'\n", path);
  } else {
    result = read(*reader.get());
  }
  reader->close_file();
  return result;
}

// Reads the copy back, in parts at once where its source was marked. The reader may be null.
Result verify(const SecureCopy& copy, fReadBuffer* reader) {
  if (copy.marks != nullptr && copy.marks->is_complete()) {
    return read_file(copy.destination, reader,
                     [&copy](fReadBuffer& opened) { return check_opened(opened, *copy.marks); });
  }
  return read_file(copy.destination, reader, [&copy](fReadBuffer& opened) {
    md5_state_s found;
    return hash_opened(opened, found, &copy.md5);
  });
}

}  // namespace
}  // namespace orsin

using namespace orsin;

int file_copy_secure(const char* src, const char* dst, bool /*overwrite*/,
                     unsigned long long& bytes, md5_state_s& md5, unsigned int flags,
                     fReadBuffer* reader, fWriteBuffer* writer) {
  src = given(src);
  dst = given(dst);
  if (std::strcmp(src, dst) == 0) {
    std::snprintf(error_text, kTextBytes, "File Copy: source and destination are the same!");
    return kSameFile;
  }
  Result result = check_destination(dst);
  if (result != kDone) {
    return result;
  }
  const bool with_md5 = (flags & kWithMd5) != 0;
  const bool with_verify = (flags & kWithVerify) != 0;
  HashMarks marks;
  const SecureCopy copy{src, dst, bytes, md5, with_md5 && with_verify ? &marks : nullptr, with_md5};
  const BorrowedReader used = reader_for_copy(reader);
  result = run_copy(copy, used, writer);
  if (result != kDone) {
    return result;
  }
  // Kept on purpose: the source is shared with nobody while it is asked for its times. One that
  // somebody still reads or writes leaves the copy its own time, with a warning. Required.
  copy_file_facts(src, dst, false, true);
  if (!with_verify) {
    return kDone;
  }
  // A reader made here reads the copy, too: memory that was just used needs no new pages.
  result = verify(copy, used.is_own() ? used.get() : nullptr);
  if (result != kDone) {
    std::snprintf(error_text, kTextBytes, "File Copy: hash values of '%s' and '%s' do not match\n",
                  src, dst);
  }
  return result;
}

int file_read_secure(const char* path, md5_state_s& md5, fReadBuffer* reader,
                     md5_state_s* expected) {
  return read_file(path, reader, [&md5, expected](fReadBuffer& opened) {
    return hash_opened(opened, md5, expected);
  });
}

const char* get_error_file_copy_secure(int code, bool log) {
  if (code < kMismatch || code > kSameFile) {
    std::memset(error_text, 0, kTextBytes);
    return error_text;
  }
  if (log) {
    log_as_format(error_text);
  }
  return error_text;
}
