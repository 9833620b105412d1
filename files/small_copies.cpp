// The small files of a directory, several at a time; see small_copies.h.
#include "files/small_copies.h"

#include "base/path_buffer.h"

namespace orsin {
namespace {

// Names outside ASCII may be others to the calls for the system's code page, which are what times
// and attributes go by.
bool is_ascii(const char* text) {
  while (*text != '\0' && static_cast<unsigned char>(*text) < 0x80) {
    ++text;
  }
  return *text == '\0';
}

constexpr SmallCopies::Outcome kNothingDone = {SmallCopy::Result::kNotDone, 0};

SmallCopies::Outcome copy_ascii(SmallCopy& copier, const char* source, const char* destination) {
  SmallCopies::Outcome outcome = kNothingDone;
  if (is_ascii(source) && is_ascii(destination)) {
    outcome.result = copier.copy(source, destination, outcome.bytes);
  }
  return outcome;
}

}  // namespace

void SmallCopies::copy(const char* source, const char* destination, const char* const* names,
                       int count) {
  source_ = source;
  destination_ = destination;
  names_ = names;
  count_ = count;
  next_ = 0;
  if (count > 1 && has_line()) {
    line_.add();
  }
  work(own_);
  line_.wait_until_done();
}

SmallCopies::Outcome SmallCopies::copy_one(const char* source, const char* destination) {
  return copy_ascii(own_, source, destination);
}

// Where no thread can be had, one does all.
bool SmallCopies::has_line() {
  if (!line_.is_running() && may_start_line_) {
    may_start_line_ = line_.start("Copy");
  }
  return line_.is_running();
}

void SmallCopies::help(void* copies, std::uint64_t /*number*/) {
  auto& self = *static_cast<SmallCopies*>(copies);
  self.work(self.helper_);
}

void SmallCopies::work(SmallCopy& copier) {
  for (int i = next_++; i < count_; i = next_++) {
    outcomes_[i] = copy_named(copier, names_[i]);
  }
}

SmallCopies::Outcome SmallCopies::copy_named(SmallCopy& copier, const char* name) const {
  PathBuffer from;
  PathBuffer to;
  if (!join_path(from, source_, name) || !join_path(to, destination_, name)) {
    return kNothingDone;
  }
  return copy_ascii(copier, from.c_str(), to.c_str());
}

}  // namespace orsin
