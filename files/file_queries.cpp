// What a file is, how large, and when it was changed.
#include <cstdio>
#include <cstring>

#include "files/file_system_port.h"
#include "orsincore/files.h"
#include "orsincore/text.h"

namespace orsin {
namespace {

constexpr std::size_t kPathBytes = 260;
constexpr std::uint64_t kUnitsPerSecond = 10'000'000;
constexpr std::uint64_t kEpochUnits = 116'444'736'000'000'000;  // 1601 to 1970.
constexpr std::uint64_t kEpochSeconds = kEpochUnits / kUnitsPerSecond;

bool attributes_of(const char* path, port::FileAttributes& attributes) {
  return port::query_attributes(path, attributes);
}

char lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

bool equal_ignoring_case(const char* a, const char* b) {
  while (*a != '\0' && lower(*a) == lower(*b)) {
    ++a;
    ++b;
  }
  return *a == *b;
}

// Pieces of text appended to a buffer that may be too small for all of them.
class BoundedText {
 public:
  BoundedText(char* out, int size)
      : out_(out), room_(size > 0 ? static_cast<std::size_t>(size) : 0) {
    if (room_ > 0) {
      *out_ = '\0';
    }
  }
  [[nodiscard]] char* end() { return out_; }
  [[nodiscard]] std::size_t room() const { return room_; }
  void advance(std::size_t length) {
    out_ += length;
    room_ -= length;
  }
  void append(const char* text) {
    if (room_ > 0) {
      std::snprintf(out_, room_, "%s", text);
      advance(std::strlen(out_));
    }
  }

 private:
  char* out_;
  std::size_t room_;
};

void append_date(BoundedText& text, std::uint64_t time, bool local, port::DateStyle style) {
  text.advance(port::date_text(time, local, style, text.end(), text.room()));
}

void append_time(BoundedText& text, std::uint64_t time, bool local, port::TimeStyle style) {
  text.advance(port::time_text(time, local, style, text.end(), text.room()));
}

void write_user_text(std::uint64_t time, char* out, int size) {
  BoundedText text(out, size);
  append_date(text, time, true, port::DateStyle::kUserShort);
  text.append(" ");
  append_time(text, time, true, port::TimeStyle::kShort24Hours);
}

}  // namespace
}  // namespace orsin

using namespace orsin;

int file_exists(const char* path) {
  port::FileAttributes attributes;
  return attributes_of(path, attributes) && (attributes.bits & port::kAttributeDirectory) == 0;
}

int file_is_directory(const char* path) {
  port::FileAttributes attributes;
  return attributes_of(path, attributes) && (attributes.bits & port::kAttributeDirectory) != 0;
}

// Kept on purpose: a missing file counts as in use; callers test existence first.
bool file_in_use(const char* path) {
  std::FILE* file = ov_utf8_fopen(path, "rb");
  if (file == nullptr) {
    return true;
  }
  std::fclose(file);
  return false;
}

const char* file_extension(const char* path, const char* ext) {
  const char* separator = std::strrchr(path, '\\');
  const char* component = separator != nullptr ? separator : path;
  const std::size_t length = std::strlen(component);
  const std::size_t tail = std::strlen(ext);
  if (tail > length) {
    return nullptr;
  }
  const char* found = component + length - tail;
  return equal_ignoring_case(found, ext) ? found : nullptr;
}

char* file_extension(char* path, const char* ext) {
  return const_cast<char*>(file_extension(static_cast<const char*>(path), ext));
}

long long file_size(const char* path) {
  port::FileAttributes attributes;
  return attributes_of(path, attributes) ? static_cast<long long>(attributes.size) : 0;
}

int file_is_hidden(const char* dir, const char* name) {
  if (dir == nullptr || *dir == '\0') {
    return 0;
  }
  char path[kPathBytes];
  const bool has_name = name != nullptr && *name != '\0';
  const bool has_separator = dir[std::strlen(dir) - 1] == '\\';
  std::snprintf(path, sizeof(path), "%s%s%s", dir, has_name && !has_separator ? "\\" : "",
                has_name ? name : "");
  port::FileAttributes attributes;
  return attributes_of(path, attributes) && (attributes.bits & port::kAttributeHidden) != 0;
}

int file_is_bundle(const char* /*path*/) {
  return 0;
}

bool file_set_modified_ts(const char* path, unsigned long long ts) {
  return port::set_write_time_shared(path, ts * kUnitsPerSecond + kEpochUnits) ==
         port::SetTime::kDone;
}

unsigned long long file_get_modified_ts(const char* path) {
  port::FileAttributes attributes;
  return attributes_of(path, attributes) ? (attributes.write_time - kEpochUnits) / kUnitsPerSecond
                                         : 0;
}

bool file_ts_2_txt(unsigned long long ts, char* out, int size) {
  write_user_text((kEpochSeconds + ts) * kUnitsPerSecond, out, size);
  return true;
}

bool file_get_local_datetime_str(const char* path, char* out, int size) {
  port::FileAttributes attributes;
  if (!attributes_of(path, attributes)) {
    return false;
  }
  write_user_text(attributes.write_time, out, size);
  return true;
}

bool file_get_mod_date_str(const char* path, char* out, int size, int mode) {
  port::FileAttributes attributes;
  if (!attributes_of(path, attributes)) {
    return false;
  }
  const std::uint64_t time = attributes.write_time;
  BoundedText text(out, size);
  append_date(text, time, mode == 0, port::DateStyle::kIso);
  if (mode != 0) {
    text.append("T");
    append_time(text, time, false, port::TimeStyle::kIsoSeconds);
    text.append(mode == 2 ? "+00:00" : "Z");
  }
  return true;
}
