// Reads one file after the other from the first byte to the last, past the system's cache, and knows
// how many bytes really came: the transfers alone count a short one as a success.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "orsincore/io.h"

namespace host::ingest {

class FileReader {
 public:
  FileReader();

  /// Closes the file before. False: see system_reason(). Others may read it meanwhile, nobody may
  /// write to it.
  [[nodiscard]] bool open(const std::string& path);
  void close() { reader_.close_file(); }

  /// As of the opening.
  [[nodiscard]] std::uint64_t size() const { return reader_.get_file_size(); }

  /// The next bytes, all of them; false where the file has no more, or cannot be read.
  [[nodiscard]] bool read(unsigned char* to, std::size_t bytes);

  /// What was read but not used, where it lies; 0 bytes at the end and where the file cannot be read.
  [[nodiscard]] const unsigned char* look(std::uint64_t& bytes);

  /// Uses that many of them.
  void step(std::uint64_t bytes);

  /// Why there was not more. Asks the system once more, as the file's own failure may be gone.
  [[nodiscard]] std::string reason() const;

 private:
  fReadBuffer reader_;
  std::string path_;
  std::uint64_t position_ = 0;
};

}  // namespace host::ingest
