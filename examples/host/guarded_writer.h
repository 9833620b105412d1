// A destination that never looks whole before it is.
//
// The data goes to "NAME.partial" beside the destination. Only after the copy succeeded, and was
// verified if that was asked for, commit() puts it in place of what was there; until then the old
// file is untouched. Ctrl-C makes the next write fall short, which ends the copy.
#pragma once

#include <string>

#include "orsincore/io.h"

namespace host {

class GuardedWriter : public fWriteBuffer {
 public:
  explicit GuardedWriter(std::string destination);
  ~GuardedWriter() override;
  GuardedWriter(const GuardedWriter&) = delete;
  GuardedWriter& operator=(const GuardedWriter&) = delete;

  std::uint64_t write_file(const void* data, std::uint64_t size, std::uint64_t count) override;

  [[nodiscard]] const std::string& destination() const { return destination_; }
  [[nodiscard]] const std::string& partial() const { return partial_; }

  /// Puts the finished copy in place, replacing an existing destination. On failure the old file
  /// is back in its place, or still there.
  [[nodiscard]] bool commit();

 private:
  std::string destination_;
  std::string partial_;
};

}  // namespace host
