// Walking the entries of one directory; see directory_enumeration.h.
#include "files/directory_enumeration.h"

#include <atomic>
#include <cstring>

#include "base/log_port.h"
#include "base/system_error_text.h"
#include "files/file_system_port.h"
#include "orsincore/log.h"

namespace orsin {
namespace {

enum class Form : int { kUntried, kFast, kPlain };

// Found out by the first enumeration of the process. Two first ones at once find out the same, or
// one of them chooses the plain form, which works as well.
std::atomic<Form> known_form = Form::kUntried;

void* start(const char* pattern, FoundEntry& entry) {
  const Form form = known_form.load(std::memory_order_relaxed);
  if (form != Form::kUntried) {
    return port::start_enumeration(pattern, form == Form::kFast, entry);
  }
  if (port::has_fast_enumeration()) {
    void* enumeration = port::start_enumeration(pattern, true, entry);
    if (enumeration != nullptr) {
      known_form.store(Form::kFast, std::memory_order_relaxed);
      return enumeration;
    }
  }
  // Kept on purpose: whatever made the first attempt fail, even a missing directory, decides for
  // the plain form for good. That form works on every file system; the other is merely faster.
  known_form.store(Form::kPlain, std::memory_order_relaxed);
  return port::start_enumeration(pattern, false, entry);
}

bool is_listed(const FoundEntry& entry) {
  if ((entry.attributes & port::kSystem) != 0 ||
      ((entry.attributes & port::kHidden) != 0 && entry.name[0] == '.')) {
    return false;
  }
  const bool is_dotted = entry.name[0] == '.' && (entry.name[1] == '\0' || entry.name[1] == '.');
  return !is_dotted || (!is_directory(entry) && entry.name[1] != '\0');
}

}  // namespace

bool is_directory(const FoundEntry& entry) {
  return (entry.attributes & port::kDirectory) != 0;
}

DirectoryEnumeration::DirectoryEnumeration(const char* directory)
    : directory_(std::string_view(directory)) {
  const bool has_separator = !directory_.empty() && directory_.ends_in_separator();
  char text[kPathBytes + 8];  // Longer than a path: the directory may be one of 259 bytes.
  const std::size_t length = directory_.length();
  std::memcpy(text, directory_.c_str(), length);
  std::memcpy(text + length, has_separator ? "*.*" : "\\*.*", has_separator ? 4 : 5);
  enumeration_ = start(text, entry_);
  has_entry_ = enumeration_ != nullptr;
  has_started_ = has_entry_ || port::last_system_error() == port::kErrorFileNotFound;
}

DirectoryEnumeration::~DirectoryEnumeration() {
  if (enumeration_ != nullptr) {
    port::end_enumeration(enumeration_);
  }
}

bool DirectoryEnumeration::read_next() {
  if (has_entry_) {
    has_entry_ = false;
    return true;
  }
  if (enumeration_ == nullptr || has_broken_off_) {
    return false;
  }
  const port::NextEntry next = port::continue_enumeration(enumeration_, entry_);
  if (next == port::NextEntry::kFailed) {
    has_broken_off_ = true;
    msgwarn("ERROR: Can't read on in directory: '%s' (%s)\n", directory_.c_str(),
            SystemErrorText().c_str());
  }
  return next == port::NextEntry::kFound;
}

const FoundEntry* DirectoryEnumeration::next() {
  while (read_next()) {
    if (is_listed(entry_)) {
      return &entry_;
    }
  }
  return nullptr;
}

}  // namespace orsin
