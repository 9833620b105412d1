// Any arguments are read within their own texts, and never count more letters than there are.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "core/startup_letters.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::string> texts(1);  // The input's zeros end its arguments.
  for (std::size_t i = 0; i < size; ++i) {
    if (data[i] == 0) {
      texts.emplace_back();
    } else {
      texts.back().push_back(static_cast<char>(data[i]));
    }
  }
  std::vector<const char*> argv = {"host"};
  for (const std::string& text : texts) {
    argv.push_back(text.c_str());
  }
  const orsin::StartupOptions options =
      orsin::read_startup_letters(static_cast<int>(argv.size()), argv.data());
  if (options.debug_count < 0 || static_cast<std::size_t>(options.debug_count) > size) {
    std::abort();
  }
  return 0;
}
