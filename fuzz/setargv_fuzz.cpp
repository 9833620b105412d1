// Any command line splits into a vector that ends with null, and no argument is longer than the line.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "orsincore/startup.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string line(reinterpret_cast<const char*>(data), size);
  char program[] = "prog";
  int argc = 0;
  char** argv = nullptr;
  setargv(program, line.data(), &argc, &argv);
  std::size_t total = 0;
  for (int i = 1; i < argc; ++i) {
    total += std::strlen(argv[i]);
  }
  if (argv[argc] != nullptr || total > std::strlen(line.c_str())) {
    std::abort();
  }
  std::free(static_cast<void*>(argv));
  return 0;
}
