// A writer to a guarded file. Until the copy succeeded, and was verified if that was asked for, the
// old file is untouched. Ctrl-C makes the next write fall short, which ends the copy.
#pragma once

#include <string>

#include "examples/host/guarded_file.h"
#include "orsincore/io.h"

namespace host {

class GuardedWriter : public fWriteBuffer {
 public:
  explicit GuardedWriter(std::string destination);
  ~GuardedWriter() override;
  GuardedWriter(const GuardedWriter&) = delete;
  GuardedWriter& operator=(const GuardedWriter&) = delete;

  bool open_file(const char* name, long long initial_size, bool unbuffered) override;
  std::uint64_t write_file(const void* data, std::uint64_t size, std::uint64_t count) override;

  /// What went wrong with this destination, for a person; empty when nothing did.
  [[nodiscard]] std::string problem();

  [[nodiscard]] const std::string& destination() const { return file_.destination(); }
  [[nodiscard]] const std::string& partial() const { return file_.partial(); }
  [[nodiscard]] bool commit() { return file_.commit(); }

 private:
  GuardedFile file_;
  bool is_refused_ = false;  // The file could not be created.
  bool is_short_ = false;    // A write was not taken whole.
};

}  // namespace host
