// A text that may be null, read as an empty one.
#pragma once

namespace orsin {

[[nodiscard]] constexpr const char* given(const char* text) {
  return text != nullptr ? text : "";
}

}  // namespace orsin
