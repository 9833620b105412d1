// The stream of the log is the library's; nobody writes while it is emptied.
#include "tests/soak/own_log.h"

#include <array>
#include <cstdio>

#include <io.h>

#include "orsincore/log.h"
#include "orsincore/paths.h"

namespace orsin::soak {

bool read_and_empty_log(LogCheck& check) {
  std::FILE* const file = std::fopen(file_get_logfile(), "rbN");
  if (file == nullptr) {
    return false;
  }
  static std::array<char, 1 << 16> piece;
  std::size_t read = 0;
  while ((read = std::fread(piece.data(), 1, piece.size(), file)) != 0) {
    check.read({piece.data(), read});
  }
  const bool was_read = std::ferror(file) == 0;
  static_cast<void>(std::fclose(file));
  std::FILE* const log = msg_get_file();
  return was_read && _chsize(_fileno(log), 0) == 0 && std::fseek(log, 0, SEEK_SET) == 0;
}

}  // namespace orsin::soak
