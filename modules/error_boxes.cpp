// Adds to the host's error mode and gives it back; see the header.
#include "modules/error_boxes.h"

#include "modules/library_port.h"

namespace orsin {
namespace {

struct HostMode {
  unsigned mode = 0;
  bool is_known = false;
};

constinit HostMode host;

}  // namespace

void silence_error_boxes() {
  silence_error_boxes(port::error_mode());
}

void silence_error_boxes(unsigned mode) {
  if (!host.is_known) {
    host = {mode, true};
  }
  port::set_error_mode(mode | port::kNoCriticalErrorBox | port::kNoOpenFileBox);
}

void restore_error_boxes() {
  if (host.is_known) {
    port::set_error_mode(host.mode);
    host.is_known = false;
  }
}

}  // namespace orsin
