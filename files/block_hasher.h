// MD5 of a source, one of the workers on its blocks: hashing, the slowest part of a verified copy, then
// runs beside the transfers.
#pragma once

#include <cstdint>

#include "files/hash_marks.h"
#include "files/source_blocks.h"
#include "orsincore/text.h"

namespace orsin {

class BlockHasher final : public BlockWorker {
 public:
  /// Begins a new MD5 in `md5`, which must stay until the blocks are finished, as must `marks`, which
  /// may be null.
  explicit BlockHasher(md5_state_s& md5, HashMarks* marks = nullptr) : md5_(md5), marks_(marks) {
    ov_md5_init(&md5_);
  }

  void work(const SourceRun& run) override;

  /// Leaves the digest in the context, and completes the marks. All blocks are finished.
  void finish();

 private:
  md5_state_s& md5_;
  HashMarks* marks_;
  std::uint64_t bytes_ = 0;  // Hashed.
};

}  // namespace orsin
