// Copying with the source's MD5, and reading the copy back.
//
// The text of the latest failure is kept in one buffer of the process, for get_error_file_copy_secure().
#include <cstdio>
#include <cstring>
#include <new>
#include <optional>

#include "files/block_hasher.h"
#include "files/copy_steps.h"
#include "orsincore/files.h"
#include "orsincore/io.h"
#include "orsincore/log.h"
#include "orsincore/text.h"

namespace orsin {
namespace {

enum SecureResult : int {
  kVerified = 0,
  kSameName = -1,
  kNotOpened = -2,
  kNotRead = -3,
  kWriteError = -4,
  kPathNotAllowed = -5,
  kDirectoryNotMade = -6,
  kHashDiffers = -7,
};

constexpr unsigned int kHashFlag = 1;
constexpr unsigned int kVerifyFlag = 2;

char failure_text[512];

template <typename... Arguments>
int fail(SecureResult code, const char* format, Arguments... arguments) {
  // A path may be cut to fit; the end of the text with it.
  std::snprintf(failure_text, sizeof(failure_text), format, arguments...);
  return code;
}

bool same_digest(const md5_state_s& a, const md5_state_s& b) {
  return std::memcmp(a.abcd, b.abcd, sizeof(a.abcd)) == 0;
}

void finish_digest(md5_state_s& md5) {
  unsigned char digest[16];
  ov_md5_finish(&md5, digest);
}

int copy_blocks(const char* source, fReadBuffer& reader, fWriteBuffer& writer,
                unsigned long long& bytes, BlockHasher* hasher) {
  unsigned long long length = 0;
  for (;;) {
    unsigned char* data = reader.get_bufptr(&length);
    if (data == nullptr || length == 0) {
      return kVerified;
    }
    if (hasher != nullptr) {
      hasher->append(data, length);
    }
    if (writer.write_file(data, 1, length) != length || writer.error() > 0) {
      return fail(kWriteError, "File Copy: write error of %s between %llu and %llu \n", source,
                  bytes, bytes + length);
    }
    bytes += length;
    reader.skip_file(1, length);
  }
}

int copy_secure(const char* source, const char* destination, unsigned long long& bytes,
                md5_state_s& md5, unsigned int flags, fReadBuffer& reader, fWriteBuffer& writer) {
  if (!reader.open_file(source, true, false, true)) {
    return fail(kNotOpened, "File Copy: failed to open '%s'\n", source);
  }
  unsigned long long length = 0;
  const bool has_data = reader.get_bufptr(&length) != nullptr && length > 0;
  if (!has_data && reader.get_file_size() > 0) {
    reader.close_file();
    return fail(kNotRead, "File Copy: failed to read '%s'\n", source);
  }
  if (!writer.open_file(destination, 0, true)) {
    reader.close_file();
    // Kept on purpose: the text names the source here too.
    return fail(kNotOpened, "File Copy: failed to open '%s'\n", source);
  }

  std::optional<BlockHasher> hasher;
  if ((flags & kHashFlag) != 0) {
    ov_md5_init(&md5);
    hasher.emplace(md5);
  }
  const unsigned long long before = bytes;
  int result = copy_blocks(source, reader, writer, bytes, hasher ? &*hasher : nullptr);
  writer.close_file(true);
  reader.close_file();
  if (result == kVerified && writer.error() > 0) {
    // The last blocks are written while closing: a disk that fills up then shows only here.
    result = fail(kWriteError, "File Copy: write error of %s between %llu and %llu \n", source,
                  before, bytes);
  }
  if (hasher) {
    hasher->finish();
    finish_digest(md5);
  }
  return result;
}

}  // namespace
}  // namespace orsin

using namespace orsin;

int file_copy_secure(const char* src, const char* dst, bool /*overwrite*/,
                     unsigned long long& bytes, md5_state_s& md5, unsigned int flags,
                     fReadBuffer* reader, fWriteBuffer* writer) {
  if (std::strcmp(src, dst) == 0) {
    return fail(kSameName, "File Copy: source and destination are the same!");
  }
  switch (prepare_destination(dst)) {
    case DestinationDirectory::kNotAllowed:
      return fail(kPathNotAllowed, "File Copy: pathname %s is not allowed", dst);
    case DestinationDirectory::kNotMade:
      return kDirectoryNotMade;
    case DestinationDirectory::kReady:
      break;
  }
  try {
    const BorrowedReader borrowed_reader(reader);
    const BorrowedWriter borrowed_writer(writer);
    const int result =
        copy_secure(src, dst, bytes, md5, flags, *borrowed_reader.get(), *borrowed_writer.get());
    if (result != kVerified) {
      return result;
    }
  } catch (const std::bad_alloc&) {
    return fail(kNotOpened, "File Copy: failed to open '%s'\n", src);
  }
  copy_times_and_attributes(src, dst, false, true);
  if ((flags & kVerifyFlag) == 0) {
    return kVerified;
  }
  md5_state_s found;
  const int result = file_read_secure(dst, found, nullptr, &md5);
  return result == kVerified
             ? kVerified
             : (fail(kHashDiffers, "File Copy: hash values of '%s' and '%s' do not match\n", src,
                     dst),
                result);
}

int file_read_secure(const char* path, md5_state_s& md5, fReadBuffer* reader,
                     md5_state_s* expected) {
  try {
    const BorrowedReader borrowed(reader);
    if (!borrowed->open_file(path, true, false, true)) {
      return fail(kNotOpened, "File Copy: failed to open '%s'\n", path);
    }
    unsigned long long length = 0;
    const bool has_data = borrowed->get_bufptr(&length) != nullptr && length > 0;
    if (!has_data && borrowed->get_file_size() > 0) {
      borrowed->close_file();
      return fail(kNotRead, "File Copy: unable to read '%s'\n", path);
    }
    ov_md5_init(&md5);
    BlockHasher hasher(md5);
    for (;;) {
      const unsigned char* data = borrowed->get_bufptr(&length);
      if (data == nullptr || length == 0) {
        break;
      }
      hasher.append(data, length);
      borrowed->skip_file(1, length);
    }
    hasher.finish();
    finish_digest(md5);
    borrowed->close_file();
  } catch (const std::bad_alloc&) {
    return fail(kNotOpened, "File Copy: failed to open '%s'\n", path);
  }
  return expected != nullptr && !same_digest(md5, *expected) ? kHashDiffers : kVerified;
}

const char* get_error_file_copy_secure(int code, bool log) {
  if (code < kHashDiffers || code > kSameName) {
    std::memset(failure_text, 0, sizeof(failure_text));
    return failure_text;
  }
  if (log) {
    // Formatted once more by the log, were it the format itself: a per cent sign in a path must not
    // be taken for a directive.
    msgerror("%s", failure_text);
  }
  return failure_text;
}
