// The sample host: a small command-line program on top of OrsinCore.
//
// It shows what a host does: start the library, use it, close it down, and turn results into exit
// codes. Each command stands in its own file.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "examples/host/command.h"
#include "examples/host/console.h"
#include "examples/host/own_folder.h"

namespace host {
namespace {

const Command* const kCommands[] = {
    &kReportCommand, &kCopyCommand,      &kIngestCommand, &kCheckCommand,
    &kListCommand,   &kHashCommand,      &kHeapsCommand,  &kDateCommand,
    &kBidiCommand,   &kTrCommand,        &kGetCommand,    &kPutCommand,
    &kHttpCommand,   &kWebSocketCommand, &kRunCommand,    &kRundllCommand};

constexpr std::string_view kUsage =
    "Usage: host [-d] [-P N] COMMAND [ARGUMENTS]\n"
    "\n"
    "  -d     one more level of detail in the log; may be repeated\n"
    "  -P N   use N processors for parallel work\n"
    "\n"
    "Commands (host COMMAND --help tells more):\n";

constexpr std::string_view kExitCodes =
    "\n"
    "Exit codes: 0 done, 1 failed, 2 bad usage, 3 cancelled, 4 another copy is running\n"
    "or has what is needed.\n";

void print(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stdout);
}

int print_usage() {
  print(kUsage);
  for (const Command* command : kCommands) {
    std::printf("  %-8s %s\n", std::string(command->name).c_str(),
                std::string(command->summary).c_str());
  }
  print(kExitCodes);
  return kDone;
}

bool is_help(std::string_view argument) {
  return argument == "--help" || argument == "-h";
}

bool is_number(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

// How many arguments an option takes up, itself included; 0 when there is no such option.
int option_length(std::string_view letters, const char* next) {
  if (letters == "restart") {  // The library starts its host again with it.
    return 1;
  }
  const std::size_t debug_count = std::min(letters.find_first_not_of("dD"), letters.size());
  letters.remove_prefix(debug_count);
  if (letters.empty()) {
    return debug_count > 0 ? 1 : 0;
  }
  if (letters[0] != 'P' && letters[0] != 'p') {
    return 0;
  }
  letters.remove_prefix(1);
  if (letters.empty()) {
    return next != nullptr && is_number(next) ? 2 : 0;
  }
  return is_number(letters) ? 1 : 0;
}

// The library reads -d and -P itself at start-up; here they are only stepped over. Stops at an
// option that there is not.
int first_command(char** argv) {
  int index = 1;
  while (argv[index] != nullptr && argv[index][0] == '-') {
    const int length = option_length(argv[index] + 1, argv[index + 1]);
    if (length == 0) {
      break;
    }
    index += length;
  }
  return index;
}

int run_command(const Command& command, const Arguments& arguments) {
  for (const std::string& argument : arguments) {
    if (is_help(argument)) {
      print(command.help);
      return kDone;
    }
    if (command.passes_arguments_on) {
      break;
    }
  }
  return command.run(arguments);
}

int run(char** argv) {
  const int index = first_command(argv);
  if (argv[index] == nullptr || is_help(argv[index])) {
    const int result = print_usage();
    return argv[index] == nullptr ? kBadUsage : result;
  }
  const std::string_view name = argv[index];
  Arguments arguments;
  for (int i = index + 1; argv[i] != nullptr; ++i) {
    arguments.emplace_back(argv[i]);
  }
  for (const Command* command : kCommands) {
    if (command->name == name) {
      return run_command(*command, arguments);
    }
  }
  std::fprintf(console_errors(), "host: no %s '%s'. Try: host --help\n",
               name.starts_with('-') ? "option" : "command", argv[index]);
  return kBadUsage;
}

}  // namespace
}  // namespace host

int main() {
  host::open_console();
  host::use_own_folder();
  const int result = host::run(host::console_argv());
  // A full disk or a closed pipe must not look like success.
  const bool is_written = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
  const int code = is_written ? result : host::fail("cannot write to standard output");
  host::end_console();
  return code;
}
