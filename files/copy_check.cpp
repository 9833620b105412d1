// Compares a copy that is read back with its source's hashes; see copy_check.h.
#include "files/copy_check.h"

namespace orsin {

CopyCheck::CopyCheck(const HashMarks& marks) : marks_(marks) {
  std::uint64_t turn = 0;
  for (Part& part : parts_) {
    part.begin(marks, turn++);
  }
}

void CopyCheck::add_to(SourceBlocks& blocks) {
  for (Part& part : parts_) {
    blocks.add_worker(part, "MD5", HashMarks::kDistance);
  }
}

bool CopyCheck::is_same() const {
  std::uint64_t bytes = 0;
  for (const Part& part : parts_) {
    if (part.has_failed()) {
      return false;
    }
    bytes += part.bytes();
  }
  return bytes == marks_.bytes();
}

void CopyCheck::Part::begin(const HashMarks& marks, std::uint64_t turn) {
  marks_ = &marks;
  turn_ = turn;
}

void CopyCheck::Part::work(const SourceRun& run) {
  if (run.position / HashMarks::kDistance % kParts != turn_) {
    return;
  }
  if (run.repeated == 0 && marks_->match(run.data, run.position, run.length)) {
    bytes_ += run.length;
  } else {
    has_failed_ = true;
  }
}

}  // namespace orsin
