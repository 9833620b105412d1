// A file that takes its name when it is complete: until then its bytes are in a new file beside it.
//
// So whoever finds the name finds a whole file, the old one or the new one, whatever happens in
// between. The file beside it is called "~000001.new" or another number, which is short enough for
// every directory that there can be; nobody's file is written over for it.
#pragma once

#include <cstdio>

#include "base/path_buffer.h"
#include "base/unique_file.h"

namespace orsin {

class NewFile {
 public:
  /// @param path  UTF-8; null and paths that are too long name nothing.
  /// @param mode  As std::fopen() takes it, for writing. No child program inherits the file.
  NewFile(const char* path, const char* mode);
  ~NewFile();  // Removes what was not committed.
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  /// Where the bytes go; null when no file could be made.
  [[nodiscard]] std::FILE* stream() const { return stream_.get(); }

  /// Closes the stream and puts the file in place of an existing one. False when the last bytes could
  /// not be written or the name could not be taken: what had the name keeps it. Call it once, with
  /// everything written.
  [[nodiscard]] bool commit();

 private:
  static constexpr std::size_t kNameBytes = sizeof("~000000.new");

  void create_beside();

  PathBuffer path_;
  char beside_[kPathBytes + kNameBytes] = {};  // Empty: there is no such file.
  UniqueFile stream_;
};

}  // namespace orsin
