// Any arguments, written and joined, split into the same arguments again.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "modules/argument_quoting.h"
#include "orsincore/startup.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::string> arguments(1);
  for (std::size_t i = 0; i < size; ++i) {
    if (data[i] == 0) {
      arguments.emplace_back();
    } else {
      arguments.back() += static_cast<char>(data[i]);
    }
  }
  std::string line;
  for (const std::string& argument : arguments) {
    line += orsin::quoted_argument(argument) + ' ';
  }
  char program[] = "prog";
  int argc = 0;
  char** argv = nullptr;
  setargv(program, line.data(), &argc, &argv);
  if (std::vector<std::string>(argv + 1, argv + argc) != arguments) {
    std::abort();
  }
  std::free(static_cast<void*>(argv));
  return 0;
}
