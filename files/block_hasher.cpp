// MD5 of a source; see block_hasher.h.
#include "files/block_hasher.h"

#include <algorithm>
#include <cstdint>

namespace orsin {

void BlockHasher::work(const SourceRun& run) {
  constexpr std::uint64_t kPieceBytesMax = 0x40000000;  // The hash takes lengths as ints.
  for (std::uint64_t done = run.repeated; done < run.length;) {
    const std::uint64_t piece = std::min(run.length - done, kPieceBytesMax);
    ov_md5_append(&md5_, run.data + done, static_cast<int>(piece));
    done += piece;
  }
}

void BlockHasher::finish() {
  unsigned char digest[16];
  ov_md5_finish(&md5_, digest);
}

}  // namespace orsin
