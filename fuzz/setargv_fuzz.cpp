// Any text splits within its one block: every argument is readable, the vector ends with null.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "orsincore/startup.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string line(reinterpret_cast<const char*>(data), size);
  std::string program = "host";
  int argc = 0;
  char** argv = nullptr;
  setargv(program.data(), line.data(), &argc, &argv);
  if (argv == nullptr || argc < 1 || argv[argc] != nullptr) {
    std::abort();
  }
  std::size_t text = 0;
  for (int i = 1; i < argc; ++i) {
    text += std::strlen(argv[i]);
  }
  if (text > std::strlen(line.c_str())) {
    std::abort();
  }
  std::free(argv);
  return 0;
}
