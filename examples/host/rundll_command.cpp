// "rundll": one entry point of a library, as if it were a program.
#include <string>

#include "examples/host/argument_vector.h"
#include "examples/host/command.h"
#include "examples/host/paths.h"
#include "orsincore/startup.h"

namespace host {
namespace {

constexpr int kNotRun = -1;
constexpr int kThrew = -2;

int rundll(const Arguments& arguments) {
  if (arguments.size() < 2) {
    return bad_usage(kRundllCommand, "needs a module and an entry");
  }
  // A path is taken from the current directory; a bare name is left to the search of the library.
  const bool is_path = arguments[0].find_first_of("/\\") != std::string::npos;
  const std::string module = is_path ? full_path(arguments[0]) : arguments[0];
  const std::string& entry = arguments[1];

  const FastLibrary library;
  ArgumentVector argv(Arguments(arguments.begin() + 1, arguments.end()));
  const int result = ov_rundll(module.c_str(), entry.c_str(), argv.count(), argv.get());
  if (result == kNotRun) {
    return fail("cannot run " + entry + " of " + arguments[0] + ".dll");
  }
  if (result == kThrew) {
    return fail(entry + " of " + arguments[0] + ".dll failed");
  }
  return result;
}

}  // namespace

const Command kRundllCommand = {
    "rundll", "run one entry of a library",
    "Usage: host rundll MODULE ENTRY [ARGUMENTS]\n"
    "\n"
    "Loads MODULE.dll and calls int ENTRY(int argc, char** argv), with the entry's name as the\n"
    "first argument. The exit code is what the entry returns; 1 when it cannot be called, or when\n"
    "it returns -1, throws or faults.\n",
    rundll, true};

}  // namespace host
