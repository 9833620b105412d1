// The writer that a copy makes for itself: it has no buffers, the blocks of the source are written
// where they lie.
//
// Used through work() alone, on one thread at a time; a write that fails is seen by error() on any
// thread, at once. After it nothing more is written: what is there is the beginning of the source.
#pragma once

#include <atomic>
#include <cstdint>

#include "files/source_blocks.h"
#include "orsincore/io.h"

namespace orsin {

class CopyWriter final : public fWriteBuffer, public BlockWorker {
 public:
  CopyWriter();
  ~CopyWriter() override;

  /// Opens past the cache only where whole blocks of the source are whole sectors.
  bool open_file(const char* name, long long initial_size, bool unbuffered) override;
  int close_file(bool force) override;
  int error() override;

  void work(const SourceRun& run) override;

  /// Closes the file as it is: nothing is cut.
  void abandon();

 private:
  std::atomic<bool> has_failed_{false};
};

}  // namespace orsin
