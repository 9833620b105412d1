// Shows how a run goes: a line rewritten on a console; with --plain a line every ten seconds
// anywhere; else nothing.
#pragma once

#include <cstddef>

#include "examples/host/ingest/status_text.h"

namespace host::ingest {

class ConsoleStatus {
 public:
  explicit ConsoleStatus(bool is_plain);

  void show(const Status& status);

  /// Ends the line, so that others can follow.
  void end();

 private:
  bool is_plain_;
  bool is_console_;
  double shown_;
  std::size_t length_ = 0;  // Characters in the line that stands there.
};

}  // namespace host::ingest
