#include "examples/host/ingest/names.h"

#include <algorithm>
#include <array>

#include "orsincore/utf.h"

namespace host::ingest {
namespace {

char lower(char letter) {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

// Names of devices stand for them with any extension and in any folder.
bool is_device(std::string_view name) {
  constexpr std::array<std::string_view, 6> kDevices = {"aux", "con", "nul", "prn", "com", "lpt"};
  const std::string stem = folded(name.substr(0, name.find('.')));
  for (const std::string_view device : kDevices) {
    const bool is_numbered = device == "com" || device == "lpt";
    if (stem == device && !is_numbered) {
      return true;
    }
    if (is_numbered && stem.size() == 4 && stem.starts_with(device) && stem[3] >= '1' &&
        stem[3] <= '9') {
      return true;
    }
  }
  return false;
}

}  // namespace

std::string name_problem(std::string_view name) {
  if (name.empty() || name == "." || name == "..") {
    return "it is no name";
  }
  const bool has_forbidden = std::any_of(name.begin(), name.end(), [](char letter) {
    return static_cast<unsigned char>(letter) < 0x20 ||
           std::string_view("<>:\"|?*/\\").find(letter) != std::string_view::npos;
  });
  if (has_forbidden) {
    return "it holds a character that names cannot have here";
  }
  if (name.back() == '.' || name.back() == ' ') {
    return "it ends with a full stop or a blank, which would be lost";
  }
  if (is_device(name)) {
    return "it is the name of a device";
  }
  if (ov_utf8_is_valid(std::string(name).c_str()) == 0) {
    return "it is no valid Unicode";
  }
  return {};
}

std::string folded(std::string_view path) {
  std::string result(path);
  std::transform(result.begin(), result.end(), result.begin(), lower);
  return result;
}

std::string with_slashes(std::string path) {
  std::replace(path.begin(), path.end(), '\\', '/');
  return path;
}

std::string with_backslashes(std::string path) {
  std::replace(path.begin(), path.end(), '/', '\\');
  return path;
}

}  // namespace host::ingest
