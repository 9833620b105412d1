// MD5 of a source; see block_hasher.h.
#include "files/block_hasher.h"

#include <algorithm>

namespace orsin {

// From mark to mark: MD5 needs no long pieces, and takes their lengths as ints.
void BlockHasher::work(const SourceRun& run) {
  for (std::uint64_t done = run.repeated; done < run.length;) {
    const std::uint64_t piece =
        std::min(run.length - done, HashMarks::kDistance - bytes_ % HashMarks::kDistance);
    ov_md5_append(&md5_, run.data + done, static_cast<int>(piece));
    done += piece;
    bytes_ += piece;
    if (marks_ != nullptr && bytes_ % HashMarks::kDistance == 0) {
      marks_->add(md5_);
    }
  }
}

void BlockHasher::finish() {
  unsigned char digest[16];
  ov_md5_finish(&md5_, digest);
  if (marks_ != nullptr) {
    marks_->end(md5_, bytes_);
  }
}

}  // namespace orsin
