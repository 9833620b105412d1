// How a stand-in hands a text out.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

namespace orsin::platform {

/// False when there is none, or no room for all of it.
inline bool copy_if_any(const std::string& text, char* out, std::size_t size) {
  return !text.empty() && std::snprintf(out, size, "%s", text.c_str()) < static_cast<int>(size);
}

}  // namespace orsin::platform
