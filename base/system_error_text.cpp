// The system's text for an error code, in memory of its own; see system_error_text.h.
#include "base/system_error_text.h"

#include <cstdio>
#include <cstring>

#include "base/log_port.h"

namespace orsin {
namespace {

void trim_end(char* text) {
  std::size_t length = std::strlen(text);
  while (length > 0 && std::strchr("\n\r ", text[length - 1]) != nullptr) {
    text[--length] = '\0';
  }
}

}  // namespace

SystemErrorText::SystemErrorText(unsigned code, const char* none) {
  if (code == 0) {
    std::snprintf(text_, kBytes, "%s", none);
    return;
  }
  const unsigned last_error = port::last_system_error();
  port::system_error_text(code, text_, kBytes);
  port::set_last_system_error(last_error);
  trim_end(text_);
}

SystemErrorText::SystemErrorText() : SystemErrorText(port::last_system_error()) {}

}  // namespace orsin
