// Any vector of arguments is read to its end; only "-" arguments count.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "startup/startup_letters.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::string> texts(1);
  for (std::size_t i = 0; i < size; ++i) {
    if (data[i] == '\n') {
      texts.emplace_back();
    } else {
      texts.back().push_back(static_cast<char>(data[i]));
    }
  }
  std::vector<const char*> arguments;
  std::size_t letters = 0;
  for (const std::string& text : texts) {
    arguments.push_back(text.c_str());
    letters += text.size();
  }
  const orsin::StartupOptions options =
      orsin::read_startup_letters(static_cast<int>(arguments.size()), arguments.data());
  if (options.debug_count < 0 || static_cast<std::size_t>(options.debug_count) > letters) {
    std::abort();
  }
  return 0;
}
