#include "examples/host/ingest/state_file.h"

#include <charconv>
#include <optional>
#include <system_error>

namespace host::ingest {
namespace {

constexpr std::size_t kHashDigits = 16;

std::string line_hash(std::string_view body) {
  XxhHasher hasher;
  hasher.add(reinterpret_cast<const unsigned char*>(body.data()), body.size());
  return hex(hasher.digest());
}

// Takes one word off the front, with the blank behind it.
std::string_view take_word(std::string_view& line) {
  const std::size_t end = line.find(' ');
  const std::string_view word = line.substr(0, end);
  line.remove_prefix(end == std::string_view::npos ? line.size() : end + 1);
  return word;
}

std::optional<std::uint64_t> number(std::string_view word) {
  std::uint64_t value = 0;
  const char* const end = word.data() + word.size();
  const auto [stopped, error] = std::from_chars(word.data(), end, value);
  return error == std::errc() && stopped == end ? std::optional(value) : std::nullopt;
}

void read_line(std::string_view line, FinishedFiles& files) {
  if (line.size() < kHashDigits + 1 || line[kHashDigits] != ' ' ||
      line.substr(0, kHashDigits) != line_hash(line.substr(kHashDigits + 1))) {
    return;
  }
  line.remove_prefix(kHashDigits + 1);
  const auto size = number(take_word(line));
  const auto write_time = number(take_word(line));
  const auto xxh64 = xxh64_of_hex(take_word(line));
  const auto md5 = md5_of_hex(take_word(line));
  const auto hash_time = number(take_word(line));
  if (size && write_time && xxh64 && md5 && hash_time && line.size() > 1 && line[0] == ' ') {
    line.remove_prefix(1);
    files.insert_or_assign(std::string(line),
                           FinishedFile{*size, *write_time, {*xxh64, *md5}, *hash_time, false});
  }
}

}  // namespace

std::string state_line(const std::string& path, const FinishedFile& file) {
  const std::string body = std::to_string(file.size) + ' ' + std::to_string(file.write_time) + ' ' +
                           hex(file.hashes.xxh64) + ' ' + hex(file.hashes.md5) + ' ' +
                           std::to_string(file.hash_time) + "  " + path;
  return line_hash(body) + ' ' + body + '\n';
}

FinishedFiles read_state(std::string_view text) {
  FinishedFiles files;
  if (!text.starts_with(kStateHeader)) {
    return files;
  }
  text.remove_prefix(kStateHeader.size());
  for (std::size_t end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
    read_line(text.substr(0, end), files);
    text.remove_prefix(end + 1);
  }
  return files;
}

}  // namespace host::ingest
