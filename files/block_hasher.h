// MD5 of a source, one of the workers on its blocks: hashing, the slowest part of a verified copy, then
// runs beside the transfers.
#pragma once

#include "files/source_blocks.h"
#include "orsincore/text.h"

namespace orsin {

class BlockHasher final : public BlockWorker {
 public:
  /// Begins a new MD5 in `md5`, which must stay until the blocks are finished.
  explicit BlockHasher(md5_state_s& md5) : md5_(md5) { ov_md5_init(&md5_); }

  void work(const SourceRun& run) override;

  /// Leaves the digest in the context. All blocks are finished.
  void finish();

 private:
  md5_state_s& md5_;
};

}  // namespace orsin
