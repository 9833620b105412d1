// The list of settings directories; see search_list.h.
#include "files/search_list.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "files/environment_port.h"
#include "orsincore/log.h"

namespace orsin {
namespace {

constexpr std::size_t kValueBytes = 512;

// As much as fits: an entry that is too long is cut, and then names nothing.
void append_cut(PathBuffer& entry, std::string_view text) {
  const std::size_t room = kPathBytes - 1 - entry.length();
  static_cast<void>(entry.append(text.substr(0, room)));
}

}  // namespace

void SearchListWalker::read_variable(PathBuffer& entry) {
  const std::size_t length = std::strcspn(rest_, "$;");
  const PathBuffer name(std::string_view(rest_, length));
  rest_ += length;
  if (*rest_ == '$') {
    ++rest_;
  }
  char value[kValueBytes] = {};
  if (!port::read_environment(name.c_str(), value, sizeof(value))) {
    msgdebug("Environment variable '%s' not found", name.c_str());
    return;
  }
  append_cut(entry, value);
}

void SearchListWalker::read_entry(PathBuffer& entry) {
  while (*rest_ != '\0' && *rest_ != ';') {
    if (*rest_ == '$') {
      ++rest_;
      read_variable(entry);
      continue;
    }
    const std::size_t length = std::strcspn(rest_, "$;");
    append_cut(entry, {rest_, length});
    rest_ += length;
  }
  if (*rest_ == ';') {
    ++rest_;
  }
}

bool SearchListWalker::next(PathBuffer& entry) {
  while (*rest_ != '\0') {
    entry.truncate(0);
    read_entry(entry);
    if (!entry.empty()) {
      return true;
    }
  }
  return false;
}

}  // namespace orsin
