// The line that tells how an ingest goes, for a console of any width.
//
//    45.2 %   12.3 of 27.2 GB   1234 of 20000 files   312 298 MB/s   0:12 left
//
// What does not fit is left out, the least important first. Plain functions of their arguments.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace host::ingest {

struct Status {
  std::uint64_t bytes_done = 0;  // Read from the card.
  std::uint64_t bytes = 0;
  std::uint64_t files_done = 0;
  std::uint64_t files = 0;
  std::uint64_t work_done = 0;  // Bytes read, and bytes compared.
  std::uint64_t work = 0;
  double seconds = 0;
  std::vector<std::uint64_t> written;  // By each destination.
};

/// At most `width` characters, no line feed.
[[nodiscard]] std::string status_text(const Status& status, std::size_t width);

/// "950 B", "1.2 KB", "345.6 MB", "1.23 TB": units of 1000.
[[nodiscard]] std::string size_text(std::uint64_t bytes);

/// "0:05", "12:34", "1:02:03".
[[nodiscard]] std::string duration_text(double seconds);

}  // namespace host::ingest
