// The small files of a directory, several at a time; see small_copies.h.
#include "files/small_copies.h"

#include <algorithm>

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
  const int wanted = std::min(helpers_max_, count - 1);
  int helping = 0;
  while (helping < wanted && helpers_[helping].begin(*this)) {
    ++helping;
  }
  if (helping < wanted) {
    helpers_max_ = helping;  // Where a thread was refused, the next would be.
  }
  work(own_);
  for (int i = 0; i < helping; ++i) {
    helpers_[i].wait();
  }
}

SmallCopies::Outcome SmallCopies::copy_one(const char* source, const char* destination) {
  return copy_ascii(own_, source, destination);
}

bool SmallCopies::Helper::begin(SmallCopies& copies) {
  copies_ = &copies;
  if (!line_.is_running() && !line_.start("Copy")) {
    return false;
  }
  line_.add();
  return true;
}

void SmallCopies::Helper::help(void* helper, std::uint64_t /*number*/) {
  auto& self = *static_cast<Helper*>(helper);
  self.copies_->work(self.copier_);
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
