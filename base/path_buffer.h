// A path under construction: at most 259 bytes of UTF-8 and a terminator.
//
// The rules on paths of the whole library are here: the separator looked for is the backslash, and
// what does not fit is refused, never cut, unless a function is called cut_...
#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

namespace orsin {

constexpr std::size_t kPathBytes = 260;  // With the terminator.

class PathBuffer {
 public:
  PathBuffer() = default;
  explicit PathBuffer(std::string_view text) { cut_assign(text); }

  /// Takes as much of the text as fits.
  void cut_assign(std::string_view text) {
    length_ = text.size() < kPathBytes ? text.size() : kPathBytes - 1;
    std::memmove(text_, text.data(), length_);
    text_[length_] = '\0';
  }

  /// False, with nothing changed, when the whole would not fit.
  [[nodiscard]] bool append(std::string_view text) {
    if (length_ + text.size() >= kPathBytes) {
      return false;
    }
    std::memcpy(text_ + length_, text.data(), text.size());
    length_ += text.size();
    text_[length_] = '\0';
    return true;
  }

  /// Adds a backslash unless a separator of either kind stands at the end already.
  [[nodiscard]] bool append_separator() { return ends_in_separator() || append("\\"); }

  void truncate(std::size_t length) {
    length_ = length;
    text_[length_] = '\0';
  }

  [[nodiscard]] bool ends_in_separator() const {
    return length_ > 0 && (text_[length_ - 1] == '\\' || text_[length_ - 1] == '/');
  }
  [[nodiscard]] const char* c_str() const { return text_; }
  [[nodiscard]] std::size_t length() const { return length_; }
  [[nodiscard]] bool empty() const { return length_ == 0; }
  [[nodiscard]] std::string_view view() const { return {text_, length_}; }

 private:
  char text_[kPathBytes] = {};
  std::size_t length_ = 0;
};

/// Whether there is a path, and it is short enough to name something.
[[nodiscard]] inline bool fits_path(const char* path) {
  return path != nullptr && std::strlen(path) < kPathBytes;
}

/// A file's path split at its last backslash. Without one, `directory` is null data.
struct SplitPath {
  bool has_directory;
  std::string_view directory;  // Without the backslash.
  const char* name;            // After it, or the whole path.
};

[[nodiscard]] inline SplitPath split_path(const char* path) {
  const char* separator = std::strrchr(path, '\\');
  if (separator == nullptr) {
    return {false, {}, path};
  }
  return {true, {path, static_cast<std::size_t>(separator - path)}, separator + 1};
}

/// directory + backslash + name; false when it does not fit, with the buffer in any state.
[[nodiscard]] inline bool join_path(PathBuffer& out, std::string_view directory,
                                    std::string_view name) {
  if (directory.size() >= kPathBytes) {
    return false;
  }
  out.cut_assign(directory);
  return out.append("\\") && out.append(name);
}

}  // namespace orsin
